// Opening and reading of files; see the header.

#include "support/OpenFile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace quorv::bench {
namespace {

constexpr uint64_t kNever = UINT64_MAX;
// A time stamp and a duration are each cut to whole milliseconds.
constexpr uint64_t kMillisecondsLost = 2;

void check(uint32_t code, const char *what) {
    if (code == SPLITER_OK) return;
    fprintf(stderr, "%s failed: %#x\n", what, code);
    exit(EXIT_FAILURE);
}

}  // namespace

OpenFile::OpenFile(const SplitterStreamSource &source, const test::SplitterApi &api) : api_(api) {
    check(api_.open(&source, 1, &handle_), "Open");
    SplitterTrackList list;
    check(api_.enum_track(handle_, &list), "EnumTrack");
    tracks_.assign(list.entries, list.entries + list.count);
}

uint32_t OpenFile::read(uint32_t track, std::vector<uint8_t> &buffer, const Seen &seen) {
    SplitterFrameInfo frame;
    uint32_t code = api_.read_frame(handle_, tracks_[track - 1].track, buffer.data(),
                                    static_cast<uint32_t>(buffer.size()), &frame);
    if (code == SPLITER_ERR_END_OF_STREAM) {
        next_time_[track - 1] = kNever;
        return 0;
    }
    check(code, "ReadFrame");
    next_time_[track - 1] = uint64_t{frame.time_stamp} + frame.duration;
    if (seen) seen(track, buffer.data(), frame.size);
    return 1;
}

// The lowest track that is due; several may be at the same time.
uint32_t OpenFile::first_due() const {
    const uint64_t first = *std::min_element(next_time_.begin(), next_time_.end());
    const auto due = std::find_if(next_time_.begin(), next_time_.end(),
                                  [first](uint64_t time) { return time - first <= kMillisecondsLost; });
    return static_cast<uint32_t>(due - next_time_.begin()) + 1;
}

uint64_t OpenFile::read_all(ReadOrder order, std::vector<uint8_t> &buffer, const Seen &seen) {
    check(api_.reset(handle_), "Reset");
    next_time_.assign(tracks_.size(), 0);
    uint64_t frames = 0;
    if (order == ReadOrder::TrackByTrack) {
        for (uint32_t track = 1; track <= track_count(); ++track) {
            while (read(track, buffer, seen) != 0)
                ++frames;
        }
    } else if (order == ReadOrder::Alternately) {
        for (uint64_t before = kNever; before != frames;) {
            before = frames;
            for (uint32_t track = 1; track <= track_count(); ++track)
                frames += next_time_[track - 1] != kNever ? read(track, buffer, seen) : 0;
        }
    } else {
        for (uint32_t track = first_due(); next_time_[track - 1] != kNever; track = first_due())
            frames += read(track, buffer, seen);
    }
    return frames;
}

}  // namespace quorv::bench
