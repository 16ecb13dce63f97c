// Moves the tracks to a time.

#include "media/MediaReader.h"
#include "splitter/Splitter.h"

namespace quorv {

namespace {

constexpr uint32_t kNone = UINT32_MAX;

uint32_t first_selected_video(const QuorvReader &reader) {
    for (uint32_t i = 0; i < reader.file.track_count; ++i) {
        if (reader.tracks[i]->selected && reader.tracks[i]->record.type == QUORV_TRACK_VIDEO) return i;
    }
    return kNone;
}

// Reads on from where the track stands, to the last packet that begins at or before the time or to the first
// one at or after it.
Code walk_to(QuorvReader *reader, uint32_t index, int64_t time_us, SeekDirection direction,
             int64_t *reached_us) {
    const MediaFormat &format = *reader->format;
    MediaTrack &track = *reader->tracks[index];
    const bool forward = direction == SeekDirection::Forward;
    MediaMark here = {}, found = {};
    format.mark(reader->state, index, &found);
    track.ended = false;
    while (!track.ended) {
        format.mark(reader->state, index, &here);
        MediaPacket packet = {};
        const Code code = load_packet(reader, index, &packet);
        if (code == Code::EndOfStream || code == Code::BadFormat) continue;
        if (code != Code::Ok) return code;
        if (!forward && packet.time_us > time_us) break;
        found = here;
        *reached_us = packet.time_us;
        if (forward && packet.time_us >= time_us) break;
    }
    format.go_back(reader->state, index, found);
    return Code::Ok;
}

// Where nothing says where the packets lie.
Code find_by_reading(QuorvReader *reader, uint32_t index, int64_t time_us, int64_t *reached_us) {
    const Code rewound = reader->format->seek(reader->state, index, 0, MediaSeek::AnyBefore, reached_us);
    return rewound == Code::Ok ? walk_to(reader, index, time_us, SeekDirection::Backward, reached_us)
                               : rewound;
}

Code seek_track(QuorvReader *reader, uint32_t index, int64_t time_us, int64_t *reached_us) {
    Code code = reader->format->seek(reader->state, index, time_us, MediaSeek::AnyBefore, reached_us);
    if (code == Code::EndOfStream) code = reader->source.explain_end();
    const bool nowhere = code == Code::EndOfStream || code == Code::Unsupported;
    return nowhere ? find_by_reading(reader, index, time_us, reached_us) : code;
}

Code seek_all(QuorvReader *reader, int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    const uint32_t leader = first_selected_video(*reader);
    *reached_us = leader == kNone ? INT64_MAX : time_us;
    if (leader != kNone) {
        const Code code = reader->format->seek(reader->state, leader, time_us, mode, reached_us);
        if (code != Code::Ok) return code == Code::EndOfStream ? Code::Unsupported : code;
        time_us = *reached_us;
    }
    for (uint32_t i = 0; i < reader->file.track_count; ++i) {
        if (i == leader || !reader->tracks[i]->selected) continue;
        int64_t reached = 0;
        Code code = seek_track(reader, i, time_us, &reached);
        if (code == Code::Ok && leader == kNone && mode == MediaSeek::KeyFrameAfter && reached < time_us)
            code = walk_to(reader, i, time_us, SeekDirection::Forward, &reached);
        if (code != Code::Ok) return code;
        if (leader == kNone) *reached_us = std::min(*reached_us, reached);
    }
    if (*reached_us == INT64_MAX) *reached_us = time_us;  // nothing is selected
    return Code::Ok;
}

}  // namespace

Code seek_media(QuorvReader *reader, int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    const auto for_selected = [reader](auto &&action) {
        for (uint32_t i = 0; i < reader->file.track_count; ++i) {
            if (reader->tracks[i]->selected) action(i, *reader->tracks[i]);
        }
    };
    for_selected([reader](uint32_t index, MediaTrack &track) {
        reader->format->mark(reader->state, index, &track.mark);
        track.ended_before_seek = track.ended;
    });
    const Code code = seek_all(reader, time_us, mode, reached_us);
    for_selected([reader, code](uint32_t index, MediaTrack &track) {
        if (code == Code::Ok) return forget_packets(&track);
        reader->format->go_back(reader->state, index, track.mark);
        track.ended = track.ended_before_seek;
    });
    return code;
}

}  // namespace quorv
