// Tags, integers and chunks as RIFF files have them.
#ifndef QUORV_TOOLS_QUORV_RIFF_H
#define QUORV_TOOLS_QUORV_RIFF_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quorv::tool {

// A chunk's tag and size.
inline constexpr uint32_t kChunkHeaderBytes = 8;
// Those of a list or of a RIFF segment, with its type.
inline constexpr uint32_t kListHeaderBytes = 12;

struct ByteRange {
    uint64_t begin = 0, end = 0;

    uint64_t size() const { return end - begin; }
};

// A tag as it stands in the file, read as a little-endian integer.
constexpr uint32_t riff_tag(const char (&text)[5]) {
    return uint32_t{static_cast<uint8_t>(text[3])} << 24 | uint32_t{static_cast<uint8_t>(text[2])} << 16 |
           uint32_t{static_cast<uint8_t>(text[1])} << 8 | uint32_t{static_cast<uint8_t>(text[0])};
}

// The length of a chunk's data with its pad byte.
constexpr uint64_t padded(uint64_t size) {
    return size + (size & 1);
}

inline uint32_t load_le16(const uint8_t *bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8;
}
inline uint32_t load_le32(const uint8_t *bytes) {
    return load_le16(bytes) | load_le16(bytes + 2) << 16;
}
inline uint64_t load_le64(const uint8_t *bytes) {
    return load_le32(bytes) | uint64_t{load_le32(bytes + 4)} << 32;
}

template <typename Integer>
void append_le(std::string &text, Integer value) {
    for (unsigned shift = 0; shift < 8 * sizeof(value); shift += 8)
        text += static_cast<char>(value >> shift & 0xFF);
}

// As many streams as two digits can name.
inline constexpr size_t kMaxStreams = 100;
// The number that a chunk's name begins with; kMaxStreams when it does not begin with one.
inline size_t chunk_stream(const uint8_t *name) {
    const uint32_t tens = name[0] - uint32_t{'0'}, ones = name[1] - uint32_t{'0'};
    return tens <= 9 && ones <= 9 ? 10 * tens + ones : kMaxStreams;
}

// The names "ix00" and "00ix" are both in use.
inline bool is_index_name(const uint8_t *name) {
    const auto is_mark = [](const uint8_t *letters) { return letters[0] == 'i' && letters[1] == 'x'; };
    return (is_mark(name) && chunk_stream(name + 2) < kMaxStreams) ||
           (is_mark(name + 2) && chunk_stream(name) < kMaxStreams);
}

// The entries of an "idx1" chunk.
inline constexpr uint32_t kOldEntryBytes = 16, kOldKeyFrame = 0x10;
// What the data of every OpenDML index begins with, its kind, and the mark in the sizes of its entries; the
// entries of one that names other index chunks.
inline constexpr uint32_t kIndexHeaderBytes = 24, kNotKeyFrame = 0x80000000, kSuperEntryBytes = 16;
inline constexpr uint8_t kIndexOfChunks = 1;

// The field at that offset of a record; 0 for one that the record is too short for.
inline uint32_t field_le16(const std::string &record, size_t offset) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(record.data());
    return record.size() < offset + 2 ? 0 : load_le16(bytes + offset);
}
inline uint32_t field_le32(const std::string &record, size_t offset) {
    return field_le16(record, offset) | field_le16(record, offset + 2) << 16;
}
// Nothing is done to a record that is too short for the field.
inline void set_field_le32(std::string &record, size_t offset, uint32_t value) {
    std::string bytes;
    append_le(bytes, value);
    if (record.size() >= offset + bytes.size()) record.replace(offset, bytes.size(), bytes);
}

inline std::string riff_chunk(uint32_t tag, std::string_view body) {
    std::string chunk;
    append_le(chunk, tag);
    append_le(chunk, static_cast<uint32_t>(body.size()));
    return chunk.append(body).append(body.size() & 1, '\0');
}
inline std::string riff_list(uint32_t type, std::string_view body) {
    std::string list;
    append_le(list, type);
    return riff_chunk(riff_tag("LIST"), list.append(body));
}

}  // namespace quorv::tool

#endif
