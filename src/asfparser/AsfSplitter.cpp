// The exported functions of the ASF splitter: argument checks, handles, and the records that callers see.

#include <quorv/asf_splitter.h>
#include <string.h>

#include "asfparser/AsfOpen.h"
#include "asfparser/AsfPlayback.h"
#include "asfparser/AsfSeek.h"
#include "splitter/CallerRecords.h"

namespace quorv {

namespace {

AsfContext *context_of(SplitterHandle handle) {
    return static_cast<AsfContext *>(handle);
}

// Makes a call on the context that the handle holds, or on a new one, which it then gets. A new context ends
// when the call fails; one that came in stays as it was.
template <typename Call>
Code with_context(const SplitterStreamSource *source, SplitterHandle *handle, Call call) {
    if (*handle != nullptr) return call(context_of(*handle));
    Owned<AsfContext> context = asf_new_context(*source);
    if (context == nullptr) return Code::NoMemory;
    const Code code = call(context.get());
    if (code == Code::Ok) *handle = context.release();
    return code;
}

uint32_t whole_frames_per_second(uint32_t interval) {
    if (interval == 0) return 0;
    const uint32_t rest = 1000 % interval;
    return 1000 / interval + (uint64_t{rest} * 2 > interval ? 1 : 0);
}

SplitterVideoInfo video_info(const AsfContext &context) {
    const AsfHeader &header = context.header;
    SplitterVideoInfo info = {};
    info.codec = header.video.codec;
    info.duration = header.duration;
    info.width = header.video.width;
    info.height = header.video.height;
    info.frame_rate = whole_frames_per_second(context.video_interval);
    info.max_bitrate = header.max_bitrate;
    info.max_frame_size = picture_bytes(info.width, info.height);
    return info;
}

SplitterAudioInfo audio_info(const AsfContext &context) {
    const AsfAudioStream &audio = context.header.audio;
    SplitterAudioInfo info = {};
    info.codec = audio.codec;
    info.duration = context.header.duration;
    info.channels = audio.channels;
    info.bits_per_sample = audio.bits_per_sample;
    info.block_align = audio.block_align;
    info.sample_rate = audio.sample_rate;
    info.bit_rate = audio.bit_rate;
    info.max_frame_size = context.header.packet_size;
    return info;
}

Code key_frame_count(const AsfContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackValue>(value, size);
    if (record == nullptr) return Code::BufferTooSmall;
    record->value = context->is_video(record->track) ? context->index_parser->KeyFrameCount() : 0;
    return Code::Ok;
}

Code next_key_frame_time(AsfContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackValue>(value, size);
    if (record == nullptr) return Code::BufferTooSmall;
    record->value = 0;
    if (!context->is_video(record->track)) return Code::Unsupported;
    return asf_next_key_frame_time(context, &record->value);
}

Code codec_data(const AsfContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackData>(value, size);
    if (record == nullptr) return Code::BufferTooSmall;
    const AsfHeader &header = context->header;
    set_data(record, nullptr, 0);
    if (context->is_video(record->track))
        set_data(record, header.video.codec_data.bytes, header.video.codec_data.length);
    if (context->is_audio(record->track))
        set_data(record, header.audio.codec_data.bytes, header.audio.codec_data.length);
    return Code::Ok;
}

Code video_type_data(const AsfContext *context, void *value, uint32_t *size) {
    // Here the track is checked before the rest of the record.
    uint32_t track = 0;
    if (*size < sizeof(track)) return Code::BufferTooSmall;
    memcpy(&track, value, sizeof(track));
    if (!context->is_video(track)) return Code::Unsupported;
    auto *record = take_record<SplitterTrackData>(value, size);
    if (record == nullptr) return Code::BufferTooSmall;
    set_data(record, context->header.video.type_data.get(), context->header.video.type_data_length);
    return Code::Ok;
}

Code get_config(AsfContext *context, uint32_t id, void *value, uint32_t *size) {
    switch (id) {
        case SPLITER_CFG_KEYFRAME_COUNT:
            return key_frame_count(context, value, size);
        case SPLITER_CFG_NEXT_KEYFRAME_TIME:
            return next_key_frame_time(context, value, size);
        case SPLITER_CFG_CODEC_DATA:
            return codec_data(context, value, size);
        case SPLITER_CFG_VIDEO_TYPE_DATA:
            return video_type_data(context, value, size);
        default:
            return Code::Unsupported;
    }
}

// Every setting is a number.
Code set_config(AsfContext *context, uint32_t id, const void *value, uint32_t size) {
    const bool is_setting = id == SPLITER_CFG_CODEC_DATA_FIRST || id == SPLITER_CFG_SEEK_THRESHOLD ||
                            id == SPLITER_CFG_LOAD_INDEX;
    if (!is_setting) return Code::Unsupported;
    uint32_t number = 0;
    if (size < sizeof(number)) return Code::BufferTooSmall;
    memcpy(&number, value, sizeof(number));
    if (id == SPLITER_CFG_CODEC_DATA_FIRST) context->header.video.codec_data.first = number != 0;
    if (id != SPLITER_CFG_LOAD_INDEX) return Code::Ok;
    if (!context->opened) return Code::NoParser;
    return number != 0 ? asf_load_index(context) : Code::Ok;
}

Code read_frame(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size,
                SplitterFrameInfo *frame) {
    if (context->waiting) return Code::DataPending;
    if (!context->is_video(track) && !context->is_audio(track)) return Code::InvalidParam;
    const Code code = asf_prime(context);
    if (code != Code::Ok) return code;
    return asf_read_frame(context, track, buffer, size, frame);
}

Code seek(AsfContext *context, uint32_t track, uint32_t *time, uint32_t mode) {
    Code code = Code::InvalidParam;
    if (context->is_video(track) || context->is_audio(track))
        code = asf_seek(context, track, time, seek_direction(mode));
    // Every other result ends the waiting, too, those for refused arguments among them.
    context->waiting = !context->base->IsLocal() && code == Code::DataPending;
    return code;
}

}  // namespace

}  // namespace quorv

using namespace quorv;

uint32_t ASF_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                  SplitterHandle *handle) {
    if (param == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *param = {};
    if (!is_complete(source) || handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    const auto call = [param](AsfContext *context) { return asf_find_index(context, param); };
    return to_public(with_context(source, handle, call));
}

uint32_t ASF_SPLITER_Open(const SplitterStreamSource *source, uint32_t /*mode*/, SplitterHandle *handle) {
    if (!is_complete(source) || handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(with_context(source, handle, asf_open));
}

uint32_t ASF_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list) {
    if (list == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *list = {};
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = context_of(handle);
    const AsfHeader &header = context->header;
    if (header.video.present)
        context->track_list[list->count++] = {header.video.stream_number + 1, SPLITER_TRACK_VIDEO};
    if (header.audio.present)
        context->track_list[list->count++] = {header.audio.stream_number + 1, SPLITER_TRACK_AUDIO};
    if (list->count != 0) list->entries = context->track_list;
    return SPLITER_OK;
}

uint32_t ASF_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t size) {
    if (handle == nullptr || info == nullptr) return SPLITER_ERR_INVALID_PARAM;
    const AsfContext &context = *context_of(handle);
    if (context.is_video(track)) return to_public(fill_record(video_info(context), info, size));
    if (context.is_audio(track)) return to_public(fill_record(audio_info(context), info, size));
    return SPLITER_ERR_INVALID_PARAM;
}

uint32_t ASF_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size) {
    if (handle == nullptr || value == nullptr || size == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(get_config(context_of(handle), id, value, size));
}

uint32_t ASF_SPLITER_SetConfig(SplitterHandle handle, uint32_t id, const void *value, uint32_t size) {
    if (handle == nullptr || value == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(set_config(context_of(handle), id, value, size));
}

uint32_t ASF_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                               SplitterFrameInfo *frame) {
    if (frame == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *frame = {};
    if (handle == nullptr || buffer == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(read_frame(context_of(handle), track, static_cast<uint8_t *>(buffer), size, frame));
}

uint32_t ASF_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode) {
    if (handle == nullptr || time == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(seek(context_of(handle), track, time, mode));
}

uint32_t ASF_SPLITER_Reset(SplitterHandle handle) {
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    asf_rewind(context_of(handle));
    return SPLITER_OK;
}

uint32_t ASF_SPLITER_IsSeekable(SplitterHandle handle, uint32_t /*track*/) {
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    const AsfContext *context = context_of(handle);
    return context->header.video.present && context->index_parser->KeyFrameCount() == 0 ? 0 : 1;
}

uint32_t ASF_SPLITER_Close(SplitterHandle handle) {
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    Owned<AsfContext>(context_of(handle)).reset();
    return SPLITER_OK;
}
