// One stream's frame state: the header, the channels, the equaliser, the kernels that all work is done with;
// and the choice of the layer's decoder.
#ifndef QUORV_SRC_MP3DEC_MP3FRAME_H
#define QUORV_SRC_MP3DEC_MP3FRAME_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/kernels/Mp3Kernels.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "mp3dec/Mp3Synthesis.h"

namespace quorv {

struct Mp3Frame {
    Mp3FrameHeader header;
    Mp3Channel *channels;  // kMp3MaxChannels, owned
    Mp3Kernels kernels;
    bool equalizer_enabled;    // decides on the synthesis of the next frame
    uint32_t equalizer_value;  // the preset; one that is not there is flat
};

// Empties the state and, with `allocate`, allocates the channels, zeroed, and chooses the kernels. The two
// values are those of the decoder's configuration and not used: there is room for everything. 0 or -1.
int32_t frame_init(Mp3Frame *frame, uint32_t max_channels, uint32_t highest_layer, bool allocate);

// Zeroes the channels for a new position in the stream.
void frame_reset(Mp3Frame *frame);

// Frees the channels.
void frame_close(Mp3Frame *frame);

// Decodes the next frame. Layer III leaves PCM in the output's store; Layers I and II leave subband samples
// for synth_frame. 0, or -1 with state->error: below 256 the same frame comes again with more input, else it
// was skipped.
int32_t frame_decode(Mp3Frame *frame, Mp3InputBuffer *state, Mp3Synthesis *output);

// Synthesises the first `slots` time slots of all channels into the PCM store.
void frame_synthesize(Mp3Frame *frame, uint32_t slots, Mp3Synthesis *output);

// Synthesises a Layer I or II frame, whose decoder leaves subband samples only, into the PCM store.
void synth_frame(Mp3Frame *frame, Mp3Synthesis *synthesis);

}  // namespace quorv

#endif
