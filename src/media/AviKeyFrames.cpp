// Index and frames together; see the header.

#include "media/AviKeyFrames.h"

#include "aviparser/AviTrackMark.h"
#include "media/KeyFrames.h"

namespace quorv {

namespace {

// Headers stand in front of a picture, and what encoders say of themselves.
constexpr uint32_t kPeekBytes = 1024;
constexpr uint32_t kMaxPeeks = 1000;

Code peek_word(AviContext *context, AviTrack *track, const QuorvTrack &record, OwnWord *word) {
    uint8_t bytes[kPeekBytes];
    uint32_t size = 0;
    const Code code = avi_peek_details(context, track, bytes, kPeekBytes, &size);
    // A frame that is not there says nothing.
    *word = code == Code::Ok ? key_frame_word(record, bytes, size) : OwnWord::FileDecides;
    return code == Code::EndOfStream ? Code::Ok : code;
}

}  // namespace

bool avi_is_key_frame(const AviTrack &track, const QuorvTrack &record, const uint8_t *data,
                      const AviFrameDetails &frame) {
    const OwnWord word = key_frame_word(record, data, frame.size);
    return word == OwnWord::FileDecides ? avi_is_stated_key(track, frame.time_stamp) : word == OwnWord::Key;
}

Code avi_seek_key_frame(AviContext *context, AviTrack *track, const QuorvTrack &record, int64_t time_us,
                        bool before, int64_t *reached_us) {
    const AviTrackMark start = avi_mark_track(*track);
    const AviSeekTo to = before ? AviSeekTo::KeyFrameBefore : AviSeekTo::KeyFrameAfter;
    int64_t reached = 0;
    Code code = avi_seek_details(context, track, time_us, to, &reached);
    if (code != Code::Ok) return code;
    const AviTrackMark stated = avi_mark_track(*track);
    *reached_us = reached;
    for (uint32_t i = 0; i < kMaxPeeks; ++i) {
        OwnWord word = OwnWord::FileDecides;
        code = peek_word(context, track, record, &word);
        if (code != Code::Ok) break;
        if (word != OwnWord::NoKey) {
            *reached_us = reached;
            return Code::Ok;
        }
        const int64_t last = reached;
        if (last == 0 && before) break;
        code = avi_seek_details(context, track, before ? last - 1 : last + 1, to, &reached);
        if (code != Code::Ok || (before ? reached >= last : reached <= last)) break;
    }
    avi_take_track_back(track, code == Code::Ok ? stated : start);
    return code;
}

}  // namespace quorv
