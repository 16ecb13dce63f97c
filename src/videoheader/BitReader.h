// Most-significant-bit-first reader over a byte buffer, shared by the header parsers.
//
// It keeps a 32-bit window of upcoming bits and fetches the input in aligned 16-bit words, so that one refill
// per call is enough on a 32-bit processor. Words beyond the end of the buffer read as 0 and no byte outside
// the buffer is touched, so a parser may run past a header that was cut off and needs no checks of its own.
#ifndef QUORV_SRC_VIDEOHEADER_BITREADER_H
#define QUORV_SRC_VIDEOHEADER_BITREADER_H

#include <stdint.h>

namespace quorv {

struct bs_utility {
    uint32_t cache;      // upcoming bits, the next one in bit 31
    int32_t extra;       // the cache holds extra + 16 valid bits; 1 to 16 between calls
    uintptr_t position;  // address of the next word, even; an integer because it may run past the end
    const uint8_t *end;  // one past the last input byte
    uint32_t length;     // input bytes
};

static_assert(sizeof(void *) != 4 || sizeof(bs_utility) == 20);

// Starts reading at buffer[0]; the buffer must outlive the reader.
void bs_open_utility(bs_utility *bs, const uint8_t *buffer, uint32_t length);
// Returns and consumes the next n bits, n from 0 to 16.
uint32_t bs_get_bits_utility(bs_utility *bs, uint32_t n);
uint32_t bs_get_1bit_utility(bs_utility *bs);
// Consumes n bits, n from 0 to 16.
void bs_skip_bits_utility(bs_utility *bs, uint32_t n);
// Consumes what is left of a byte that was begun. The headers that are parsed here need none of it.
void bs_bytealign_utility(bs_utility *bs);
uint32_t bs_get_16bits_utility(bs_utility *bs);
// Returns the next 32 bits without consuming them.
uint32_t bs_show_32bits_utility(const bs_utility *bs);
void bs_skip_32bits_utility(bs_utility *bs);

}  // namespace quorv

#endif
