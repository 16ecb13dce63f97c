// MPEG audio files (MP3, Layers I and II as well) as a format of the reader: how they are recognised, and the
// calls of one.

#include <string.h>

#include "media/MediaFormat.h"
#include "media/MpegAudioFile.h"
#include "mp3dec/Mp3FrameSync.h"
#include "platform/MemoryOwner.h"

namespace quorv {

namespace {

// Formats with a signature are surer.
constexpr uint32_t kFramesInARow = 50;

static_assert(sizeof(MpegAudioPoint) <= sizeof(MediaMark) && std::is_trivially_copyable_v<MpegAudioPoint>);

bool is_same_stream(const Mp3FrameHeader &a, const Mp3FrameHeader &b) {
    return a.layer == b.layer && a.sample_rate == b.sample_rate &&
           (a.bitrate_index == 0) == (b.bitrate_index == 0);
}

// Frames of one stream must follow one another, more of them behind bytes that are none.
uint32_t recognise_mpeg_audio(const uint8_t *head, size_t size) {
    Mp3InputBuffer input{};
    buffer_init(&input);
    buffer_set(&input, head, size);
    Mp3FrameHeader header{}, first{};
    const uint8_t *end = head;
    uint32_t frames = 0, wanted = 2;
    for (;;) {
        const Mp3Error error = header_decode(&header, &input);
        if (error != Mp3Error::None && !mp3_skips_frame(error)) return 0;
        if (error != Mp3Error::None) continue;
        if (input.frame_start != end || !is_same_stream(header, first)) {
            if (input.frame_start != head + input.tag_bytes) wanted = 3;
            first = header;
            frames = 0;
        }
        end = input.read_position;
        if (++frames == wanted) return kFramesInARow;
    }
}

MpegAudioFile *file_of(MediaState *state) {
    return static_cast<MpegAudioFile *>(state);
}

Code open_mpeg_audio(const SplitterStreamSource &source, MediaState **opened) {
    *opened = nullptr;
    Owned<MpegAudioFile> file = make_owned<MpegAudioFile>();
    if (file == nullptr) return Code::NoMemory;
    const Code code = file->open(source);
    if (code == Code::Ok) *opened = file.release();
    return code;
}

void close_mpeg_audio(MediaState *state) {
    const Owned<MpegAudioFile> owned(file_of(state));
}

uint32_t count_tracks(const MediaState *) {
    return 1;
}

Code describe_mpeg_audio(MediaState *state, uint32_t, QuorvTrack *track) {
    file_of(state)->describe(track);
    return Code::Ok;
}

Code read_mpeg_audio(MediaState *state, uint32_t, uint8_t *buffer, size_t room, MediaPacket *packet) {
    return file_of(state)->read(buffer, room, packet);
}

Code seek_mpeg_audio(MediaState *state, uint32_t, int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    return file_of(state)->seek(time_us, mode, reached_us);
}

Code survey_mpeg_audio(MediaState *state, uint32_t, QuorvSurvey *survey) {
    return file_of(state)->survey(survey);
}

void mark_mpeg_audio(const MediaState *state, uint32_t, MediaMark *mark) {
    memcpy(mark, &static_cast<const MpegAudioFile *>(state)->point(), sizeof(MpegAudioPoint));
}

void go_back_in_mpeg_audio(MediaState *state, uint32_t, const MediaMark &mark) {
    MpegAudioPoint point;
    memcpy(static_cast<void *>(&point), &mark, sizeof(point));
    file_of(state)->go_to(point);
}

// All that can be damaged belongs to the track, and the file has no other.
void tell_damage(MediaState *state, uint32_t, QuorvDamage *damage) {
    *damage = file_of(state)->damage();
}

}  // namespace

const MediaFormat kMpegAudioFormat = {
    .container = QUORV_CONTAINER_MPEG_AUDIO,
    .recognise = recognise_mpeg_audio,
    .open = open_mpeg_audio,
    .close = close_mpeg_audio,
    .track_count = count_tracks,
    .describe = describe_mpeg_audio,
    .read = read_mpeg_audio,
    .seek = seek_mpeg_audio,
    .survey = survey_mpeg_audio,
    .mark = mark_mpeg_audio,
    .go_back = go_back_in_mpeg_audio,
    .damage = tell_damage,
};

}  // namespace quorv
