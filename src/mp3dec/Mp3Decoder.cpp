// The exported decoder: feeds pieces of the stream to the frame decoder and delivers what comes out.

#include "mp3dec/Mp3Decoder.h"

#include <quorv/platform/memory.h>

#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

constexpr QuMp3Config kDefaultConfig = {2, 3, 0};

bool is_complete(const Mp3Decoder *decoder) {
    return decoder != nullptr && decoder->synthesis.pcm != nullptr && decoder->frame.channels != nullptr;
}

bool is_valid(const QuMp3Buffer *buffer) {
    return buffer != nullptr && (buffer->data != nullptr || buffer->length == 0);
}

bool has_pending(const Mp3Decoder &decoder) {
    return decoder.delivery.next < decoder.synthesis.pcm->samples;
}

void drop_pending(Mp3Decoder *decoder) {
    decoder->delivery.next = decoder->synthesis.pcm->samples;
}

bool initialize(Mp3Decoder *decoder) {
    const QuMp3Config &config = decoder->config;
    return buffer_init(&decoder->input, false) == 0 &&
           frame_init(&decoder->frame, config.frame_value, config.synthesis_value, true) == 0 &&
           synth_init_zev(&decoder->synthesis, config.synthesis_value, mp3_rate_ratio(decoder->rate_word)) ==
               0;
}

// Decodes frames into the output until one of the two is used up.
int32_t decode_frames(Mp3Decoder *decoder, QuMp3Buffer *input, const Mp3InputBytes &bytes, bool has_output) {
    buffer_set(&decoder->input, bytes.data, bytes.length);
    decoder->input.stream_end = bytes.stream_end;
    const uint8_t *done = bytes.data;  // nothing in front of it is needed any more
    for (;;) {
        if (frame_decode(&decoder->frame, &decoder->input, &decoder->synthesis) == 0) {
            if (decoder->frame.header.layer != 3) synth_frame(&decoder->frame, &decoder->synthesis);
            done = decoder->input.read_position;
            decoder->delivery.next = 0;
            has_output = true;
            if (QU_MP3_player_output(decoder) == 0 && decoder->room.left > 0) continue;
            store_consume(&decoder->store, input, done);
            return QU_MP3_OK;
        }
        drop_pending(decoder);
        if (decoder->input.error < kMp3FirstSkippingError) break;
        done = decoder->input.read_position;
    }
    // The start of the current frame is still that of the last one when there are no bytes behind that.
    const uint8_t *keep = decoder->input.frame_start > done ? decoder->input.frame_start : done;
    if (decoder->input.error == MP3_ERR_NEED_INPUT && !has_output) {
        const uint32_t wanted = decoder->input.tag_is_open ? kMp3KeptTagBytes : kMp3RoomForFrames;
        return store_extend(&decoder->store, input, keep, wanted);
    }
    store_consume(&decoder->store, input, keep);
    return decoder->input.error == MP3_ERR_NEED_INPUT ? QU_MP3_NEED_INPUT : QU_MP3_ERROR;
}

}  // namespace

void mp3_set_output(Mp3Decoder *decoder, QuMp3Buffer *output) {
    output->result = 0;
    decoder->room = {static_cast<uint8_t *>(output->data), output->length};
}

int32_t mp3_report_output(const Mp3Decoder &decoder, QuMp3Buffer *output, int32_t code) {
    output->result = output->length - decoder.room.left;
    return has_pending(decoder) ? static_cast<int32_t>(QU_MP3_OUTPUT_FULL) : code;
}

}  // namespace quorv

using namespace quorv;

QuMp3Decoder QU_MP3_decoder_init(const QuMp3Config *config, const QuMp3OutputRequest *request) {
    auto *decoder = static_cast<Mp3Decoder *>(MMemAlloc(nullptr, sizeof(Mp3Decoder)));
    if (decoder == nullptr) return nullptr;
    *decoder = {};
    decoder->config = config != nullptr ? *config : kDefaultConfig;
    decoder->rate_word = mp3_output_rate_word(decoder->config.sample_rate, request);
    if (initialize(decoder)) return decoder;
    QU_MP3_decoder_close(decoder);
    return nullptr;
}

int32_t QU_MP3_decoder_reset(QuMp3Decoder handle) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (!is_complete(decoder)) return -1;
    store_close(&decoder->store);
    decoder->room = {};
    decoder->delivery = {};
    drop_pending(decoder);
    frame_reset(&decoder->frame);
    header_init(&decoder->frame.header);
    return buffer_init(&decoder->input, true);
}

void QU_MP3_decoder_close(QuMp3Decoder handle) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (decoder == nullptr) return;
    synth_close(&decoder->synthesis);
    frame_close(&decoder->frame);
    buffer_close(&decoder->input);
    store_close(&decoder->store);
    MMemFree(nullptr, decoder);
}

int32_t QU_MP3_decoder_read(QuMp3Decoder handle, QuMp3Buffer *input, QuMp3Buffer *output) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (!is_complete(decoder) || !is_valid(input) || !is_valid(output)) return -1;
    input->result = 0;
    mp3_set_output(decoder, output);
    const bool had_pending = has_pending(*decoder);
    if (had_pending && (QU_MP3_player_output(decoder) != 0 || decoder->room.left == 0))
        return mp3_report_output(*decoder, output, QU_MP3_OK);
    const Mp3InputBytes bytes = store_take(&decoder->store, input);
    int32_t code = QU_MP3_NEED_INPUT;
    if (bytes.length > 0) code = decode_frames(decoder, input, bytes, had_pending);
    return mp3_report_output(*decoder, output, code);
}

int32_t QU_MP3_decoder_error(QuMp3Decoder handle) {
    const auto *decoder = static_cast<const Mp3Decoder *>(handle);
    return is_complete(decoder) ? decoder->input.error : -1;
}

int32_t QU_MP3_decoder_EQ_enabled(uint32_t enable, uint32_t value, QuMp3Decoder handle) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (!is_complete(decoder)) return -1;
    decoder->frame.equalizer_enabled = enable != 0;
    decoder->frame.equalizer_value = value;
    return 0;
}

int32_t QU_MP3_player_output(QuMp3Decoder handle) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (!is_complete(decoder)) return -1;
    const bool all =
        mp3_deliver(*decoder->synthesis.pcm, decoder->rate_word, &decoder->delivery, &decoder->room);
    return all ? 0 : kMp3OutputIsFull;
}
