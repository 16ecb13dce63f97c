// Serialisation of the RIFF pieces; see the header.

#include "support/RiffPieces.h"

namespace quorv::test {

Bytes le64(uint64_t value) {
    Bytes bytes;
    for (unsigned shift = 0; shift < 64; shift += 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    return bytes;
}

Bytes le32(uint32_t value) {
    Bytes bytes = le64(value);
    bytes.resize(4);
    return bytes;
}

Bytes le16(uint32_t value) {
    Bytes bytes = le64(value);
    bytes.resize(2);
    return bytes;
}

Bytes text(const std::string &characters) {
    return Bytes(characters.begin(), characters.end());
}

std::string fourcc_name(uint32_t value) {
    const Bytes bytes = le32(__builtin_bswap32(value));
    return value == 0 ? "" : std::string(bytes.begin(), bytes.end());
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes chunk(uint32_t id, const Bytes &body) {
    return join({le32(id), le32(static_cast<uint32_t>(body.size())), body, Bytes(body.size() % 2)});
}

Bytes list(uint32_t type, const Bytes &body) {
    return chunk(tag("LIST"), join({le32(type), body}));
}

Bytes MainHeader::body() const {
    return join({le32(microseconds_per_frame), Bytes(8), le32(flags), le32(total_frames), Bytes(4),
                 le32(streams), Bytes(28)});
}

Bytes StreamHeader::body() const {
    return join({le32(type), le32(handler), Bytes(12), le32(scale), le32(rate), Bytes(4), le32(length),
                 le32(suggested_buffer), Bytes(4), le32(sample_size), Bytes(8)});
}

Bytes BitmapHeader::body() const {
    return join({le32(header_size), le32(width), le32(height), le16(1), le16(24), le32(compression),
                 Bytes(20), extra});
}

Bytes WaveFormat::body(size_t size) const {
    Bytes whole = join({le16(format_tag), le16(channels), le32(sample_rate), le32(bytes_per_second),
                        le16(block_align), le16(bits_per_sample), le16(stated_extra), extra});
    whole.resize(size);
    return whole;
}

}  // namespace quorv::test
