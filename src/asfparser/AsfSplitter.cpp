// The exported functions of the ASF splitter: argument checks, opening and closing, and the records that
// callers see.

#include <quorv/asf_splitter.h>
#include <string.h>

#include "asfparser/AsfHeader.h"
#include "asfparser/AsfPlayback.h"

namespace quorv {

namespace {

AsfContext *context_of(SplitterHandle handle) {
    return static_cast<AsfContext *>(handle);
}

// Takes the context that the handle holds, or makes one.
uint32_t acquire_context(const SplitterStreamSource *source, SplitterHandle handle, AsfContext **context) {
    *context = handle != nullptr ? context_of(handle) : asf_new_context(*source);
    return *context != nullptr ? SPLITER_OK : SPLITER_ERR_NO_MEMORY;
}

// Stores a new context, or ends it when the call that made it has failed; one that came in stays as it was.
uint32_t release_context(AsfContext *context, SplitterHandle *handle, uint32_t code) {
    if (*handle != nullptr) return code;
    if (code == SPLITER_OK) {
        *handle = context;
    } else {
        asf_free_context(context);
    }
    return code;
}

uint32_t read_header(AsfContext *context) {
    if (context->header_parsed) return SPLITER_OK;
    const uint32_t code = asf_read_header(*context->base, &context->reader, &context->header);
    context->header_parsed = code == SPLITER_OK;
    return code;
}

uint32_t load_index(AsfContext *context) {
    const AsfHeader &header = context->header;
    return context->index_parser->LoadIndex(&context->reader, header.data_end, header.preroll);
}

AsfDataLayout data_layout(const AsfHeader &header) {
    AsfDataLayout layout;
    layout.first_packet = header.first_packet;
    layout.data_end = header.data_end;
    layout.is_cut = header.is_cut;
    layout.total_packets = header.total_packets;
    layout.packet_size = header.packet_size;
    layout.audio_stream = header.audio.present ? header.audio.stream_number : kAsfNoStream;
    layout.video_stream = header.video.present ? header.video.stream_number : kAsfNoStream;
    layout.time_base = header.preroll;
    return layout;
}

// That there is no index, or that it cannot be read, is no failure.
uint32_t find_index(AsfContext *context) {
    if (!context->opened) {
        const uint64_t stream_size = context->base->GetStreamSize(&context->reader);
        context->data_parser->SetLayout(data_layout(context->header), stream_size);
    }
    return load_index(context) == SPLITER_ERR_NO_MEMORY ? SPLITER_ERR_NO_MEMORY : SPLITER_OK;
}

uint32_t open_file(AsfContext *context) {
    uint32_t code = context->base->CreateReader(&context->reader, StreamAccess::Read);
    if (code != SPLITER_OK) return code;
    code = read_header(context);
    if (code == SPLITER_OK) code = context->data_parser->InitParser(data_layout(context->header));
    if (code != SPLITER_OK) {
        context->base->DestroyReader(&context->reader);
        return code;
    }
    context->opened = true;
    if (!context->base->IsLocal()) return SPLITER_OK;
    // What cannot be found out here is missing later, but the file can be played.
    asf_prime(context);
    if (context->data_parser->PacketCount() > 0 && context->header.duration != 0) load_index(context);
    return SPLITER_OK;
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

template <typename Info>
uint32_t copy_info(const Info &info, void *to, uint32_t size) {
    if (size < sizeof(info)) return SPLITER_ERR_BUFFER_TOO_SMALL;
    memcpy(to, &info, sizeof(info));
    return SPLITER_OK;
}

// Checks the size of a caller's record and takes it over.
template <typename Record>
Record *take_record(void *value, uint32_t *size) {
    if (*size < sizeof(Record)) return nullptr;
    *size = sizeof(Record);
    return static_cast<Record *>(value);
}

uint32_t key_frame_count(const AsfContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackValue>(value, size);
    if (record == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    record->value = context->is_video(record->track) ? context->index_parser->KeyFrameCount() : 0;
    return SPLITER_OK;
}

uint32_t next_key_frame_time(AsfContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackValue>(value, size);
    if (record == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    record->value = 0;
    if (!context->is_video(record->track)) return SPLITER_ERR_UNSUPPORTED;
    return asf_next_key_frame_time(context, &record->value);
}

void set_data(SplitterTrackData *record, const uint8_t *data, uint32_t length) {
    record->data = length != 0 ? data : nullptr;
    record->length = length;
}

uint32_t codec_data(const AsfContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackData>(value, size);
    if (record == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    const AsfHeader &header = context->header;
    set_data(record, nullptr, 0);
    if (context->is_video(record->track))
        set_data(record, header.video.codec_data.bytes, header.video.codec_data.length);
    if (context->is_audio(record->track))
        set_data(record, header.audio.codec_data.bytes, header.audio.codec_data.length);
    return SPLITER_OK;
}

uint32_t video_type_data(const AsfContext *context, void *value, uint32_t *size) {
    // Here the track is checked before the rest of the record.
    uint32_t track = 0;
    if (*size < sizeof(track)) return SPLITER_ERR_BUFFER_TOO_SMALL;
    memcpy(&track, value, sizeof(track));
    if (!context->is_video(track)) return SPLITER_ERR_UNSUPPORTED;
    auto *record = take_record<SplitterTrackData>(value, size);
    if (record == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    set_data(record, context->header.video.type_data, context->header.video.type_data_length);
    return SPLITER_OK;
}

}  // namespace

}  // namespace quorv

using namespace quorv;

uint32_t ASF_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                  SplitterHandle *handle) {
    if (param == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *param = {};
    if (!is_complete(source) || handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = nullptr;
    uint32_t code = acquire_context(source, *handle, &context);
    if (code != SPLITER_OK) return code;
    // An open file has its reader; else one is open for the time of this call.
    if (!context->opened) code = context->base->CreateReader(&context->reader, StreamAccess::Read);
    if (code != SPLITER_OK) return release_context(context, handle, code);
    code = read_header(context);
    if (code == SPLITER_OK) code = find_index(context);
    if (code == SPLITER_OK) param->index_flag = context->index_parser->IsLoaded() ? 1 : 0;
    if (!context->opened) context->base->DestroyReader(&context->reader);
    return release_context(context, handle, code);
}

uint32_t ASF_SPLITER_Open(const SplitterStreamSource *source, uint32_t /*mode*/, SplitterHandle *handle) {
    if (!is_complete(source) || handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = nullptr;
    uint32_t code = acquire_context(source, *handle, &context);
    if (code != SPLITER_OK) return code;
    if (!context->opened) code = open_file(context);
    if (code == SPLITER_OK) asf_rewind(context);
    return release_context(context, handle, code);
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
    if (context.is_video(track)) return copy_info(video_info(context), info, size);
    if (context.is_audio(track)) return copy_info(audio_info(context), info, size);
    return SPLITER_ERR_INVALID_PARAM;
}

uint32_t ASF_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size) {
    if (handle == nullptr || value == nullptr || size == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = context_of(handle);
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
            return SPLITER_ERR_UNSUPPORTED;
    }
}

uint32_t ASF_SPLITER_SetConfig(SplitterHandle handle, uint32_t id, const void *value, uint32_t size) {
    if (handle == nullptr || value == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = context_of(handle);
    uint32_t number = 0;
    if (size >= sizeof(number)) memcpy(&number, value, sizeof(number));
    switch (id) {
        case SPLITER_CFG_CODEC_DATA_FIRST:
            if (size < sizeof(number)) return SPLITER_ERR_BUFFER_TOO_SMALL;
            context->header.video.codec_data.first = number != 0;
            return SPLITER_OK;
        case SPLITER_CFG_SEEK_THRESHOLD:
            return size < sizeof(number) ? SPLITER_ERR_BUFFER_TOO_SMALL : SPLITER_OK;
        case SPLITER_CFG_LOAD_INDEX:
            if (size < sizeof(number)) return SPLITER_ERR_BUFFER_TOO_SMALL;
            if (!context->opened) return SPLITER_ERR_NO_PARSER;
            return number != 0 ? load_index(context) : uint32_t{SPLITER_OK};
        default:
            return SPLITER_ERR_UNSUPPORTED;
    }
}

uint32_t ASF_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                               SplitterFrameInfo *frame) {
    if (frame == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *frame = {};
    if (handle == nullptr || buffer == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = context_of(handle);
    if (context->waiting) return SPLITER_ERR_DATA_PENDING;
    if (!context->is_video(track) && !context->is_audio(track)) return SPLITER_ERR_INVALID_PARAM;
    const uint32_t code = asf_prime(context);
    if (code != SPLITER_OK) return code;
    return asf_read_frame(context, track, static_cast<uint8_t *>(buffer), size, frame);
}

uint32_t ASF_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode) {
    if (handle == nullptr || time == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AsfContext *context = context_of(handle);
    uint32_t code = SPLITER_ERR_INVALID_PARAM;
    if (context->is_video(track) || context->is_audio(track))
        code = asf_seek(context, track, time, mode == SPLITER_SEEK_FORWARD);
    // Every other result ends the waiting, too, those for refused arguments among them.
    context->waiting = !context->base->IsLocal() && code == SPLITER_ERR_DATA_PENDING;
    return code;
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
    asf_free_context(context_of(handle));
    return SPLITER_OK;
}
