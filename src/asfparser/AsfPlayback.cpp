// Frames with what goes in front of the first one; see AsfPlayback.h.

#include <string.h>

#include <algorithm>

#include "asfparser/AsfPlayback.h"

namespace quorv {

namespace {

uint32_t interval_in_header(const AsfHeader &header, uint32_t stream_number) {
    for (const AsfStreamSlot &slot : header.slots) {
        if (slot.stream_number == stream_number) return slot.frame_interval;
    }
    return 0;
}

// Looks at the first packet in any case: the first times must not count from a base that soon drops.
uint32_t find_interval(AsfContext *context, uint32_t stream_number, uint32_t *interval) {
    *interval = interval_in_header(context->header, stream_number);
    return *interval != 0 ? context->data_parser->ParseOnePacket(stream_number, 0)
                          : context->data_parser->GetObjectInterval(stream_number, interval);
}

// Another try may find what could not be looked at now.
bool may_pass(uint32_t code) {
    return code == SPLITER_ERR_DATA_PENDING || code == SPLITER_ERR_NO_MEMORY;
}

// A buffer that has no room for the codec data has none for the frame either; then this only finds out how
// large the frame is.
uint32_t load(AsfContext *context, uint32_t stream, uint32_t prefix, uint8_t *buffer, uint32_t size,
              AsfObject *object) {
    CASFDataObjectParser &parser = *context->data_parser;
    if (prefix <= size) return parser.LoadObject(stream, buffer + prefix, size - prefix, object);
    const AsfPosition position = parser.Position(stream);
    const uint32_t code = parser.LoadObject(stream, buffer, 0, object);
    if (code != SPLITER_OK) return code;
    parser.SetPosition(stream, position);
    return SPLITER_ERR_BUFFER_TOO_SMALL;
}

}  // namespace

uint32_t asf_prime(AsfContext *context) {
    if (context->primed) return SPLITER_OK;
    if (!context->opened) return SPLITER_ERR_NO_PARSER;
    const AsfHeader &header = context->header;
    const int32_t base_before = context->data_parser->TimeBase();
    uint32_t video = 0, audio = 0, code = SPLITER_OK;
    if (header.video.present) code = find_interval(context, header.video.stream_number, &video);
    if (!may_pass(code) && header.audio.present)
        code = find_interval(context, header.audio.stream_number, &audio);
    if (may_pass(code)) {
        context->data_parser->MoveTimeBase(base_before);
        return code;
    }
    context->primed = true;
    if (!context->base->IsLocal()) return SPLITER_OK;
    context->video_interval = video;
    context->audio_interval = audio;
    return SPLITER_OK;
}

uint32_t asf_read_frame(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size,
                        SplitterFrameInfo *frame) {
    AsfHeader &header = context->header;
    const bool video = context->is_video(track);
    AsfPlayback &playback = video ? context->video : context->audio;
    AsfCodecData &codec_data = video ? header.video.codec_data : header.audio.codec_data;
    if (playback.ended || (header.duration != 0 && playback.position >= header.duration))
        return SPLITER_ERR_END_OF_STREAM;

    const uint32_t prefix = codec_data.first ? codec_data.length : 0;
    if (prefix != 0) memcpy(buffer, codec_data.bytes, std::min(prefix, size));
    AsfObject object;
    const uint32_t code = load(context, track - 1, prefix, buffer, size, &object);
    if (code == SPLITER_ERR_BUFFER_TOO_SMALL) frame->size = prefix + object.size;
    playback.ended = code == SPLITER_ERR_END_OF_STREAM;
    if (code != SPLITER_OK) return code;

    // Codec data that was sent with an audio frame is not reported any more; that of video is.
    if (video) codec_data.first = false;
    if (!video && prefix != 0) codec_data.length = 0;
    frame->size = prefix + object.size;
    frame->time_stamp = asf_reported_time(object.pts);
    frame->duration = static_cast<uint32_t>(object.duration);
    frame->key_frame = video && !object.key_frame ? 0 : 1;
    playback.position = asf_reported_time(object.pts) + frame->duration;
    return SPLITER_OK;
}

void asf_rewind(AsfContext *context) {
    context->audio = context->video = {};
    context->waiting = false;
    context->data_parser->Reset();
}

}  // namespace quorv
