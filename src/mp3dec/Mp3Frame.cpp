// Frame state and the choice of the layer's decoder; see the header.

#include "mp3dec/Mp3Frame.h"

#include <quorv/platform/memory.h>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameSync.h"
#include "mp3dec/Mp3Layer12.h"
#include "mp3dec/Mp3Layer3.h"

namespace quorv {

namespace {

constexpr uint32_t kChannelBytes = kMp3MaxChannels * sizeof(Mp3Channel);

int32_t decode_layer(Mp3Frame *frame, Mp3InputBuffer *state, Mp3Synthesis *output) {
    if (frame->header.layer == 3) return layer3_decode(state, frame, output);
    const int32_t result =
        frame->header.layer == 2 ? layer2_decode(state, frame) : layer1_decode(state, frame);
    if (result != 0) return result;
    const Mp3BitReader &reader = *state->header_reader;
    *state->main_reader = reader;
    state->leftover_bits = static_cast<int32_t>(reader.bits_left) - 8 +
                           static_cast<int32_t>(state->read_position - reader.byte) * 8;
    return 0;
}

}  // namespace

int32_t frame_init(Mp3Frame *frame, uint32_t /*max_channels*/, uint32_t /*highest_layer*/, bool allocate) {
    *frame = {};
    header_init(&frame->header);
    if (!allocate) return 0;
    frame->kernels = mp3_best_kernels();
    frame->channels = static_cast<Mp3Channel *>(MMemAlloc(nullptr, kChannelBytes));
    if (frame->channels == nullptr) return -1;
    frame_reset(frame);
    return 0;
}

void frame_reset(Mp3Frame *frame) {
    if (frame->channels != nullptr) MMemSet(frame->channels, 0, kChannelBytes);
}

void frame_close(Mp3Frame *frame) {
    MMemFree(nullptr, frame->channels);
    frame->channels = nullptr;
}

int32_t frame_decode(Mp3Frame *frame, Mp3InputBuffer *state, Mp3Synthesis *output) {
    frame->header.options = state->options;
    if (header_decode(&frame->header, state) != 0) return -1;
    if (decode_layer(frame, state, output) == 0) return 0;
    if (state->error < kMp3FirstSkippingError) state->read_position = state->frame_start;
    state->leftover_bits = 0;
    return -1;
}

void frame_synthesize(Mp3Frame *frame, uint32_t slots, Mp3Synthesis *output) {
    const int32_t *const gains =
        frame->equalizer_enabled ? mp3_equalizer_gains(frame->equalizer_value) : nullptr;
    mp3_subsynth(frame->kernels, frame->channels, {mp3_channels(frame->header), slots, gains}, output);
}

void synth_frame(Mp3Frame *frame, Mp3Synthesis *synthesis) {
    frame_synthesize(frame, mp3_samples_per_frame(frame->header) / kMp3Subbands, synthesis);
}

}  // namespace quorv
