// The exported functions of the AVI splitter: argument checks, and the records that callers see.

#include <quorv/avi_splitter.h>
#include <string.h>

#include <algorithm>

#include "aviparser/AviFrame.h"
#include "aviparser/AviHeader.h"
#include "aviparser/AviIndex.h"
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
    return context->tracks[track - 1].get();
}

// Makes a call on the context that the handle holds, or on a new one with its stream open, which the handle
// then gets. A new context ends when the call fails; one that came in stays as it was.
template <typename Call>
Code with_context(const SplitterStreamSource *source, SplitterHandle *handle, Call call) {
    AviContext *existing = context_of(*handle);
    if (existing != nullptr) return existing->closing ? Code::InvalidParam : call(existing);
    Owned<AviContext> context = avi_new_context(*source);
    if (context == nullptr) return Code::NoMemory;
    Code code = context->source.open(StreamAccess::Read);
    if (code != Code::Ok) return code;
    code = call(context.get());
    if (code == Code::Ok) {
        *handle = context.release();
    } else {
        // What went wrong is told; that the stream does not close as well is not.
        static_cast<void>(context->source.close());
    }
    return code;
}

Code read_header(AviContext *context) {
    return context->header_parsed ? Code::Ok : avi_read_header(context);
}

void rewind_all(AviContext *context) {
    for (const Owned<AviTrack> &track : context->all_tracks())
        avi_rewind_track(*context, track.get());
}

Code open_file(AviContext *context) {
    const Code code = read_header(context);
    if (code == Code::Ok) rewind_all(context);
    return code;
}

Code read_header_and_index(AviContext *context, SplitterHttpParam *param) {
    Code code = read_header(context);
    if (code != Code::Ok) return code;
    code = avi_load_index_while(context, [] { return true; });
    if (code != Code::Ok) return code;
    const AviLegacyIndex &idx1 = context->idx1;
    param->index_flag = idx1.position != 0 && idx1.complete && !idx1.read_failed ? 1 : 0;
    return Code::Ok;
}

Code list_tracks(AviContext *context, SplitterTrackList *list) {
    if (context->track_count == 0) return Code::Unsupported;
    Owned<SplitterTrackEntry[]> &entries = context->track_list;
    if (entries == nullptr) entries = make_array<SplitterTrackEntry>(kAviMaxTracks);
    if (entries == nullptr) return Code::NoMemory;
    for (uint32_t i = 0; i < context->track_count; ++i)
        entries[i] = {i + 1, context->tracks[i]->type};
    *list = {context->track_count, entries.get()};
    return Code::Ok;
}

// Audio that ends before the picture is shown as lasting as long.
SplitterAudioInfo audio_info(const AviContext &context, const AviTrack &track) {
    const std::span<const Owned<AviTrack>> tracks = context.all_tracks();
    // The first video track, else the last of all.
    uint32_t longer = 0;
    while (longer + 1 < tracks.size() && tracks[longer]->type != SPLITER_TRACK_VIDEO)
        ++longer;
    SplitterAudioInfo info = track.audio;
    info.duration = std::max(info.duration, saturate_to_u32(tracks[longer]->duration));
    return info;
}

uint32_t duration_ms(const AviTrack &track, int32_t units) {
    // Formed as a 32-bit integer, whatever the units.
    const auto thousandfold = static_cast<int32_t>(static_cast<uint32_t>(units) * 1000u);
    if (track.time_base.den == 0) return 0;
    return clamp_to_u32(static_cast<double>(thousandfold) * track.time_base.num / track.time_base.den);
}

Code next_key_frame_time(AviContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackValue>(value, size);
    if (record == nullptr) return Code::BufferTooSmall;
    const AviTrack *track = find_track(context, record->track);
    if (track == nullptr) return Code::InvalidParam;
    record->value = 0;
    if (track->type != SPLITER_TRACK_VIDEO) return Code::Unsupported;
    std::optional<AviIndexEntry> entry;
    const Code code =
        avi_find_key_frame(context, *track, track->reading.frame_offset, SeekDirection::Forward, &entry);
    if (code != Code::Ok) return code;
    if (!entry) return Code::Unsupported;
    record->value = avi_stamp_to_ms(*track, entry->timestamp);
    return Code::Ok;
}

Code codec_data(const AviContext *context, void *value, uint32_t *size) {
    auto *record = take_record<SplitterTrackData>(value, size);
    if (record == nullptr) return Code::BufferTooSmall;
    const AviTrack *track = find_track(context, record->track);
    if (track == nullptr) return Code::InvalidParam;
    set_data(record, track->codec_data.bytes.get(), track->codec_data.length);
    return Code::Ok;
}

Code get_config(AviContext *context, uint32_t id, void *value, uint32_t *size) {
    switch (id) {
        case SPLITER_CFG_NEXT_KEYFRAME_TIME:
            return next_key_frame_time(context, value, size);
        case SPLITER_CFG_CODEC_DATA:
            return codec_data(context, value, size);
        case SPLITER_CFG_NOP:
        default:
            return Code::Ok;
    }
}

Code read_frame(AviContext *context, AviTrack *track, uint8_t *buffer, uint32_t room,
                SplitterFrameInfo *frame) {
    AviPacket packet;
    avi_init_packet(&packet);
    packet.data = buffer;
    packet.size = static_cast<int32_t>(std::min<uint32_t>(room, INT32_MAX));
    const Code code = avi_read_frame(context, track, &packet);
    // A callback may fail with the same code; then no size is needed.
    const auto size = static_cast<uint32_t>(packet.size);
    if (code == Code::BufferTooSmall && size > room) frame->size = size;
    if (code != Code::Ok) return code;

    frame->size = size;
    frame->time_stamp = avi_time_stamp_ms(*track, packet);
    frame->duration = duration_ms(*track, packet.duration);
    frame->key_frame = packet.flags & kAviPacketKeyFrame;
    return Code::Ok;
}

bool is_seekable(const AviTrack &track) {
    return track.index.key_frame_count > 1;
}

// Reads on in the legacy index as far as it takes to tell, if that has been found.
Code read_until_seekable(AviContext *context, const AviTrack &track) {
    const AviLegacyIndex &idx1 = context->idx1;
    while (!is_seekable(track) && idx1.position != 0 && !idx1.complete) {
        const Code code = avi_read_idx1(context);
        if (code != Code::Ok) return code;
    }
    return Code::Ok;
}

}  // namespace

}  // namespace quorv

using namespace quorv;

uint32_t AVI_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                  SplitterHandle *handle) {
    if (param == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *param = {};
    if (!is_complete(source) || handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    const auto call = [param](AviContext *context) { return read_header_and_index(context, param); };
    return to_public(with_context(source, handle, call));
}

uint32_t AVI_SPLITER_Open(const SplitterStreamSource *source, uint32_t mode, SplitterHandle *handle) {
    if (!is_complete(source) || handle == nullptr || (mode != 1 && mode != 2))
        return SPLITER_ERR_INVALID_PARAM;
    return to_public(with_context(source, handle, open_file));
}

uint32_t AVI_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list) {
    if (list == nullptr) return SPLITER_ERR_INVALID_PARAM;
    *list = {};
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(list_tracks(context_of(handle), list));
}

uint32_t AVI_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t /*size*/) {
    const AviContext *context = context_of(handle);
    const AviTrack *record = find_track(context, track);
    if (record == nullptr || info == nullptr) return SPLITER_ERR_INVALID_PARAM;
    if (record->type == SPLITER_TRACK_VIDEO) {
        memcpy(info, &record->video, sizeof(record->video));
    } else if (record->type == SPLITER_TRACK_AUDIO) {
        const SplitterAudioInfo audio = audio_info(*context, *record);
        memcpy(info, &audio, sizeof(audio));
    }
    return SPLITER_OK;
}

uint32_t AVI_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size) {
    if (handle == nullptr || value == nullptr || size == nullptr) return SPLITER_OK;
    return to_public(get_config(context_of(handle), id, value, size));
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
    return to_public(read_frame(context, record, static_cast<uint8_t *>(buffer), size, frame));
}

uint32_t AVI_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode) {
    AviContext *context = context_of(handle);
    AviTrack *record = find_track(context, track);
    if (record == nullptr || time == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return to_public(avi_seek_track(context, record, time, mode));
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
    const Code code = read_until_seekable(context, *record);
    return code != Code::Ok ? to_public(code) : uint32_t{is_seekable(*record)};
}

uint32_t AVI_SPLITER_Close(SplitterHandle handle) {
    if (handle == nullptr) return SPLITER_ERR_INVALID_PARAM;
    Owned<AviContext> context(context_of(handle));
    // What cannot be closed now holds nothing any more: it can only be closed again.
    avi_clear_header(context.get());
    context->closing = true;
    const Code code = context->source.close();
    if (code != Code::Ok) static_cast<void>(context.release());  // the caller's again
    return to_public(code);
}
