// Most-significant-bit-first reader and CRC-16; see the header.

#include "mp3dec/Mp3BitReader.h"

#include <stddef.h>

#include <algorithm>
#include <array>

namespace quorv {

namespace {

constexpr uint32_t kCrcPolynomial = 0x8005;

constexpr std::array<uint16_t, 256> make_crc_table() {
    std::array<uint16_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t crc = i << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ ((crc & 0x8000) != 0 ? kCrcPolynomial : 0);
        table[i] = static_cast<uint16_t>(crc);
    }
    return table;
}

constexpr std::array<uint16_t, 256> kCrcTable = make_crc_table();

uint16_t byte_at(const Mp3BitReader &reader) {
    return reader.byte < reader.end ? *reader.byte : uint16_t{0};
}

// Pointers are only moved inside the buffer; beyond its end, one byte past it stands for every position.
void advance(Mp3BitReader *reader, size_t bytes) {
    const size_t left = static_cast<size_t>(reader->end - reader->byte);
    reader->byte += std::min(left, bytes);
}

uint32_t crc_byte(uint32_t crc, uint32_t byte) {
    return (crc << 8 ^ kCrcTable[(crc >> 8 ^ byte) & 0xFF]) & 0xFFFF;
}

}  // namespace

void bit_place(Mp3BitReader *reader, const uint8_t *byte, const uint8_t *end) {
    *reader = {byte, 0, 8, end};
}

uint32_t bit_read(Mp3BitReader *reader, uint32_t n) {
    if (reader->bits_left == 8) reader->current = byte_at(*reader);
    const uint32_t left = reader->bits_left;
    uint32_t value = reader->current & ((1u << left) - 1);
    if (n < left) {
        reader->bits_left = static_cast<uint16_t>(left - n);
        return value >> (left - n);
    }
    n -= left;
    advance(reader, 1);
    for (; n >= 8; n -= 8) {
        value = value << 8 | byte_at(*reader);
        advance(reader, 1);
    }
    reader->bits_left = 8;
    if (n > 0) {
        reader->current = byte_at(*reader);
        value = value << n | static_cast<uint32_t>(reader->current >> (8 - n));
        reader->bits_left = static_cast<uint16_t>(8 - n);
    }
    return value;
}

void bit_skip(Mp3BitReader *reader, uint32_t n) {
    const uint32_t bits = n % 8;
    size_t bytes = n / 8;
    if (reader->bits_left < bits) {
        reader->bits_left = static_cast<uint16_t>(reader->bits_left + 8 - bits);
        ++bytes;
    } else {
        reader->bits_left = static_cast<uint16_t>(reader->bits_left - bits);
    }
    advance(reader, bytes);
    if (reader->bits_left < 8) reader->current = byte_at(*reader);
}

void bit_skip1(Mp3BitReader *reader, uint32_t n) {
    const uint32_t bits = n % 8, left = reader->bits_left;
    advance(reader, n / 8);
    if (bits < left) {
        reader->bits_left = static_cast<uint16_t>(left - bits);
    } else {
        advance(reader, 1);
        reader->bits_left = static_cast<uint16_t>(left + 8 - bits);
    }
    reader->current = byte_at(*reader);
}

uint16_t bit_crc(const Mp3BitReader *reader, uint32_t n, uint16_t initial) {
    Mp3BitReader copy = *reader;
    uint32_t crc = initial;
    for (; n >= 32; n -= 32) {
        const uint32_t word = bit_read(&copy, 32);
        for (int shift = 24; shift >= 0; shift -= 8)
            crc = crc_byte(crc, word >> shift);
    }
    for (; n >= 8; n -= 8)
        crc = crc_byte(crc, bit_read(&copy, 8));
    for (; n > 0; --n) {
        const uint32_t feedback = bit_read(&copy, 1) ^ crc >> 15;
        crc = (crc << 1 ^ (feedback != 0 ? kCrcPolynomial : 0)) & 0xFFFF;
    }
    return static_cast<uint16_t>(crc);
}

}  // namespace quorv
