// Fast reader for coded samples: a position, and the bits from there on at the top of a machine word.
//
// What lies at and beyond the end reads as zero bits and is counted like any other bit, so a decoding loop
// needs a single check in the end, of what it consumed.
#ifndef QUORV_SRC_MP3DEC_MP3BITWINDOW_H
#define QUORV_SRC_MP3DEC_MP3BITWINDOW_H

#include <stddef.h>
#include <string.h>

#include "mp3dec/Mp3BitReader.h"

namespace quorv {

class Mp3BitWindow {
public:
    using Word = uintptr_t;
    static constexpr uint32_t kBits = sizeof(Word) * 8;
    static constexpr uint32_t kAhead = kBits - 7;  // bits of ahead() that count

    // Starts at the reader's position.
    explicit Mp3BitWindow(const Mp3BitReader &reader)
        : data_(reader.byte),
          size_(static_cast<size_t>(reader.end - reader.byte)),
          whole_words_(size_ < sizeof(Word) ? 0 : size_ - sizeof(Word) + 1),
          start_(8u - reader.bits_left),
          position_(start_) {}

    uint32_t position() const { return position_; }
    void move_to(uint32_t position) { position_ = position; }
    void skip(uint32_t n) { position_ += n; }
    // Bits consumed since the start.
    uint32_t consumed() const { return position_ - start_; }
    uint32_t start() const { return start_; }

    // The bits from a position on; the last 7 may be missing.
    Word ahead(uint32_t position) const {
        const size_t byte = position / 8;
        Word word;
        if (byte < whole_words_) {
            memcpy(&word, data_ + byte, sizeof(word));
            word = big_endian(word);
        } else {
            word = bytes_at_end(data_, size_, byte);
        }
        return word << position % 8;
    }

    // Consumes n bits, 0 to kAhead.
    uint32_t read(uint32_t n) {
        const Word word = ahead(position_);
        position_ += n;
        return first_bits(word, n);
    }

    // The first n bits of a word, 0 to kAhead.
    static uint32_t first_bits(Word word, uint32_t n) {
        return static_cast<uint32_t>(word >> 1 >> (kBits - 1 - n));
    }

private:
    static Word big_endian(Word word) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        if constexpr (sizeof(word) == 8) return __builtin_bswap64(word);
        return static_cast<Word>(__builtin_bswap32(static_cast<uint32_t>(word)));
#else
        return word;
#endif
    }

    [[gnu::noinline]] static Word bytes_at_end(const uint8_t *data, size_t size, size_t first) {
        Word word = 0;
        for (size_t i = first; i < first + sizeof(word); ++i)
            word = word << 8 | (i < size ? data[i] : 0u);
        return word;
    }

    const uint8_t *data_;
    size_t size_;
    size_t whole_words_;  // bytes that a whole word can be read from
    uint32_t start_;
    uint32_t position_;
};

}  // namespace quorv

#endif
