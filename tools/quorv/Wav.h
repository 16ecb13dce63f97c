// The header of a WAV file with 16-bit samples, of any size.
#ifndef QUORV_TOOLS_QUORV_WAV_H
#define QUORV_TOOLS_QUORV_WAV_H

#include <cstdint>
#include <string>

namespace quorv::tool {

struct PcmFormat {
    uint32_t sample_rate = 0;  // hertz
    uint32_t channels = 0;
};

// The sizes of a WAV file have 32 bits. What does not fit is written as RF64 (EBU Tech 3306), whose header is
// longer; room_for_more gives a smaller file a header of the same length, so that it can become one later.
std::string wav_header(const PcmFormat &format, uint64_t data_bytes, bool room_for_more);

}  // namespace quorv::tool

#endif
