// The exported decoder of MPEG audio: checks of arguments around an AudioDecoder.

#include <quorv/quorv.h>

#include "media/AudioDecoder.h"

using namespace quorv;

struct QuorvDecoder {
    AudioDecoder audio;
};

QuorvResult quorv_decoder_open(const QuorvTrack *track, uint32_t flags, QuorvDecoder **decoder) {
    if (decoder == nullptr) return QUORV_ERR_ARGUMENT;
    *decoder = nullptr;
    if ((flags & ~uint32_t{QUORV_DECODER_KEEP_PADDING | QUORV_DECODER_MEASURE}) != 0)
        return QUORV_ERR_ARGUMENT;
    if (track != nullptr && track->framing != QUORV_FRAMING_MPEG_AUDIO) return QUORV_ERR_UNSUPPORTED;
    Owned<QuorvDecoder> made = make_owned<QuorvDecoder>();
    if (made == nullptr || !made->audio.open(track, flags)) return QUORV_ERR_MEMORY;
    *decoder = made.release();
    return QUORV_OK;
}

QuorvResult quorv_decode(QuorvDecoder *decoder, const void *data, size_t size, const QuorvSamples **samples) {
    if (samples == nullptr) return QUORV_ERR_ARGUMENT;
    *samples = nullptr;
    if (decoder == nullptr || (data == nullptr && size != 0)) return QUORV_ERR_ARGUMENT;
    if (size != 0) {
        if (decoder->audio.has_ended()) decoder->audio.restart();
        if (!decoder->audio.append(data, size)) return QUORV_ERR_MEMORY;
    }
    *samples = decoder->audio.next();
    return QUORV_OK;
}

QuorvResult quorv_decoder_finish(QuorvDecoder *decoder, const QuorvSamples **samples) {
    if (samples == nullptr) return QUORV_ERR_ARGUMENT;
    *samples = nullptr;
    if (decoder == nullptr) return QUORV_ERR_ARGUMENT;
    if (!decoder->audio.has_ended()) decoder->audio.end();
    *samples = decoder->audio.next();
    return QUORV_OK;
}

QuorvResult quorv_decoder_reset(QuorvDecoder *decoder, int64_t time_us) {
    if (decoder == nullptr) return QUORV_ERR_ARGUMENT;
    decoder->audio.restart_at(time_us);
    return QUORV_OK;
}

const QuorvSkippedFrames *quorv_decoder_skipped(const QuorvDecoder *decoder) {
    return decoder != nullptr ? decoder->audio.skipped() : nullptr;
}

void quorv_decoder_close(QuorvDecoder *decoder) {
    const Owned<QuorvDecoder> owner(decoder);
}
