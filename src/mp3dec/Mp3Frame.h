// One stream's frame state: the header, the channels, the bit reservoir, the equaliser, the kernels that all
// work is done with; and the choice of the layer's decoder.
#ifndef QUORV_SRC_MP3DEC_MP3FRAME_H
#define QUORV_SRC_MP3DEC_MP3FRAME_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/kernels/Mp3Kernels.h"
#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "mp3dec/Mp3Reservoir.h"
#include "mp3dec/Mp3Synthesis.h"
#include "platform/MemoryOwner.h"

namespace quorv {

struct Mp3Frame {
    Mp3FrameHeader header;
    Owned<Mp3Channel[]> channels;  // kMp3MaxChannels
    Mp3Reservoir reservoir;
    Mp3Kernels kernels;
    bool equalizer_enabled;    // decides on the synthesis of the next frame
    uint32_t equalizer_value;  // the preset; one that is not there is flat
};

// Makes an empty state: allocates the channels, zeroed, and chooses the kernels. False without memory.
[[nodiscard]] bool frame_init(Mp3Frame *frame);

// Forgets what was decoded, for a new position in the stream.
void frame_reset(Mp3Frame *frame);

// Decodes the next frame into the output's store. After an error that skips no frame the same frame comes
// again, with more input or memory.
Mp3Error frame_decode(Mp3Frame *frame, Mp3InputBuffer *input, Mp3Synthesis *output);

}  // namespace quorv

#endif
