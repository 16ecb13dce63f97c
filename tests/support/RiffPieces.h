// RIFF chunks and the bodies of the AVI header chunks, built from values.
#ifndef QUORV_TESTS_SUPPORT_RIFFPIECES_H
#define QUORV_TESTS_SUPPORT_RIFFPIECES_H

#include <initializer_list>
#include <string>

#include "support/ByteStores.h"

namespace quorv::test {

// Four characters in file order, as a little-endian reader sees them.
constexpr uint32_t tag(const char (&text)[5]) {
    return uint32_t{static_cast<uint8_t>(text[0])} | uint32_t{static_cast<uint8_t>(text[1])} << 8 |
           uint32_t{static_cast<uint8_t>(text[2])} << 16 | uint32_t{static_cast<uint8_t>(text[3])} << 24;
}

// A codec or track type as people write it.
constexpr uint32_t fourcc_value(const char (&name)[5]) {
    return __builtin_bswap32(tag(name));
}

inline void append(Bytes &to, const Bytes &bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

inline Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &part : parts)
        append(all, part);
    return all;
}

inline Bytes little_endian(uint64_t value, size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(value >> 8 * i);
    return bytes;
}
inline Bytes le16(uint32_t value) {
    return little_endian(value, 2);
}
inline Bytes le32(uint32_t value) {
    return little_endian(value, 4);
}
inline Bytes le64(uint64_t value) {
    return little_endian(value, 8);
}

// The text of such a value; "" for 0.
inline std::string fourcc_name(uint32_t value) {
    const Bytes bytes = le32(__builtin_bswap32(value));
    return value == 0 ? "" : std::string(bytes.begin(), bytes.end());
}

inline Bytes text(const std::string &characters) {
    return Bytes(characters.begin(), characters.end());
}

// A chunk with its pad byte.
inline Bytes chunk(uint32_t id, const Bytes &body) {
    return join({le32(id), le32(static_cast<uint32_t>(body.size())), body, Bytes(body.size() % 2)});
}
inline Bytes list(uint32_t type, const Bytes &body) {
    return chunk(tag("LIST"), join({le32(type), body}));
}

// The fields that a reader makes use of; the others are 0.
struct MainHeader {
    uint32_t microseconds_per_frame = 40000;
    uint32_t flags = 0x10, total_frames = 0, streams = 0;
    Bytes body() const {  // 56 bytes
        return join({le32(microseconds_per_frame), Bytes(8), le32(flags), le32(total_frames), Bytes(4),
                     le32(streams), Bytes(28)});
    }
};

struct StreamHeader {
    uint32_t type = tag("vids");
    uint32_t handler = 0;
    uint32_t scale = 1, rate = 25;
    uint32_t length = 0, suggested_buffer = 0;
    uint32_t sample_size = 0;
    Bytes body() const {  // 56 bytes
        return join({le32(type), le32(handler), Bytes(12), le32(scale), le32(rate), Bytes(4), le32(length),
                     le32(suggested_buffer), Bytes(4), le32(sample_size), Bytes(8)});
    }
};

struct BitmapHeader {
    uint32_t width = 64, height = 48;
    uint32_t compression = tag("MJPG");
    Bytes extra = {};
    Bytes body() const {  // 40 bytes and the extra ones
        return join({le32(static_cast<uint32_t>(40 + extra.size())), le32(width), le32(height), le16(1),
                     le16(24), le32(compression), Bytes(20), extra});
    }
};

struct WaveFormat {
    uint32_t format_tag = 1, channels = 2;
    uint32_t sample_rate = 8000, bytes_per_second = 32000;
    uint32_t block_align = 4, bits_per_sample = 16;
    uint32_t stated_extra = 0;  // cbSize
    Bytes extra = {};
    // The first `size` bytes of the record with cbSize and extra bytes.
    Bytes body(size_t size) const {
        Bytes whole = join({le16(format_tag), le16(channels), le32(sample_rate), le32(bytes_per_second),
                            le16(block_align), le16(bits_per_sample), le16(stated_extra), extra});
        whole.resize(size);
        return whole;
    }
};

// What ReadFrame must deliver, as the builder of a file knows it.
struct TruthFrame {
    Bytes data;
    uint32_t time_stamp = 0, duration = 0;
    bool key = false;
    uint64_t position = 0;   // AVI: of the chunk's header; ASF: number of the packet it begins in
    uint64_t dts = 0;        // AVI: in units of scale / rate
    bool index_key = false;  // AVI: the index has a key entry for a chunk that begins here
};

}  // namespace quorv::test

#endif
