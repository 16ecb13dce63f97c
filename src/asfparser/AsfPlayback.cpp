// Frames with what goes in front of the first one; see the header.

#include "asfparser/AsfPlayback.h"

#include <string.h>

#include <algorithm>

namespace quorv {

namespace {

// Looks at the first packet in any case: the first times must not count from a base that soon drops.
Code find_interval(AsfContext *context, uint32_t stream_number, uint32_t *interval) {
    *interval = context->header.frame_interval(stream_number);
    return *interval != 0 ? context->data_parser->ParseOnePacket(stream_number, 0)
                          : context->data_parser->GetObjectInterval(stream_number, interval);
}

// Another try may find what could not be looked at now.
bool may_pass(Code code) {
    return code == Code::DataPending || code == Code::NoMemory;
}

// A buffer that has no room for the codec data has none for the frame either; then this only finds out how
// large the frame is.
Code load(AsfContext *context, uint32_t stream, uint32_t prefix, uint8_t *buffer, uint32_t size,
          AsfObject *object) {
    CASFDataObjectParser &parser = *context->data_parser;
    if (prefix <= size) return parser.LoadObject(stream, buffer + prefix, size - prefix, object);
    const AsfPosition position = parser.Position(stream);
    const Code code = parser.LoadObject(stream, buffer, 0, object);
    if (code != Code::Ok) return code;
    parser.SetPosition(stream, position);
    return Code::BufferTooSmall;
}

}  // namespace

Code asf_prime(AsfContext *context) {
    if (context->primed) return Code::Ok;
    if (!context->opened) return Code::NoParser;
    const AsfHeader &header = context->header;
    AsfTimeBaseScope time_base(&context->data_parser->Packets());
    uint32_t video = 0, audio = 0;
    if (header.video.present) {
        const Code code = find_interval(context, header.video.stream_number, &video);
        if (may_pass(code)) return code;
    }
    if (header.audio.present) {
        const Code code = find_interval(context, header.audio.stream_number, &audio);
        if (may_pass(code)) return code;
    }
    time_base.keep();
    context->primed = true;
    if (!context->base->IsLocal()) return Code::Ok;
    context->video_interval = video;
    context->audio_interval = audio;
    return Code::Ok;
}

Code asf_read_object(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size, AsfObject *object) {
    AsfHeader &header = context->header;
    const bool video = context->is_video(track);
    AsfProgress &progress = video ? context->video : context->audio;
    AsfCodecData &codec_data = video ? header.video.codec_data : header.audio.codec_data;
    *object = {};
    if (progress.ended || (header.duration != 0 && progress.position >= header.duration))
        return Code::EndOfStream;

    const uint32_t prefix = codec_data.first ? codec_data.length : 0;
    if (prefix != 0) memcpy(buffer, codec_data.bytes, std::min(prefix, size));
    const Code code = load(context, track - 1, prefix, buffer, size, object);
    object->size += prefix;
    progress.ended = code == Code::EndOfStream;
    if (code != Code::Ok) return code;

    // Codec data that was sent with an audio frame is not reported any more; that of video is.
    if (video) codec_data.first = false;
    if (!video && prefix != 0) codec_data.length = 0;
    progress.position = asf_reported_time(object->pts) + static_cast<uint32_t>(object->duration);
    return Code::Ok;
}

Code asf_read_frame(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size,
                    SplitterFrameInfo *frame) {
    AsfObject object;
    const Code code = asf_read_object(context, track, buffer, size, &object);
    if (code == Code::BufferTooSmall) frame->size = object.size;
    if (code != Code::Ok) return code;
    frame->size = object.size;
    frame->time_stamp = asf_reported_time(object.pts);
    frame->duration = static_cast<uint32_t>(object.duration);
    frame->key_frame = context->is_video(track) && !object.key_frame ? 0 : 1;
    return Code::Ok;
}

void asf_rewind(AsfContext *context) {
    context->audio = context->video = {};
    context->waiting = false;
    context->data_parser->Reset();
}

}  // namespace quorv
