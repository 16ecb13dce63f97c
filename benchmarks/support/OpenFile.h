// An open file and the orders in which a program reads its tracks.
#ifndef QUORV_BENCHMARKS_SUPPORT_OPENFILE_H
#define QUORV_BENCHMARKS_SUPPORT_OPENFILE_H

#include <cstdint>
#include <functional>
#include <vector>

#include "support/SplitterFile.h"

namespace quorv::bench {

enum class ReadOrder {
    TrackByTrack,  // the first track to its end, then the next
    InTime,        // always the track whose next frame is due first, as a player does
    Alternately    // a frame of each track in turn
};

// Every failure ends the program with a message: a benchmark of a failing call measures nothing.
class OpenFile {
public:
    explicit OpenFile(const SplitterStreamSource &source, const test::SplitterApi &api = test::kAviSplitter);
    ~OpenFile() { api_.close(handle_); }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    SplitterHandle handle() const { return handle_; }
    uint32_t track_count() const { return static_cast<uint32_t>(tracks_.size()); }
    bool is_video(uint32_t track) const { return tracks_[track - 1].type == SPLITER_TRACK_VIDEO; }

    // Rewinds, reads every frame of every track into one buffer and returns how many there were. `seen`, when
    // given, gets each with its track, which counts from 1 whatever its number.
    using Seen = std::function<void(uint32_t track, const uint8_t *data, uint32_t size)>;
    uint64_t read_all(ReadOrder order, std::vector<uint8_t> &buffer, const Seen &seen = {});

private:
    // How many frames that gave: 1, or 0 at the end of the track.
    uint32_t read(uint32_t track, std::vector<uint8_t> &buffer, const Seen &seen);
    uint32_t first_due() const;

    const test::SplitterApi &api_;
    SplitterHandle handle_ = nullptr;
    std::vector<SplitterTrackEntry> tracks_;
    std::vector<uint64_t> next_time_;  // per track: when its next frame is due; never, after its end
};

}  // namespace quorv::bench

#endif
