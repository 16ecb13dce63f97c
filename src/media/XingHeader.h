// What an encoder says about a whole stream in its first frame, which holds no sound: the header named
// "Xing", "Info" or "VBRI".
#ifndef QUORV_SRC_MEDIA_XINGHEADER_H
#define QUORV_SRC_MEDIA_XINGHEADER_H

#include <quorv/mp3_decoder.h>
#include <stddef.h>
#include <stdint.h>

namespace quorv {

// A decoder's own delay, in samples; the filter banks of all decoders have the same.
inline constexpr uint32_t kMp3DecoderDelay = 529;

struct XingHeader {
    int64_t frames;  // of sound, without the one that the header stands in; -1 when not told
    int64_t bytes;   // from that frame on to the end of the last one; -1 when not told
    bool is_constant_rate;
    // Positions of the hundredths of the time in the file, in 1/256 of the bytes.
    bool has_places;
    uint8_t places[100];
    // Samples that the encoder put in front of the sound and behind it, both 0 when not told.
    uint32_t delay, padding;
    char encoder[10];  // its name, empty when not told
    // By an encoder that gives its name: how it chose bit rates (0 to 15), the highest frequency that it
    // kept, in hertz, and how good the result is, 1 to 100. 0 when not told.
    uint32_t method, lowpass, quality;
};

// Reads the header out of a frame of this many bytes. False when there is none.
bool xing_read(const Mp3FrameHeader &header, const uint8_t *frame, size_t size, XingHeader *result);

// What a decoder gives beside the sound: samples in front of it and behind it.
struct XingTrim {
    uint32_t front, back;
    int64_t sound;  // samples in between; -1 when that is not told, and nothing is to be trimmed
};

XingTrim xing_trim(const XingHeader &xing, const Mp3FrameHeader &header);

}  // namespace quorv

#endif
