// Serialisation of the RIFF pieces; see the header.

#include "support/RiffPieces.h"

#include <utility>

namespace quorv::test {
namespace {

Bytes little_endian(uint64_t value, unsigned count) {
    Bytes bytes;
    for (unsigned i = 0; i < count; ++i)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    return bytes;
}

Bytes words(std::initializer_list<uint32_t> values) {
    Bytes bytes;
    for (const uint32_t value : values) {
        const Bytes word = le32(value);
        bytes.insert(bytes.end(), word.begin(), word.end());
    }
    return bytes;
}

}  // namespace

Bytes le16(uint32_t value) {
    return little_endian(value, 2);
}
Bytes le32(uint32_t value) {
    return little_endian(value, 4);
}
Bytes le64(uint64_t value) {
    return little_endian(value, 8);
}

Bytes text(const std::string &characters) {
    return Bytes(characters.begin(), characters.end());
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes lying_chunk(uint32_t id, uint32_t stated_size, const Bytes &body) {
    return join({le32(id), le32(stated_size), body, Bytes(body.size() % 2)});
}

Bytes chunk(uint32_t id, const Bytes &body) {
    return lying_chunk(id, static_cast<uint32_t>(body.size()), body);
}

Bytes list(uint32_t type, const Bytes &body) {
    return chunk(tag("LIST"), join({le32(type), body}));
}

Bytes MainHeader::body() const {
    return words({microseconds_per_frame, max_bytes_per_second, granularity, flags, total_frames,
                  initial_frames, streams, suggested_buffer, width, height, 0, 0, 0, 0});
}

Bytes StreamHeader::body() const {
    return words({type, handler, flags, priority_and_language, initial_frames, scale, rate, start, length,
                  suggested_buffer, quality, sample_size, 0, 0});
}

Bytes BitmapHeader::body() const {
    return join({words({header_size, width, height}), le16(planes), le16(bit_count),
                 words({compression, image_size, 0, 0, 0, 0}), extra});
}

Bytes WaveFormat::body(size_t size) const {
    Bytes whole = join({le16(format_tag), le16(channels), le32(sample_rate), le32(bytes_per_second),
                        le16(block_align), le16(bits_per_sample), le16(stated_extra), extra});
    whole.resize(size);
    return whole;
}

}  // namespace quorv::test
