// Most-significant-bit-first reader over a byte buffer; see the header.

#include "videoheader/BitReader.h"

#include <stddef.h>

namespace quorv {

namespace {

constexpr uint32_t kWordBytes = 2;

// The big-endian word at an address; bytes at and beyond the end are 0.
uint32_t word_at(const bs_utility *bs, uintptr_t position) {
    const uintptr_t end = reinterpret_cast<uintptr_t>(bs->end);
    if (position >= end) return 0;
    const size_t left = end - position;
    const uint8_t *bytes = bs->end - left;
    const uint32_t high = static_cast<uint32_t>(bytes[0]) << 8;
    return left == 1 ? high : high | bytes[1];
}

uint32_t take_word(bs_utility *bs) {
    const uint32_t word = word_at(bs, bs->position);
    bs->position += kWordBytes;
    return word;
}

// Drops n bits, at most 16, and keeps at least 17 in the cache: the new word's top bit lands just below the
// last valid one.
void consume(bs_utility *bs, uint32_t n) {
    bs->cache <<= n;
    bs->extra -= static_cast<int32_t>(n);
    if (bs->extra > 0) return;
    bs->cache |= take_word(bs) << -bs->extra;
    bs->extra += 16;
}

}  // namespace

void bs_open_utility(bs_utility *bs, const uint8_t *buffer, uint32_t length) {
    bs->end = buffer + length;
    bs->length = length;
    bs->position = reinterpret_cast<uintptr_t>(buffer);
    if (bs->position % kWordBytes != 0) {
        bs->cache = length > 0 ? static_cast<uint32_t>(buffer[0]) << 16 : 0;
        bs->extra = 8;
        bs->position += 1;
    } else {
        bs->cache = take_word(bs) << 16;
        bs->extra = 16;
    }
    bs->cache = (bs->cache | take_word(bs)) << (16 - bs->extra);
}

uint32_t bs_get_bits_utility(bs_utility *bs, uint32_t n) {
    // Two shifts, because one by 32 would be undefined for n = 0.
    const uint32_t bits = (bs->cache >> 16) >> (16 - n);
    consume(bs, n);
    return bits;
}

uint32_t bs_get_1bit_utility(bs_utility *bs) {
    const uint32_t bit = bs->cache >> 31;
    consume(bs, 1);
    return bit;
}

void bs_skip_bits_utility(bs_utility *bs, uint32_t n) {
    consume(bs, n);
}

void bs_bytealign_utility(bs_utility *bs) {
    // The position in bits is position * 8 - (extra + 16), and position is a whole number of words.
    consume(bs, static_cast<uint32_t>(bs->extra) % 8);
}

uint32_t bs_get_16bits_utility(bs_utility *bs) {
    const uint32_t bits = bs->cache >> 16;
    bs->cache = bs->cache << 16 | take_word(bs) << (16 - bs->extra);
    return bits;
}

uint32_t bs_show_32bits_utility(const bs_utility *bs) {
    return bs->cache | word_at(bs, bs->position) >> bs->extra;
}

void bs_skip_32bits_utility(bs_utility *bs) {
    const uint32_t high = take_word(bs);
    const uint32_t low = take_word(bs);
    bs->cache = (high << 16 | low) << (16 - bs->extra);
}

}  // namespace quorv
