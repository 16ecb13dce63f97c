// The codes of subband samples in Layers I and II.
//
// A frame has twelve groups, each with the codes of all subbands in order: one of each subband in Layer I,
// three in Layer II. All groups are equally long.
#ifndef QUORV_SRC_MP3DEC_MP3SAMPLECODES_H
#define QUORV_SRC_MP3DEC_MP3SAMPLECODES_H

#include <stdint.h>

#include "mp3dec/Mp3BitWindow.h"
#include "mp3dec/Mp3Channel.h"

namespace quorv {

inline constexpr uint32_t kMp3CodeGroups = 12;

// Where the codes of one subband are.
struct Mp3CodeRun {
    uint32_t quantizer;  // a class of kLayer2Levels
    uint32_t samples;    // in a group, 1 or 3
    uint32_t position;   // in the window, of the first group's
    uint32_t step;       // bits of a group
};

// Bits of one subband in a group.
uint32_t mp3_code_bits(uint32_t quantizer, uint32_t samples);

// Reads the codes of one subband and stores them as numerators, a slot apart: 2 code + 1 - levels, with the
// highest bit of the code at bit 30, so below 2^30 in size, or equal to it for a code that must not occur.
void mp3_read_codes(const Mp3BitWindow &bits, const Mp3CodeRun &run, int32_t *to);

// What a numerator times 2^-32 is multiplied with to make a sample with kSampleBits fractional bits. Even.
int32_t mp3_code_factor(uint32_t quantizer, uint32_t scale_factor);

}  // namespace quorv

#endif
