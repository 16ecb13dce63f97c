// The exported decoder: feeds pieces of the stream to the frame decoder and delivers what comes out.

#include "mp3dec/Mp3Decoder.h"

#include <algorithm>

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

// Decodes frames into the output until one of the two is used up.
int32_t decode_frames(Mp3Decoder *decoder, QuMp3Buffer *input, const Mp3InputBytes &bytes, bool has_output) {
    Mp3InputBuffer *state = &decoder->input;
    buffer_set(state, bytes.data, bytes.length);
    state->stream_end = bytes.stream_end;
    const uint8_t *done = bytes.data;  // nothing in front of it is needed any more
    for (;;) {
        const Mp3Error error = frame_decode(&decoder->frame, state, &decoder->synthesis);
        if (error == Mp3Error::None) {
            done = state->read_position;
            decoder->delivery.next = 0;
            has_output = true;
            if (QU_MP3_player_output(decoder) == 0 && decoder->room.left > 0) continue;
            feed_consume(&decoder->feed, input, done);
            return QU_MP3_OK;
        }
        decoder->error = error;
        drop_pending(decoder);
        if (!mp3_skips_frame(error)) break;
        done = state->read_position;
    }
    // The start of the current frame is still that of the last one when there are no bytes behind that.
    const uint8_t *keep = std::max(state->frame_start, done);
    if (decoder->error == Mp3Error::NeedInput && !has_output) {
        const uint32_t wanted = state->tag_is_open ? kMp3KeptTagBytes : kMp3RoomForFrames;
        return feed_extend(&decoder->feed, input, keep, wanted) ? QU_MP3_NEED_INPUT : QU_MP3_ERROR;
    }
    feed_consume(&decoder->feed, input, keep);
    return decoder->error == Mp3Error::NeedInput ? QU_MP3_NEED_INPUT : QU_MP3_ERROR;
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
    Owned<Mp3Decoder> decoder = make_owned<Mp3Decoder>();
    if (decoder == nullptr) return nullptr;
    decoder->config = config != nullptr ? *config : kDefaultConfig;
    decoder->rate_word = mp3_output_rate_word(decoder->config.sample_rate, request);
    buffer_init(&decoder->input);
    const uint32_t ratio = mp3_rate_ratio(decoder->rate_word);
    if (!frame_init(&decoder->frame) ||
        synth_init_zev(&decoder->synthesis, decoder->config.synthesis_value, ratio) != 0)
        return nullptr;
    return decoder.release();
}

int32_t QU_MP3_decoder_reset(QuMp3Decoder handle) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (!is_complete(decoder)) return -1;
    decoder->feed = {};
    decoder->room = {};
    decoder->delivery = {};
    decoder->error = Mp3Error::None;
    drop_pending(decoder);
    frame_reset(&decoder->frame);
    buffer_init(&decoder->input);
    return 0;
}

void QU_MP3_decoder_close(QuMp3Decoder handle) {
    const Owned<Mp3Decoder> decoder(static_cast<Mp3Decoder *>(handle));
}

int32_t QU_MP3_decoder_read(QuMp3Decoder handle, QuMp3Buffer *input, QuMp3Buffer *output) {
    auto *decoder = static_cast<Mp3Decoder *>(handle);
    if (!is_complete(decoder) || !is_valid(input) || !is_valid(output)) return -1;
    input->result = 0;
    mp3_set_output(decoder, output);
    const bool had_pending = has_pending(*decoder);
    if (had_pending && (QU_MP3_player_output(decoder) != 0 || decoder->room.left == 0))
        return mp3_report_output(*decoder, output, QU_MP3_OK);
    const Mp3InputBytes bytes = feed_take(&decoder->feed, input);
    int32_t code = QU_MP3_NEED_INPUT;
    if (bytes.length > 0) code = decode_frames(decoder, input, bytes, had_pending);
    return mp3_report_output(*decoder, output, code);
}

int32_t QU_MP3_decoder_error(QuMp3Decoder handle) {
    const auto *decoder = static_cast<const Mp3Decoder *>(handle);
    return is_complete(decoder) ? static_cast<int32_t>(decoder->error) : -1;
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
