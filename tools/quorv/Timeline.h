// The frames of a track gathered into spans of time: few enough to draw, however long the track is.
#ifndef QUORV_TOOLS_QUORV_TIMELINE_H
#define QUORV_TOOLS_QUORV_TIMELINE_H

#include <quorv/quorv.h>

#include <cstdint>
#include <vector>

namespace quorv::tool {

// What begins in a span.
struct TimeSpan {
    uint64_t bytes = 0, frames = 0, keys = 0;
    uint64_t largest = 0, largest_key = 0;  // bytes; of frames that are no key frames, and of those
    int64_t first_key_us = -1;
    int64_t offset = -1;  // in the file, of the first frame of which it is known

    void add(const TimeSpan &other);
};

class Timeline {
public:
    void take(const QuorvPacket &packet);

    // Spans of at least that length from time 0 on; sets it to what they have.
    std::vector<TimeSpan> spans(int64_t &length_us) const;
    int64_t end_us() const { return end_us_; }
    uint64_t frames() const { return total_.frames; }
    uint64_t bytes() const { return total_.bytes; }
    uint64_t keys() const { return total_.keys; }
    // The longest time between two key frames, and when it begins.
    int64_t longest_without_key_us() const { return longest_us_; }
    int64_t longest_begins_us() const { return longest_begins_us_; }
    bool knows_offsets() const { return total_.offset >= 0; }

private:
    void halve();

    int64_t length_us_ = 10000;  // of a span, doubled whenever there are too many
    std::vector<TimeSpan> spans_;
    TimeSpan total_;
    int64_t end_us_ = 0, last_key_us_ = -1, longest_us_ = 0, longest_begins_us_ = 0;
};

}  // namespace quorv::tool

#endif
