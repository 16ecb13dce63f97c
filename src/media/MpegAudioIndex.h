// Places in an MPEG audio file whose times are known from counting, so that no walk has to begin at the
// start.
#ifndef QUORV_SRC_MEDIA_MPEGAUDIOINDEX_H
#define QUORV_SRC_MEDIA_MPEGAUDIOINDEX_H

#include <stdint.h>

#include <array>

#include "media/AudioClock.h"
#include "media/MpegAudioScanner.h"

namespace quorv {

// Where a walk stands, with the time.
struct MpegAudioPoint {
    MpegAudioPlace place;
    AudioClock clock;
    uint64_t frame;   // its number, from 0
    bool is_counted;  // from the start on; else number and time come of the place
};

// Keeps points at equal distances, which grow with the file, in memory that does not.
class MpegAudioIndex {
public:
    // To be called for every point that a walk comes by.
    void note(const MpegAudioPoint &point) {
        if (!point.is_counted || point.frame != count_ * distance_) return;
        if (count_ == points_.size()) halve();
        points_[count_++] = point;
    }

    // The last one at or before the time; there must be one.
    const MpegAudioPoint &before(int64_t time_us) const {
        size_t found = 0;
        for (size_t i = 1; i < count_ && points_[i].clock.time_us() <= time_us; ++i)
            found = i;
        return points_[found];
    }

private:
    // Every second point goes.
    void halve() {
        for (size_t i = 0; i < count_ / 2; ++i)
            points_[i] = points_[2 * i];
        count_ /= 2;
        distance_ *= 2;
    }

    std::array<MpegAudioPoint, 256> points_;
    size_t count_ = 0;
    uint64_t distance_ = 64;  // frames
};

}  // namespace quorv

#endif
