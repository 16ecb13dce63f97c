// Frame state and the choice of the layer's decoder; see the header.

#include "mp3dec/Mp3Frame.h"

#include <string.h>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameSync.h"
#include "mp3dec/Mp3Layer12.h"
#include "mp3dec/Mp3Layer3.h"

namespace quorv {

namespace {

Mp3Error decode_layer(Mp3Frame *frame, Mp3InputBuffer *input) {
    Mp3Channel *channels = frame->channels.get();
    switch (frame->header.layer) {
        case 1:
            return layer1_decode(input, frame->kernels, frame->header, channels);
        case 2:
            return layer2_decode(input, frame->kernels, &frame->header, channels);
        default:
            return layer3_decode(input, &frame->reservoir, frame->kernels, &frame->header, channels);
    }
}

// All layers come to subband samples.
void synth_frame(Mp3Frame *frame, Mp3Synthesis *output) {
    const uint32_t slots = mp3_samples_per_frame(frame->header) / kMp3Subbands;
    const int32_t *gains = frame->equalizer_enabled ? mp3_equalizer_gains(frame->equalizer_value) : nullptr;
    mp3_subsynth(frame->kernels, frame->channels.get(), {mp3_channels(frame->header), slots, gains}, output);
}

}  // namespace

bool frame_init(Mp3Frame *frame) {
    *frame = {};
    frame->kernels = mp3_best_kernels();
    frame->channels = make_array<Mp3Channel>(kMp3MaxChannels);
    if (frame->channels == nullptr) return false;
    frame_reset(frame);
    return true;
}

void frame_reset(Mp3Frame *frame) {
    header_init(&frame->header);
    frame->reservoir.fill = 0;
    memset(frame->channels.get(), 0, kMp3MaxChannels * sizeof(Mp3Channel));
}

Mp3Error frame_decode(Mp3Frame *frame, Mp3InputBuffer *input, Mp3Synthesis *output) {
    frame->header.options = input->options;
    Mp3Error error = header_decode(&frame->header, input);
    if (error != Mp3Error::None) return error;
    error = decode_layer(frame, input);
    if (error == Mp3Error::None) {
        synth_frame(frame, output);
        return error;
    }
    if (!mp3_skips_frame(error)) input->read_position = input->frame_start;
    input->leftover_bits = 0;
    return error;
}

}  // namespace quorv
