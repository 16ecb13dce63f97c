// One channel's spectrum in work, from the Huffman decoder to the filter bank.
#ifndef QUORV_SRC_MP3DEC_MP3SPECTRUM_H
#define QUORV_SRC_MP3DEC_MP3SPECTRUM_H

#include <stdint.h>

#include "mp3dec/Mp3Channel.h"

namespace quorv {

// Coded values up to this size stand among the lines.
inline constexpr uint32_t kMp3SmallValue = 15;

// A coded value that is larger. Its line is 0.
struct Mp3LargeValue {
    uint16_t line;
    int16_t value;
};

struct Mp3Spectrum {
    int32_t *lines = nullptr;  // kMp3GranuleLines of them; what follows is zero
    uint32_t coded = 0;        // values decoded
    uint32_t count = 0;        // lines requantised: reordering may spread the values over more
    uint32_t magnitudes = 0;   // no coded value has a bit above its highest one
    uint32_t large_count = 0;
    Mp3LargeValue large[kMp3GranuleLines];  // by line
};

}  // namespace quorv

#endif
