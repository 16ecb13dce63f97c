// AVI files as the reader sees them.

#include <string.h>

#include <algorithm>
#include <type_traits>
#include <utility>

#include "aviparser/AviCompleteness.h"
#include "aviparser/AviDetails.h"
#include "aviparser/AviHeader.h"
#include "aviparser/AviTrackMark.h"
#include "media/AviKeyFrames.h"
#include "media/CodecNames.h"
#include "media/MediaFormat.h"
#include "media/WaveTags.h"

namespace quorv {

namespace {

constexpr uint32_t kCertain = 100;

// What is told of a track again and again.
struct AviMediaTrack {
    QuorvTrack record;
    CodecName name;
};

struct AviMediaState : MediaState {
    Owned<AviContext> context;
    Owned<AviMediaTrack[]> tracks;
    int64_t bytes_missing;       // at the end of the file
    ByteRanges passed, missing;  // of all tracks, as they were when that was asked last
};

AviMediaState *state_of(MediaState *state) {
    return static_cast<AviMediaState *>(state);
}

uint32_t recognise_avi(const uint8_t *head, size_t size) {
    return size >= kAviSignatureBytes && avi_has_signature(head) ? kCertain : 0;
}

QuorvTrackType track_type(const AviTrack &track) {
    switch (track.type) {
        case SPLITER_TRACK_VIDEO:
            return QUORV_TRACK_VIDEO;
        case SPLITER_TRACK_AUDIO:
            return QUORV_TRACK_AUDIO;
        case SPLITER_TRACK_TEXT:
            return QUORV_TRACK_TEXT;
        default:
            return QUORV_TRACK_OTHER;
    }
}

void describe_video(const AviTrack &track, QuorvTrack *record) {
    record->codec = track.video.codec;
    record->tag = __builtin_bswap32(track.stated.format_tag);
    record->width = track.video.width;
    record->height = track.video.height;
    record->max_packet_size = track.video.max_frame_size;
    record->huffman_tables = track.huffman_tables.bytes.get();
    record->huffman_tables_size = track.huffman_tables.length;
}

void describe_audio(const AviTrack &track, QuorvTrack *record) {
    const AviStated &stated = track.stated;
    record->tag = stated.format_tag;
    if (!stated.tag_misleads)
        describe_wave(record, track.audio.codec, stated.container_bits, stated.bits_per_sample);
    record->bit_rate = track.audio.bit_rate;
    // Bytes, not frames, are then what times are counted by.
    if (track.sampling.sample_size != 0) record->rate_kind = QUORV_RATE_CONSTANT;
    record->sample_rate = track.audio.sample_rate;
    record->channels = stated.channels;
    record->block_align = track.audio.block_align;
    record->max_packet_size = track.audio.max_frame_size;
}

// Sound is found by walking where there is no index.
Code find_seekable(AviContext *context, const AviTrack &track, int *seekable) {
    Found found = track.type == SPLITER_TRACK_AUDIO ? Found::Yes : Found::No;
    if (track.type == SPLITER_TRACK_VIDEO) {
        const Code code = avi_find_indexed(context, track, &found);
        if (code != Code::Ok) return code;
    }
    *seekable = found == Found::Yes ? 1 : 0;
    return Code::Ok;
}

Code describe_track(AviContext *context, const AviTrack &track, AviMediaTrack *described) {
    QuorvTrack *record = &described->record;
    *record = {};
    record->type = track_type(track);
    record->number = track.stream_number + 1;
    record->stated_end = -1;
    record->tag = __builtin_bswap32(track.stated.format_tag);
    record->duration_us = avi_stated_duration_us(track);
    record->codec_data = track.codec_data.length != 0 ? track.codec_data.bytes.get() : nullptr;
    record->codec_data_size = track.codec_data.length;
    if (record->type == QUORV_TRACK_VIDEO) {
        describe_video(track, record);
        avi_frame_rate(track, &record->frame_rate.num, &record->frame_rate.den);
    }
    if (record->type == QUORV_TRACK_AUDIO) describe_audio(track, record);
    record->framing = codec_framing(*record);
    described->name = codec_name(*record);
    record->codec_name = described->name.text;
    return find_seekable(context, track, &record->seekable);
}

Code describe_tracks(AviMediaState *state) {
    AviContext *context = state->context.get();
    const uint32_t count = context->track_count;
    state->tracks = make_array<AviMediaTrack>(count);
    if (state->tracks == nullptr) return Code::NoMemory;
    for (uint32_t i = 0; i < count; ++i) {
        const Code code = describe_track(context, *context->tracks[i], &state->tracks[i]);
        if (code != Code::Ok) return code;
    }
    return Code::Ok;
}

void close_avi(MediaState *state) {
    const Owned<AviMediaState> owned(state_of(state));
    avi_close_details(std::move(owned->context));
}

Code open_avi(const SplitterStreamSource &source, MediaState **opened) {
    *opened = nullptr;
    Owned<AviMediaState> state = make_owned<AviMediaState>();
    if (state == nullptr) return Code::NoMemory;
    Code code = avi_open_details(source, &state->context);
    if (code != Code::Ok) return code;
    code = describe_tracks(state.get());
    if (code == Code::Ok) code = avi_count_missing_bytes(state->context.get(), &state->bytes_missing);
    if (code != Code::Ok) {
        close_avi(state.release());
        return code;
    }
    *opened = state.release();
    return Code::Ok;
}

uint32_t count_avi_tracks(const MediaState *state) {
    return static_cast<const AviMediaState *>(state)->context->track_count;
}

Code describe_avi_track(MediaState *state, uint32_t index, QuorvTrack *track) {
    *track = state_of(state)->tracks[index].record;
    return Code::Ok;
}

Code read_avi(MediaState *state, uint32_t index, uint8_t *buffer, size_t room, MediaPacket *packet) {
    AviContext *context = state_of(state)->context.get();
    AviTrack *track = context->tracks[index].get();
    const QuorvTrack &record = state_of(state)->tracks[index].record;
    if (record.type != QUORV_TRACK_VIDEO && record.type != QUORV_TRACK_AUDIO) return Code::Unsupported;
    AviFrameDetails frame;
    const auto capacity = static_cast<uint32_t>(std::min<size_t>(room, UINT32_MAX));
    const Code code = avi_read_details(context, track, buffer, capacity, &frame);
    if (code == Code::BufferTooSmall) packet->size = frame.size;
    if (code != Code::Ok) return code;
    *packet = {.size = frame.size,
               .time_us = frame.time_us,
               .duration_us = frame.duration_us,
               .offset = frame.offset,
               .key = record.type == QUORV_TRACK_AUDIO || avi_is_key_frame(*track, record, buffer, frame)};
    return Code::Ok;
}

Code seek_avi(MediaState *state, uint32_t index, int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    AviContext *context = state_of(state)->context.get();
    AviTrack *track = context->tracks[index].get();
    if (track->type != SPLITER_TRACK_VIDEO && track->type != SPLITER_TRACK_AUDIO) return Code::Unsupported;
    const QuorvTrack &record = state_of(state)->tracks[index].record;
    const int64_t wanted = std::max<int64_t>(time_us, 0);
    if (mode == MediaSeek::AnyBefore)
        return avi_seek_details(context, track, wanted, AviSeekTo::AnyBefore, reached_us);
    const bool before = mode == MediaSeek::KeyFrameBefore;
    return avi_seek_key_frame(context, track, record, wanted, before, reached_us);
}

Code survey_avi(MediaState *state, uint32_t index, QuorvSurvey *survey) {
    AviContext *context = state_of(state)->context.get();
    const AviTrack &track = *context->tracks[index];
    const Code code = avi_load_whole_index(context);
    if (code != Code::Ok) return code;
    if (track.index.count == 0) return Code::Unsupported;
    *survey = {track.index.count, 0, UINT64_MAX, 0};
    for (const AviIndexEntry &entry : track.index) {
        const uint64_t bytes = avi_entry_bytes(entry);
        survey->bytes += bytes;
        survey->smallest = std::min(survey->smallest, bytes);
        survey->largest = std::max(survey->largest, bytes);
    }
    return Code::Ok;
}

static_assert(sizeof(AviTrackMark) <= sizeof(MediaMark) && std::is_trivially_copyable_v<AviTrackMark>);

void mark_avi(const MediaState *state, uint32_t index, MediaMark *mark) {
    const AviTrackMark track =
        avi_mark_track(*static_cast<const AviMediaState *>(state)->context->tracks[index]);
    memcpy(mark->words, &track, sizeof(track));
}

void go_back_in_avi(MediaState *state, uint32_t index, const MediaMark &mark) {
    AviTrackMark track = {};
    memcpy(&track, mark.words, sizeof(track));
    avi_take_track_back(state_of(state)->context->tracks[index].get(), track);
}

// Tracks pass the same places, each on its own.
void merge_damage(AviMediaState *media) {
    media->passed = ByteRanges();
    media->missing = ByteRanges();
    for (const Owned<AviTrack> &track : media->context->all_tracks()) {
        media->passed.add(track->damage.passed);
        media->missing.add(track->damage.missing);
    }
}

void tell_avi_damage(MediaState *state, uint32_t index, QuorvDamage *damage) {
    AviMediaState &media = *state_of(state);
    const bool whole = index == QUORV_WHOLE_FILE;
    if (whole) merge_damage(&media);
    const ByteRanges &passed = whole ? media.passed : media.context->tracks[index]->damage.passed;
    const ByteRanges &missing = whole ? media.missing : media.context->tracks[index]->damage.missing;
    damage->passed_over_at = passed.all();
    damage->missing_at = missing.all();
    damage->bytes_passed_over = {passed.count(), passed.first()};
    damage->chunks_missing = {missing.count(), missing.first()};
    damage->bytes_missing = media.bytes_missing;
    damage->cut_off = media.bytes_missing != 0 ? 1 : 0;
}

}  // namespace

const MediaFormat kAviFormat = {
    .container = QUORV_CONTAINER_AVI,
    .recognise = recognise_avi,
    .open = open_avi,
    .close = close_avi,
    .track_count = count_avi_tracks,
    .describe = describe_avi_track,
    .read = read_avi,
    .seek = seek_avi,
    .survey = survey_avi,
    .mark = mark_avi,
    .go_back = go_back_in_avi,
    .damage = tell_avi_damage,
};

}  // namespace quorv
