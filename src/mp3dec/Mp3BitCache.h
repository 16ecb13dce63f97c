// Fast reader for coded samples: upcoming bits at the top of a machine word.
//
// What lies at and beyond the end reads as zero bits and is counted like any other bit, so a decoding loop
// needs a single check in the end, of what it consumed.
#ifndef QUORV_SRC_MP3DEC_MP3BITCACHE_H
#define QUORV_SRC_MP3DEC_MP3BITCACHE_H

#include <stddef.h>
#include <string.h>

#include <type_traits>

#include "mp3dec/Mp3BitReader.h"

namespace quorv {

class Mp3BitCache {
public:
    using Word = uintptr_t;
    static constexpr uint32_t kBits = sizeof(Word) * 8;
    // After refill() at least this many bits are there; no read takes more.
    static constexpr uint32_t kRefilled = kBits / 2;

    // Starts at the reader's position.
    explicit Mp3BitCache(const Mp3BitReader &reader)
        : data_(reader.byte), size_(static_cast<size_t>(reader.end - reader.byte)) {
        refill();
        skip(8u - reader.bits_left);
        start_ = consumed_from_data();
    }

    // Bits consumed since the start.
    uint32_t consumed() const { return consumed_from_data() - start_; }

    void refill() {
        if (bits_ > kRefilled) return;
        const size_t next = next_;
        next_ += sizeof(Half);
        Word word = 0;
        if (next_ <= size_) {
            Half half;
            memcpy(&half, data_ + next, sizeof half);
            word = big_endian(half);
        } else {
            word = bytes_at_end(data_, size_, next);
        }
        cache_ |= word << (kRefilled - bits_);
        bits_ += kRefilled;
    }

    // The next n bits, 1 to kRefilled.
    uint32_t peek(uint32_t n) const { return static_cast<uint32_t>(cache_ >> (kBits - n)); }
    // The next bit in bit 31.
    uint32_t sign() const { return static_cast<uint32_t>(cache_ >> (kBits - 32)) & 0x80000000u; }

    void skip(uint32_t n) {
        cache_ <<= n;
        bits_ -= n;
    }

    // The two halves of skip(), for a caller that knows the sum of several.
    void shift(uint32_t n) { cache_ <<= n; }
    void account(uint32_t n) { bits_ -= n; }

    // Consumes n bits, 0 to 16.
    uint32_t read(uint32_t n) {
        refill();
        const uint32_t value = static_cast<uint32_t>(cache_ >> 1 >> (kBits - 1 - n));
        skip(n);
        return value;
    }

private:
    using Half = std::conditional_t<sizeof(Word) == 8, uint32_t, uint16_t>;

    static Word big_endian(Half half) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        if constexpr (sizeof half == 4) return __builtin_bswap32(half);
        return __builtin_bswap16(static_cast<uint16_t>(half));
#else
        return half;
#endif
    }

    [[gnu::noinline]] static Word bytes_at_end(const uint8_t *data, size_t size, size_t next) {
        Word word = 0;
        for (size_t i = next; i < next + sizeof(Half); ++i)
            word = word << 8 | (i < size ? data[i] : 0u);
        return word;
    }

    uint32_t consumed_from_data() const {
        return static_cast<uint32_t>(next_ * 8) - bits_;
    }

    const uint8_t *data_;
    size_t size_;
    size_t next_ = 0;  // byte that the next refill begins with
    Word cache_ = 0;
    uint32_t bits_ = 0;  // valid bits of the cache
    uint32_t start_ = 0;
};

}  // namespace quorv

#endif
