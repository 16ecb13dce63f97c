// Seeking in a track; see AsfPlayback.h.

#include "asfparser/AsfPlayback.h"

namespace quorv {

namespace {

uint32_t find_key_frame(AsfContext *context, uint32_t time, AsfSeekDirection direction,
                        AsfObjectStart *start) {
    CASFDataObjectParser &parser = *context->data_parser;
    const int32_t base_before = parser.TimeBase();
    const AsfPosition position = parser.Position(context->header.video.stream_number);
    const uint32_t code = context->index_parser->FindKeyFrame(time, direction, start);
    if (code != SPLITER_OK) parser.MoveTimeBase(base_before);
    // The search has used the stream's entries.
    parser.SetPosition(context->header.video.stream_number, position);
    return code;
}

// The first key frame behind the read position.
uint32_t find_next_key_frame(AsfContext *context, AsfObjectStart *start) {
    const uint32_t position = context->video.position;
    const uint32_t code = find_key_frame(context, position + 1, AsfSeekDirection::Forward, start);
    if (code != SPLITER_OK) return code;
    return asf_reported_time(start->pts) > position ? SPLITER_OK : SPLITER_ERR_END_OF_STREAM;
}

uint32_t seek_video(AsfContext *context, uint32_t *time, bool forward) {
    AsfObjectStart start = {};
    if (*time == SPLITER_TIME_NEXT_KEYFRAME) {
        if (context->video.position >= context->header.duration) return SPLITER_ERR_END_OF_STREAM;
        const uint32_t code = find_next_key_frame(context, &start);
        if (code != SPLITER_OK) return code;
    } else {
        const uint32_t limit = context->header.duration;
        uint32_t code = SPLITER_ERR_END_OF_STREAM;
        if (*time < limit) {
            code = find_key_frame(context, *time,
                                  forward ? AsfSeekDirection::Forward : AsfSeekDirection::Backward, &start);
        }
        // After a seek that found nothing, the track of a file stands at its end.
        if (code != SPLITER_OK && (*time >= limit || context->base->IsLocal()))
            context->video.position = limit;
        if (code != SPLITER_OK) return code;
    }
    context->data_parser->SetPosition(context->header.video.stream_number, start.position);
    *time = asf_reported_time(start.pts);
    context->video = {*time, false};
    return SPLITER_OK;
}

uint32_t seek_audio(AsfContext *context, uint32_t *time) {
    AsfPlayback &audio = context->audio;
    if (*time == SPLITER_TIME_NEXT_KEYFRAME) {
        *time = audio.position;
        audio.position += context->audio_interval;
        return SPLITER_OK;
    }
    if (*time >= context->header.duration) return SPLITER_ERR_END_OF_STREAM;
    const uint32_t code = context->data_parser->SeekAudio(time);
    if (code == SPLITER_OK) audio = {*time, false};
    return code;
}

uint32_t dispatch(AsfContext *context, uint32_t track, uint32_t *time, bool forward) {
    const bool video = context->is_video(track);
    if (*time == 0) {
        (video ? context->video : context->audio) = {};
        context->data_parser->SetPosition(track - 1, {0, 0});
        return SPLITER_OK;
    }
    const uint32_t code = asf_prime(context);
    if (code != SPLITER_OK) return code;
    return video ? seek_video(context, time, forward) : seek_audio(context, time);
}

}  // namespace

uint32_t asf_seek(AsfContext *context, uint32_t track, uint32_t *time, bool forward) {
    if (context->header.duration == 0) return SPLITER_ERR_UNSUPPORTED;
    if (context->waiting && *time == SPLITER_TIME_NEXT_KEYFRAME) return SPLITER_ERR_UNSUPPORTED;
    return dispatch(context, track, time, forward);
}

uint32_t asf_next_key_frame_time(AsfContext *context, uint32_t *time) {
    AsfObjectStart start = {};
    uint32_t code = asf_prime(context);
    if (code == SPLITER_OK) code = find_next_key_frame(context, &start);
    if (code == SPLITER_OK) *time = asf_reported_time(start.pts);
    return code;
}

}  // namespace quorv
