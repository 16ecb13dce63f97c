// Seeking in a track; see the header.

#include "asfparser/AsfSeek.h"

#include "asfparser/AsfPlayback.h"

namespace quorv {

namespace {

Code find_key_frame(AsfContext *context, AsfSeekTarget target, AsfObjectStart *start) {
    CASFDataObjectParser &parser = *context->data_parser;
    const uint32_t stream = context->header.video.stream_number;
    AsfTimeBaseScope time_base(&parser.Packets());
    const AsfPosition position = parser.Position(stream);
    const Code code = context->index_parser->FindKeyFrame(target, start);
    if (code == Code::Ok) time_base.keep();
    // The search has used the stream's entries.
    parser.SetPosition(stream, position);
    return code;
}

// The first key frame behind the read position.
Code find_next_key_frame(AsfContext *context, AsfObjectStart *start) {
    const uint32_t position = context->video.position;
    const Code code = find_key_frame(context, {position + 1, SeekDirection::Forward}, start);
    if (code != Code::Ok) return code;
    return asf_reported_time(start->pts) > position ? Code::Ok : Code::EndOfStream;
}

// After a seek that found nothing, the track of a file stands at its end.
Code find_seek_target(AsfContext *context, AsfSeekTarget target, AsfObjectStart *start) {
    const uint32_t limit = context->header.duration;
    if (target.time == SPLITER_TIME_NEXT_KEYFRAME) {
        return context->video.position < limit ? find_next_key_frame(context, start) : Code::EndOfStream;
    }
    const Code code = target.time < limit ? find_key_frame(context, target, start) : Code::EndOfStream;
    const bool to_end = target.time >= limit || context->base->IsLocal();
    if (code != Code::Ok && to_end) context->video.position = limit;
    return code;
}

Code seek_video(AsfContext *context, uint32_t *time, SeekDirection direction) {
    AsfObjectStart start = {};
    const Code code = find_seek_target(context, {*time, direction}, &start);
    if (code != Code::Ok) return code;
    context->data_parser->SetPosition(context->header.video.stream_number, start.position);
    *time = asf_reported_time(start.pts);
    context->video = {*time, false};
    return Code::Ok;
}

Code seek_audio(AsfContext *context, uint32_t *time) {
    AsfProgress &audio = context->audio;
    if (*time == SPLITER_TIME_NEXT_KEYFRAME) {
        *time = audio.position;
        audio.position += context->audio_interval;
        return Code::Ok;
    }
    if (*time >= context->header.duration) return Code::EndOfStream;
    const Code code = context->data_parser->SeekAudio(time);
    if (code == Code::Ok) audio = {*time, false};
    return code;
}

}  // namespace

Code asf_seek(AsfContext *context, uint32_t track, uint32_t *time, SeekDirection direction) {
    if (context->header.duration == 0) return Code::Unsupported;
    if (context->waiting && *time == SPLITER_TIME_NEXT_KEYFRAME) return Code::Unsupported;
    const bool video = context->is_video(track);
    if (*time == 0) {
        (video ? context->video : context->audio) = {};
        context->data_parser->SetPosition(track - 1, {0, 0});
        return Code::Ok;
    }
    const Code code = asf_prime(context);
    if (code != Code::Ok) return code;
    context->base->Window().start_anew();
    return video ? seek_video(context, time, direction) : seek_audio(context, time);
}

Code asf_next_key_frame_time(AsfContext *context, uint32_t *time) {
    Code code = asf_prime(context);
    if (code != Code::Ok) return code;
    AsfObjectStart start = {};
    code = find_next_key_frame(context, &start);
    if (code == Code::Ok) *time = asf_reported_time(start.pts);
    return code;
}

}  // namespace quorv
