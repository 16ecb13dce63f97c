// ASF files as the reader sees them.

#include <string.h>

#include <algorithm>
#include <numeric>
#include <type_traits>
#include <utility>

#include "asfparser/AsfCompleteness.h"
#include "asfparser/AsfDetails.h"
#include "media/CodecNames.h"
#include "media/MediaFormat.h"
#include "media/WaveTags.h"
#include "splitter/ByteOrder.h"

namespace quorv {

namespace {

constexpr uint32_t kCertain = 100;
constexpr int64_t kMicrosecondsPerMillisecond = 1000;
constexpr int64_t kUnitsPerSecond = 10000000;
// Of the extension that WAVE_FORMAT_EXTENSIBLE has, in front of what the sub-format begins with.
constexpr uint32_t kWaveFormatExtensible = 0xFFFE;
constexpr uint32_t kUpToSubFormat = 6, kExtensionBytes = 22;

struct AsfMediaTrack {
    QuorvTrack record;
    CodecName name;
};

// Video comes first.
struct AsfMediaState : MediaState {
    Owned<AsfContext> context;
    AsfMediaTrack tracks[2];
    uint32_t track_count;
    int64_t bytes_missing;  // at the end of the file
    ByteRanges unusable;    // of all tracks, as they were when that was asked last
};

AsfMediaState *state_of(MediaState *state) {
    return static_cast<AsfMediaState *>(state);
}

uint32_t recognise_asf(const uint8_t *head, size_t size) {
    return size >= kAsfSignatureBytes && asf_has_signature(head) ? kCertain : 0;
}

void set_codec_data(const AsfCodecData &codec_data, QuorvTrack *record) {
    record->codec_data = codec_data.length != 0 ? codec_data.bytes : nullptr;
    record->codec_data_size = codec_data.length;
}

void describe_video(const AsfHeader &header, QuorvTrack *record) {
    const AsfVideoStream &video = header.video;
    record->type = QUORV_TRACK_VIDEO;
    record->number = video.stream_number + 1;
    record->codec = video.codec;
    record->tag = video.tag;
    record->width = video.width;
    record->height = video.height;
    record->max_packet_size = picture_bytes(video.width, video.height);
    set_codec_data(video.codec_data, record);
    const AsfStreamFacts &facts = header.facts[video.stream_number];
    record->bit_rate = facts.bit_rate != 0 ? facts.bit_rate : header.max_bitrate;
    if (facts.frame_units == 0) return;
    const int64_t common = std::gcd(kUnitsPerSecond, int64_t{facts.frame_units});
    record->frame_rate = {kUnitsPerSecond / common, facts.frame_units / common};
}

void describe_audio(const AsfHeader &header, QuorvTrack *record) {
    const AsfAudioStream &audio = header.audio;
    record->type = QUORV_TRACK_AUDIO;
    record->number = audio.stream_number + 1;
    record->tag = audio.format_tag;
    uint32_t bits = audio.container_bits;
    if (audio.format_tag == kWaveFormatExtensible && audio.codec_data.length >= kExtensionBytes) {
        const uint8_t *extension = audio.codec_data.bytes;
        record->tag = load_le16(extension + kUpToSubFormat);
        if (load_le16(extension) != 0) bits = load_le16(extension);
    }
    describe_wave(record, audio.codec, audio.container_bits, bits);
    record->bit_rate = audio.bit_rate;
    record->sample_rate = audio.sample_rate;
    record->channels = audio.channels;
    record->block_align = audio.block_align;
    record->max_packet_size = header.packet_size;
    set_codec_data(audio.codec_data, record);
}

void describe_track(AsfMediaState *state, void (*describe)(const AsfHeader &, QuorvTrack *)) {
    const AsfHeader &header = state->context->header;
    AsfMediaTrack &track = state->tracks[state->track_count++];
    QuorvTrack *record = &track.record;
    describe(header, record);
    record->stated_end = -1;
    record->duration_us = asf_stated_duration_us(header);
    // Times stand in the packets: an index only saves a search.
    record->seekable = state->context->data_parser->Packets().packet_count() > 0 ? 1 : 0;
    record->framing = codec_framing(*record);
    track.name = codec_name(*record);
    record->codec_name = track.name.text;
}

Code open_asf(const SplitterStreamSource &source, MediaState **opened) {
    *opened = nullptr;
    Owned<AsfMediaState> state = make_owned<AsfMediaState>();
    if (state == nullptr) return Code::NoMemory;
    Code code = asf_open_details(source, &state->context);
    if (code == Code::Ok) code = asf_count_missing_bytes(state->context.get(), &state->bytes_missing);
    if (code != Code::Ok) return code;
    const AsfHeader &header = state->context->header;
    if (header.video.present) describe_track(state.get(), describe_video);
    if (header.audio.present) describe_track(state.get(), describe_audio);
    *opened = state.release();
    return Code::Ok;
}

void close_asf(MediaState *state) {
    Owned<AsfMediaState>(state_of(state)).reset();
}

uint32_t count_asf_tracks(const MediaState *state) {
    return static_cast<const AsfMediaState *>(state)->track_count;
}

Code describe_asf_track(MediaState *state, uint32_t index, QuorvTrack *track) {
    *track = state_of(state)->tracks[index].record;
    return Code::Ok;
}

Code read_asf(MediaState *state, uint32_t index, uint8_t *buffer, size_t room, MediaPacket *packet) {
    const QuorvTrack &record = state_of(state)->tracks[index].record;
    AsfObject object = {};
    const auto capacity = static_cast<uint32_t>(std::min<size_t>(room, UINT32_MAX));
    *packet = {};
    const Code code =
        asf_read_details(state_of(state)->context.get(), record.number, buffer, capacity, &object);
    if (code == Code::BufferTooSmall) packet->size = object.size;
    // A callback may fail with the same code; then no size is needed.
    if (code == Code::BufferTooSmall && object.size <= capacity) return Code::Io;
    if (code != Code::Ok) return code;
    const int64_t duration = object.duration_known ? object.duration : 0;
    *packet = {.size = object.size,
               .time_us = asf_reported_time(object.pts) * kMicrosecondsPerMillisecond,
               .duration_us = duration * kMicrosecondsPerMillisecond,
               .offset = object.file_offset,
               .key = record.type != QUORV_TRACK_VIDEO || object.key_frame};
    return Code::Ok;
}

// Sizes stand in the packets alone.
Code survey_asf(MediaState *, uint32_t, QuorvSurvey *) {
    return Code::Unsupported;
}

Code seek_asf(MediaState *state, uint32_t index, int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    const bool forward = mode == MediaSeek::KeyFrameAfter;
    const int64_t milliseconds = std::max<int64_t>(time_us, 0) / kMicrosecondsPerMillisecond;
    const bool between = std::max<int64_t>(time_us, 0) % kMicrosecondsPerMillisecond != 0;
    const int64_t wanted = std::min<int64_t>(milliseconds + (forward && between ? 1 : 0), INT32_MAX);
    const AsfSeekTarget target = {static_cast<uint32_t>(wanted),
                                  forward ? SeekDirection::Forward : SeekDirection::Backward};
    uint32_t reached = 0;
    const uint32_t track = state_of(state)->tracks[index].record.number;
    const Code code = asf_seek_details(state_of(state)->context.get(), track, target, &reached);
    // There is not a single packet to go to.
    if (code == Code::EndOfStream) return Code::Unsupported;
    if (code == Code::Ok) *reached_us = reached * kMicrosecondsPerMillisecond;
    return code;
}

static_assert(sizeof(AsfTrackMark) <= sizeof(MediaMark) && std::is_trivially_copyable_v<AsfTrackMark>);

void mark_asf(const MediaState *state, uint32_t index, MediaMark *mark) {
    const auto *media = static_cast<const AsfMediaState *>(state);
    const AsfTrackMark track = asf_mark_track(media->context.get(), media->tracks[index].record.number);
    memcpy(mark->words, &track, sizeof(track));
}

void go_back_in_asf(MediaState *state, uint32_t index, const MediaMark &mark) {
    AsfTrackMark track = {};
    memcpy(&track, mark.words, sizeof(track));
    AsfMediaState *media = state_of(state);
    asf_take_track_back(media->context.get(), media->tracks[index].record.number, track);
}

const ByteRanges &damage_of(AsfMediaState *media, uint32_t index) {
    AsfPacketParser &packets = media->context->data_parser->Packets();
    return packets.state_of(media->tracks[index].record.number - 1).damage.places;
}

// Tracks read the same packets, each on its own.
void merge_damage(AsfMediaState *media) {
    media->unusable = ByteRanges();
    for (uint32_t i = 0; i < media->track_count; ++i)
        media->unusable.add(damage_of(media, i));
}

void tell_asf_damage(MediaState *state, uint32_t index, QuorvDamage *damage) {
    AsfMediaState &media = *state_of(state);
    const bool whole = index == QUORV_WHOLE_FILE;
    if (whole) merge_damage(&media);
    const ByteRanges &places = whole ? media.unusable : damage_of(&media, index);
    damage->unusable_at = places.all();
    damage->packets_unusable = {places.count(), places.first()};
    damage->bytes_missing = media.bytes_missing;
    damage->cut_off = media.bytes_missing != 0 ? 1 : 0;
}

}  // namespace

const MediaFormat kAsfFormat = {
    .container = QUORV_CONTAINER_ASF,
    .recognise = recognise_asf,
    .open = open_asf,
    .close = close_asf,
    .track_count = count_asf_tracks,
    .describe = describe_asf_track,
    .read = read_asf,
    .seek = seek_asf,
    .survey = survey_asf,
    .mark = mark_asf,
    .go_back = go_back_in_asf,
    .damage = tell_asf_damage,
};

}  // namespace quorv
