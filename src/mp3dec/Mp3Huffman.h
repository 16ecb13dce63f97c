// Huffman decoding of Layer III spectra (ISO/IEC 11172-3, 2.4.1.7 and table B.7).
//
// Values come in sign-and-magnitude form: the magnitude in the low bits, the sign in bit 31. A zero may have
// either sign.
#ifndef QUORV_SRC_MP3DEC_MP3HUFFMAN_H
#define QUORV_SRC_MP3DEC_MP3HUFFMAN_H

#include "mp3dec/Mp3BitCache.h"
#include "mp3dec/Mp3Channel.h"
#include "mp3dec/Mp3SideInfo.h"

namespace quorv {

// Decodes `count` values, an even number, with one of the big-values tables. -1 when there is no such table.
int32_t dechuffpairs(Mp3BitCache *bits, uint32_t table, int32_t *output, uint32_t count);

// Decodes quadruples with count1 table A (0) or B (1) while four values of room and bits remain; `available`
// counts from the start of the cache. A quadruple that runs beyond the bits is dropped. Returns how many
// values were stored.
uint32_t dechuffquads(Mp3BitCache *bits, uint32_t table, uint32_t available, int32_t *output, uint32_t room);

// Decodes the spectrum of one granule and channel behind its scale factors and zeroes what follows it.
// Returns how many values were decoded, or -1 when they need more than `available` bits from the start of the
// cache, or a table that does not exist.
int32_t mp3_dechuff(Mp3BitCache *bits, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    uint32_t available, int32_t spectrum[kMp3GranuleLines]);

}  // namespace quorv

#endif
