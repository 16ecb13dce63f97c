// Huffman decoding of Layer III spectra (ISO/IEC 11172-3, 2.4.1.7 and table B.7).
#ifndef QUORV_SRC_MP3DEC_MP3HUFFMAN_H
#define QUORV_SRC_MP3DEC_MP3HUFFMAN_H

#include "mp3dec/Mp3BitWindow.h"
#include "mp3dec/Mp3SideInfo.h"
#include "mp3dec/Mp3Spectrum.h"

namespace quorv {

// Decodes `count` more values, an even number, with one of the big-values tables. -1 when there is no such
// table.
int32_t dechuffpairs(Mp3BitWindow *bits, uint32_t table, uint32_t count, Mp3Spectrum *spectrum);

// Decodes quadruples with count1 table A (0) or B (1) while four values of room and bits remain; `available`
// counts from the start of the window. A quadruple that runs beyond the bits is dropped.
void dechuffquads(Mp3BitWindow *bits, uint32_t table, uint32_t available, Mp3Spectrum *spectrum);

// Decodes the spectrum of one granule and channel behind its scale factors and zeroes what follows it. -1
// when it needs more than `available` bits from the start of the window, or a table that does not exist.
int32_t mp3_dechuff(Mp3BitWindow *bits, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    uint32_t available, Mp3Spectrum *spectrum);

}  // namespace quorv

#endif
