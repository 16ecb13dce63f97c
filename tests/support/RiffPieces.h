// RIFF chunks and the bodies of the AVI header chunks, built from values.
#ifndef QUORV_TESTS_SUPPORT_RIFFPIECES_H
#define QUORV_TESTS_SUPPORT_RIFFPIECES_H

#include <stdint.h>

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

// And the other way round; "" for 0.
std::string fourcc_name(uint32_t value);

Bytes le16(uint32_t value);
Bytes le32(uint32_t value);
Bytes le64(uint64_t value);
Bytes text(const std::string &characters);
Bytes join(std::initializer_list<Bytes> parts);

// A chunk with its pad byte.
Bytes chunk(uint32_t id, const Bytes &body);
Bytes list(uint32_t type, const Bytes &body);

// The fields that a reader makes use of; the others are 0.
struct MainHeader {
    uint32_t microseconds_per_frame = 40000;
    uint32_t flags = 0x10, total_frames = 0;
    uint32_t streams = 0;
    Bytes body() const;  // 56 bytes
};

struct StreamHeader {
    uint32_t type = tag("vids");
    uint32_t handler = 0;
    uint32_t scale = 1;
    uint32_t rate = 25;
    uint32_t length = 0;
    uint32_t suggested_buffer = 0;
    uint32_t sample_size = 0;
    Bytes body() const;  // 56 bytes
};

struct BitmapHeader {
    uint32_t header_size = 40;
    uint32_t width = 64;
    uint32_t height = 48;
    uint32_t compression = tag("MJPG");
    Bytes extra = {};
    Bytes body() const;  // 40 bytes and the extra ones
};

struct WaveFormat {
    uint32_t format_tag = 1;
    uint32_t channels = 2;
    uint32_t sample_rate = 8000;
    uint32_t bytes_per_second = 32000;
    uint32_t block_align = 4;
    uint32_t bits_per_sample = 16;
    uint32_t stated_extra = 0;  // cbSize
    Bytes extra = {};
    // The first `size` bytes of the record with cbSize and extra bytes.
    Bytes body(size_t size) const;
};

}  // namespace quorv::test

#endif
