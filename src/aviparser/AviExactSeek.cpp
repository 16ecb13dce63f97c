// Seeking in microseconds; see AviDetails.h.

#include <algorithm>
#include <optional>

#include "aviparser/AviDetails.h"
#include "aviparser/AviExactTime.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviPacket.h"
#include "aviparser/AviPatience.h"
#include "aviparser/AviSeek.h"

namespace quorv {

namespace {

// Chunk headers that one walk may read.
constexpr uint32_t kMaxWalk = uint32_t{1} << 20;

class ExactSeek {
public:
    ExactSeek(AviContext *context, AviTrack *track)
        : context_(*context), track_(*track), index_(track->index), time_(*track) {}

    Code to_key_frame(int64_t time_us, SeekDirection direction);
    Code to_any(int64_t time_us);
    int64_t reached() const { return time_.of_stamp(reached_); }

private:
    using Entry = std::optional<AviIndexEntry>;

    Code load_up_to(int64_t stamp);
    Code find(int64_t stamp, uint32_t flags, Entry *entry);
    Code walk_to(int64_t stamp, Found *found);
    void rewind();
    void move_to(const AviIndexEntry &entry);
    bool pass_pieces(int64_t stamp);

    AviContext &context_;
    AviTrack &track_;
    const AviIndexArray &index_;
    const AviExactTime time_;
    int64_t reached_ = 0;  // time stamp
};

void ExactSeek::rewind() {
    avi_rewind_track(context_, &track_);
    reached_ = 0;
}

void ExactSeek::move_to(const AviIndexEntry &entry) {
    avi_move_track(&track_, entry.pos, entry.timestamp);
    reached_ = entry.timestamp;
}

Code ExactSeek::load_up_to(int64_t stamp) {
    if (track_.has_opendml_index) return Code::Ok;
    return avi_load_index_while(&context_,
                                [&] { return index_.count == 0 || index_.last().timestamp < stamp; });
}

// Entries still to be read lie behind all others; a search that goes forward reads them.
Code ExactSeek::find(int64_t stamp, uint32_t flags, Entry *entry) {
    entry->reset();
    const auto not_found = [&] {
        const int32_t place = avi_index_search_timestamp(index_, stamp, flags);
        if (place >= 0) *entry = index_.entries[static_cast<uint32_t>(place)];
        return place < 0;
    };
    if (!not_found() || track_.has_opendml_index || (flags & kAviSearchBackward) != 0) return Code::Ok;
    return avi_load_index_while(&context_, not_found);
}

Code ExactSeek::to_key_frame(int64_t time_us, SeekDirection direction) {
    const bool backward = direction == SeekDirection::Backward;
    const int64_t stamp = backward ? time_.last_stamp_at(time_us) : time_.first_stamp_from(time_us);
    Code code = load_up_to(stamp);
    if (code != Code::Ok) return code;
    Entry entry;
    constexpr uint32_t kBefore = kAviSearchBackward | kAviSearchStatedKey;
    constexpr uint32_t kFrom = kAviSearchForward | kAviSearchStatedKey;
    code = find(stamp, backward ? kBefore : kFrom, &entry);
    if (code == Code::Ok && !entry)
        code = backward ? find(0, kFrom, &entry) : find(INT64_MAX, kBefore, &entry);
    if (code != Code::Ok) return code;
    // Without a word about key frames, decoding begins at the start of the track, if anywhere.
    if (!entry && index_.count == 0 && time_us != 0) return Code::Unsupported;
    if (entry && entry->timestamp != 0) {
        move_to(*entry);
    } else {
        rewind();
    }
    return Code::Ok;
}

Code ExactSeek::to_any(int64_t time_us) {
    const int64_t stamp = time_.last_stamp_at(time_us);
    Code code = load_up_to(stamp);
    Entry entry;
    if (code == Code::Ok) code = find(stamp, kAviSearchBackward | kAviSearchAnyFrame, &entry);
    if (code != Code::Ok) return code;
    // Where the index does not lead further, what has been walked once is not walked again.
    const int64_t known = entry ? entry->timestamp : 0;
    const int64_t here = track_.reading.frame_offset;
    Found found = Found::No;
    if (here >= known && here <= stamp) code = walk_to(stamp, &found);
    if (code != Code::Ok || found == Found::Yes) return code;
    if (entry) {
        move_to(*entry);
    } else {
        rewind();
    }
    return walk_to(stamp, &found);
}

// Moves on over the pieces of the chunk in progress as long as the next one begins no later; all but the last
// are equally long. False when a piece of it that begins later is left.
bool ExactSeek::pass_pieces(int64_t stamp) {
    AviReading &reading = track_.reading;
    const uint32_t size = avi_piece_size(track_);
    const int64_t duration = avi_piece_duration(track_.sampling, size);
    const int64_t last = (reading.bytes_left - 1) / size;
    const int64_t passed = std::min(last, (stamp - reading.frame_offset) / duration);
    reading.frame_offset += passed * duration;
    reading.data_position += passed * size;
    reading.bytes_left -= static_cast<uint32_t>(passed * size);
    return passed == last;
}

// To the last piece that begins at or before the time stamp; *found says whether there is one, else the track
// stands in front of the next.
Code ExactSeek::walk_to(int64_t stamp, Found *found) {
    uint32_t reads_left = kMaxWalk;
    AviReading best = track_.reading;
    *found = Found::No;
    for (bool passed_all = true; passed_all;) {
        const AviReading before = track_.reading;
        const Code code = avi_find_chunk(&context_, &track_, AviIndexGrowth::Forbidden, &reads_left);
        if (code == Code::EndOfStream && reads_left == 0) return Code::Unsupported;
        if (code != Code::Ok && code != Code::EndOfStream) return code;
        const int64_t start = track_.reading.frame_offset;
        if (code == Code::EndOfStream || start > stamp) {
            if (*found == Found::No) reached_ = start;
            break;
        }
        *found = Found::Yes;
        passed_all = pass_pieces(stamp);
        reached_ = track_.reading.frame_offset;
        // The next read meets the empty chunks in front of the piece again.
        best = reached_ == start ? before : track_.reading;
        avi_take_piece(&track_);
    }
    track_.reading = best;
    return Code::Ok;
}

}  // namespace

Code avi_seek_details(AviContext *context, AviTrack *track, int64_t time_us, AviSeekTo to,
                      int64_t *reached_us) {
    AviPatience patience(context, track);
    ExactSeek seek(context, track);
    const bool any = to == AviSeekTo::AnyBefore || track->type != SPLITER_TRACK_VIDEO;
    const SeekDirection direction =
        to == AviSeekTo::KeyFrameAfter ? SeekDirection::Forward : SeekDirection::Backward;
    const Code code = patience.result_of(any ? seek.to_any(time_us) : seek.to_key_frame(time_us, direction));
    if (code != Code::Ok) return code;
    patience.keep();
    *reached_us = seek.reached();
    return Code::Ok;
}

}  // namespace quorv
