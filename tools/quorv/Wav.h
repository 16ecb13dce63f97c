// The header of a WAV file with 16-bit samples, of any size.
#ifndef QUORV_TOOLS_QUORV_WAV_H
#define QUORV_TOOLS_QUORV_WAV_H

#include <cstdint>
#include <span>
#include <string>

namespace quorv::tool {

struct PcmFormat {
    uint32_t sample_rate = 0;  // hertz
    uint32_t channels = 0;
};

// The sizes of a WAV file have 32 bits. What does not fit is written as RF64 (EBU Tech 3306), whose header is
// longer; room_for_more gives a smaller file a header of the same length, so that it can become one later.
std::string wav_header(const PcmFormat &format, uint64_t data_bytes, bool room_for_more);
// For a pipe, where nobody knows yet how much will come: the sizes have all bits set.
std::string wav_stream_header(const PcmFormat &format);

// Samples as they are in the file.
std::span<const uint8_t> pcm_bytes(std::span<const int16_t> samples);

}  // namespace quorv::tool

#endif
