// Most-significant-bit-first reader that can be copied to save and restore a position.
//
// What lies at and beyond the end reads as zero bits; no byte outside the buffer is touched. The state inside
// the buffer is exact to the bit, because distances between readers decide where frames and their data end.
#ifndef QUORV_SRC_MP3DEC_MP3BITREADER_H
#define QUORV_SRC_MP3DEC_MP3BITREADER_H

#include <stdint.h>

namespace quorv {

struct Mp3BitReader {
    const uint8_t *byte;  // holds the next unread bit
    uint16_t current;     // a copy of that byte, valid when bits_left is below 8
    uint16_t bits_left;   // unread bits of it, 0 to 8; 8: at a byte boundary, not loaded yet
    const uint8_t *end;   // one past the last byte that may be read
};

// Puts the reader on a byte boundary.
void bit_place(Mp3BitReader *reader, const uint8_t *byte, const uint8_t *end);

// Returns and consumes the next n bits, n from 0 to 32.
uint32_t bit_read(Mp3BitReader *reader, uint32_t n);

// Moves forward by n bits.
void bit_skip(Mp3BitReader *reader, uint32_t n);

// The same for the main data: it always leaves the byte loaded, except after an exact end of a byte.
void bit_skip1(Mp3BitReader *reader, uint32_t n);

// CRC-16 (polynomial 0x8005) of the next n bits, continued from initial; the reader stays.
uint16_t bit_crc(const Mp3BitReader *reader, uint32_t n, uint16_t initial);

// Where the reader stands; a byte that was begun counts as read.
inline const uint8_t *bit_position(const Mp3BitReader &reader) {
    return reader.bits_left == 8 ? reader.byte : reader.byte + 1;
}

}  // namespace quorv

#endif
