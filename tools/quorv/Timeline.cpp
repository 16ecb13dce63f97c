// Frames gathered into spans of time; see the header.

#include "Timeline.h"

#include <algorithm>

namespace quorv::tool {

namespace {
constexpr size_t kMaxSpans = 4096;
// Times that a file invents must not overflow.
constexpr int64_t kLastTimeUs = int64_t{1} << 60;
}  // namespace

void TimeSpan::add(const TimeSpan &other) {
    if (first_key_us < 0) first_key_us = other.first_key_us;
    if (offset < 0) offset = other.offset;
    bytes += other.bytes;
    frames += other.frames;
    keys += other.keys;
    largest = std::max(largest, other.largest);
    largest_key = std::max(largest_key, other.largest_key);
}

void Timeline::halve() {
    for (size_t i = 0; i < spans_.size(); ++i) {
        if (i % 2 == 0) {
            spans_[i / 2] = spans_[i];
        } else {
            spans_[i / 2].add(spans_[i]);
        }
    }
    spans_.resize((spans_.size() + 1) / 2);
    length_us_ *= 2;
}

void Timeline::take(const QuorvPacket &packet) {
    const int64_t time = std::clamp<int64_t>(packet.time_us, 0, kLastTimeUs);
    while (time / length_us_ >= static_cast<int64_t>(kMaxSpans))
        halve();
    const auto index = static_cast<size_t>(time / length_us_);
    if (index >= spans_.size()) spans_.resize(index + 1);
    TimeSpan frame;
    frame.bytes = packet.size;
    frame.frames = 1;
    frame.offset = packet.offset;
    (packet.key != 0 ? frame.largest_key : frame.largest) = packet.size;
    if (packet.key != 0) {
        frame.keys = 1;
        frame.first_key_us = time;
        if (last_key_us_ >= 0 && time - last_key_us_ > longest_us_) {
            longest_us_ = time - last_key_us_;
            longest_begins_us_ = last_key_us_;
        }
        last_key_us_ = time;
    }
    spans_[index].add(frame);
    total_.add(frame);
    end_us_ = std::max(end_us_, time + std::clamp<int64_t>(packet.duration_us, 0, kLastTimeUs));
}

std::vector<TimeSpan> Timeline::spans(int64_t &length_us) const {
    const auto step = static_cast<size_t>(std::max<int64_t>((length_us + length_us_ - 1) / length_us_, 1));
    std::vector<TimeSpan> merged((spans_.size() + step - 1) / step);
    for (size_t i = 0; i < spans_.size(); ++i)
        merged[i / step].add(spans_[i]);
    length_us = length_us_ * static_cast<int64_t>(step);
    return merged;
}

}  // namespace quorv::tool
