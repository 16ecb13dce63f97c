// The exported functions of the AVI splitter: argument checks, and the records that callers see.

#include <quorv/avi_splitter.h>
#include <quorv/platform/memory.h>
#include <string.h>

#include <algorithm>

#include "aviparser/AviFrame.h"
#include "aviparser/AviHeader.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviMath.h"
#include "aviparser/AviSeek.h"
#include "splitter/CallerRecords.h"

namespace quorv {

namespace {

AviContext *context_of(SplitterHandle handle) {
    return static_cast<AviContext *>(handle);
}

// Null for track 0, or one above the count.
AviTrack *find_track(const AviContext *context, uint32_t track) {
    if (context == nullptr || track == 0 || track > context->track_count) return nullptr;
    return context->tracks[track - 1];
}

// Takes the context that the handle holds, or makes one and opens its stream.
uint32_t acquire_context(const SplitterStreamSource *source, SplitterHandle handle, AviContext **context) {
    *context = context_of(handle);
    if (*context != nullptr) return (*context)->closing ? SPLITER_ERR_INVALID_PARAM : SPLITER_OK;
    *context = avi_new_context(*source);
    if (*context == nullptr) return SPLITER_ERR_NO_MEMORY;
    const uint32_t code = (*context)->source.open(StreamAccess::Read);
    if (code != SPLITER_OK) avi_free_context(*context);
    return code;
}

// Stores a new context, or ends it when the call that made it has failed; one that came in stays as it was.
uint32_t release_context(AviContext *context, SplitterHandle *handle, uint32_t code) {
    if (*handle != nullptr) return code;
    if (code == SPLITER_OK) {
        *handle = context;
        return code;
    }
    context->source.close();
    avi_free_context(context);
    return code;
}

uint32_t rewind_all(AviContext *context) {
    for (uint32_t i = 0; i < context->track_count; ++i)
        avi_rewind_track(context, context->tracks[i]);
    return SPLITER_OK;
}

uint32_t read_whole_index(AviContext *context) {
    uint32_t code = SPLITER_OK;
    while (avi_load_more_index(context, &code)) {
    }
    return code;
}

// Audio that ends before the picture is shown as lasting as long.
void raise_duration(const AviContext &context, SplitterAudioInfo *audio) {
    const AviTrack *longer = context.tracks[context.track_count - 1];
    for (uint32_t i = context.track_count; i-- > 0;) {
        if (context.tracks[i]->type == SPLITER_TRACK_VIDEO) longer = context.tracks[i];
    }
    audio->duration = std::max(audio->duration, saturate_to_u32(longer->duration));
}

uint32_t duration_ms(const AviTrack &track, int32_t units) {
    // Formed as a 32-bit integer, whatever the units.
    const auto thousandfold = static_cast<int32_t>(static_cast<uint32_t>(units) * 1000u);
    if (track.time_base.den == 0) return 0;
    return clamp_to_u32(static_cast<double>(thousandfold) * track.time_base.num / track.time_base.den);
}

uint32_t next_key_frame_time(AviContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackValue>(value, size);
    if (record == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    AviTrack *track = find_track(context, record->track);
    if (track == nullptr) return SPLITER_ERR_INVALID_PARAM;
    record->value = 0;
    if (track->type != SPLITER_TRACK_VIDEO) return SPLITER_ERR_UNSUPPORTED;
    uint32_t code = SPLITER_OK;
    const int32_t place = avi_find_key_frame(context, track, track->state->frame_offset, false, &code);
    if (place < 0) return code != SPLITER_OK ? code : uint32_t{SPLITER_ERR_UNSUPPORTED};
    record->value = clamp_to_u32(avi_units_to_ms(*track, track->index.entries[place].timestamp));
    return SPLITER_OK;
}

uint32_t codec_data(const AviContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackData>(value, size);
    if (record == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    const AviTrack *track = find_track(context, record->track);
    if (track == nullptr) return SPLITER_ERR_INVALID_PARAM;
    set_data(record, track->codec_data, track->codec_data_length);
    return SPLITER_OK;
}

}  // namespace

}  // namespace quorv

using namespace quorv;

uint32_t AVI_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                  SplitterHandle *handle) {
    if (param == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *param = {};
    if (!is_complete(source) || handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AviContext *context = nullptr;
    uint32_t code = acquire_context(source, *handle, &context);
    if (code != SPLITER_OK) return code;
    if (!context->header_parsed) code = avi_read_header(context);
    if (code == SPLITER_OK) code = read_whole_index(context);
    if (code == SPLITER_OK) {
        const bool whole =
            context->idx1_position != 0 && context->index_complete && !context->index_read_failed;
        param->index_flag = whole ? 1 : 0;
    }
    return release_context(context, handle, code);
}

uint32_t AVI_SPLITER_Open(const SplitterStreamSource *source, uint32_t mode, SplitterHandle *handle) {
    if (!is_complete(source) || handle == nullptr || (mode != 1 && mode != 2))
        return SPLITER_ERR_INVALID_PARAM;
    AviContext *context = nullptr;
    uint32_t code = acquire_context(source, *handle, &context);
    if (code != SPLITER_OK) return code;
    if (!context->header_parsed) code = avi_read_header(context);
    if (code == SPLITER_OK) rewind_all(context);
    return release_context(context, handle, code);
}

uint32_t AVI_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list) {
    if (list == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *list = {};
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AviContext *context = context_of(handle);
    if (context->track_count == 0) return SPLITER_ERR_UNSUPPORTED;
    if (context->track_list == nullptr) {
        context->track_list =
            static_cast<SplitterTrackEntry *>(MMemAlloc(nullptr, kAviMaxTracks * sizeof(SplitterTrackEntry)));
    }
    if (context->track_list == nullptr) return SPLITER_ERR_NO_MEMORY;
    for (uint32_t i = 0; i < context->track_count; ++i)
        context->track_list[i] = {i + 1, context->tracks[i]->type};
    *list = {context->track_count, context->track_list};
    return SPLITER_OK;
}

uint32_t AVI_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t /*size*/) {
    AviContext *context = context_of(handle);
    AviTrack *record = find_track(context, track);
    if (record == nullptr || info == nullptr) return SPLITER_ERR_INVALID_PARAM;
    if (record->type == SPLITER_TRACK_VIDEO) {
        memcpy(info, &record->video, sizeof(record->video));
    } else if (record->type == SPLITER_TRACK_AUDIO) {
        raise_duration(*context, &record->audio);
        memcpy(info, &record->audio, sizeof(record->audio));
    }
    return SPLITER_OK;
}

uint32_t AVI_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size) {
    if (handle == nullptr || value == nullptr || size == nullptr) return SPLITER_OK;
    switch (id) {
        case SPLITER_CFG_NEXT_KEYFRAME_TIME:
            return next_key_frame_time(context_of(handle), value, size);
        case SPLITER_CFG_CODEC_DATA:
            return codec_data(context_of(handle), value, size);
        case SPLITER_CFG_NOP:
        default:
            return SPLITER_OK;
    }
}

uint32_t AVI_SPLITER_SetConfig(SplitterHandle handle, uint32_t /*id*/, const void *value, uint32_t /*size*/) {
    return handle == nullptr || value == nullptr ? SPLITER_ERR_INVALID_PARAM : SPLITER_ERR_UNSUPPORTED;
}

uint32_t AVI_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                               SplitterFrameInfo *frame) {
    if (frame == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *frame = {};
    AviContext *context = context_of(handle);
    AviTrack *record = find_track(context, track);
    if (record == nullptr || buffer == nullptr) return SPLITER_ERR_INVALID_PARAM;
    if (record->type != SPLITER_TRACK_VIDEO && record->type != SPLITER_TRACK_AUDIO)
        return SPLITER_ERR_INVALID_PARAM;

    AviPacket packet;
    avi_init_packet(&packet);
    packet.data = static_cast<uint8_t *>(buffer);
    packet.size = static_cast<int32_t>(std::min<uint32_t>(size, INT32_MAX));
    const uint32_t code = avi_read_frame(context, record, &packet);
    // A callback may fail with the same code; then no size is needed.
    const auto needed = static_cast<uint32_t>(packet.size);
    if (code == SPLITER_ERR_BUFFER_TOO_SMALL && needed > size) frame->size = needed;
    if (code != SPLITER_OK) return code;

    frame->size = static_cast<uint32_t>(packet.size);
    frame->time_stamp = avi_time_stamp_ms(*record, packet);
    frame->duration = duration_ms(*record, packet.duration);
    frame->key_frame = packet.flags & kAviPacketKeyFrame;
    return SPLITER_OK;
}

uint32_t AVI_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode) {
    AviContext *context = context_of(handle);
    AviTrack *record = find_track(context, track);
    if (record == nullptr || time == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return avi_seek_track(context, record, time, mode);
}

uint32_t AVI_SPLITER_Reset(SplitterHandle handle) {
    AviContext *context = context_of(handle);
    if (context == nullptr || context->closing) return SPLITER_ERR_INVALID_PARAM;
    rewind_all(context);
    return SPLITER_OK;
}

uint32_t AVI_SPLITER_IsSeekable(SplitterHandle handle, uint32_t track) {
    AviContext *context = context_of(handle);
    const AviTrack *record = find_track(context, track);
    if (record == nullptr) return 0;
    while (record->index.key_frame_count <= 1 && context->idx1_position != 0 && !context->index_complete) {
        const uint32_t code = avi_read_idx1(context);
        if (code != SPLITER_OK) return code;
    }
    return record->index.key_frame_count > 1 ? 1 : 0;
}

uint32_t AVI_SPLITER_Close(SplitterHandle handle) {
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    AviContext *context = context_of(handle);
    // What cannot be closed now holds nothing any more: it can only be closed again.
    avi_clear_header(context);
    context->closing = true;
    const uint32_t code = context->source.close();
    if (code != SPLITER_OK) return code;
    avi_free_context(context);
    return SPLITER_OK;
}
