// The header of a frame: reading it, and what it says.
#ifndef QUORV_SRC_MP3DEC_MP3FRAMEHEADER_H
#define QUORV_SRC_MP3DEC_MP3FRAMEHEADER_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3BitReader.h"
#include "mp3dec/Mp3Error.h"

namespace quorv {

// Bit 0 of Mp3FrameHeader.options. Clear by default, and no exported function sets it.
inline constexpr uint32_t kMp3IgnoreCrc = 1;

// Empties the record.
void header_init(Mp3FrameHeader *header);

// Reads the header that the reader stands on, with the check word if there is one.
Mp3Error mp3_parse_header(Mp3FrameHeader *header, Mp3BitReader *reader);

// Whether the check word is that of the header and the `bits` bits behind it; true for a frame without one.
bool mp3_crc_matches(const Mp3FrameHeader &header, const Mp3BitReader &reader, uint32_t bits);

constexpr bool mp3_has_flag(const Mp3FrameHeader &header, uint32_t flag) {
    return (header.flags & flag) != 0;
}

constexpr bool mp3_is_low_rate(const Mp3FrameHeader &header) {
    return mp3_has_flag(header, MP3_FLAG_LOW_SAMPLING_RATE);
}

constexpr uint32_t mp3_channels(const Mp3FrameHeader &header) {
    return header.channel_code == 0 ? 1 : 2;
}

// Samples of one channel in a frame.
constexpr uint32_t mp3_samples_per_frame(uint32_t layer, bool low_rate) {
    if (layer == 1) return 384;
    return layer == 3 && low_rate ? 576 : 1152;
}

constexpr uint32_t mp3_samples_per_frame(const Mp3FrameHeader &header) {
    return mp3_samples_per_frame(header.layer, mp3_is_low_rate(header));
}

// The mode extension counts in joint stereo only; encoders leave bits there in other modes.
constexpr bool mp3_is_joint(const Mp3FrameHeader &header) {
    return header.channel_code == 2;
}

constexpr bool mp3_has_middle_side(const Mp3FrameHeader &header) {
    return mp3_is_joint(header) && (header.mode_extension & 2) != 0;
}

constexpr bool mp3_has_intensity(const Mp3FrameHeader &header) {
    return mp3_is_joint(header) && (header.mode_extension & 1) != 0;
}

}  // namespace quorv

#endif
