// What the packets of one track come to: totals, their order in time, what their headers say.
#ifndef QUORV_TOOLS_QUORV_TRACKCHECK_H
#define QUORV_TOOLS_QUORV_TRACKCHECK_H

#include <optional>
#include <vector>

#include "Finding.h"
#include "MediaFile.h"
#include "PictureCheck.h"
#include "SoundCheck.h"

namespace quorv::tool {

class TrackCheck {
public:
    // Throws Failure.
    TrackCheck(const Track &track, QuorvContainer container);

    // The packets, from the first one on.
    void take(const QuorvPacket &packet);
    // Behind the last one. A file that is not whole has its lengths told by that.
    void finish(bool is_whole, std::vector<Finding> &findings);

    const Track &track() const { return track_; }
    uint64_t frames() const { return frames_; }
    uint64_t bytes() const { return bytes_; }
    // Where the latest packets end.
    int64_t end_ms() const { return end_us_ / 1000; }
    int64_t end_offset() const { return end_offset_; }
    // The time of the first packet that lies behind a place; -1 for none. To be asked with what the damage
    // records tell: only places that were met in front of a packet are kept.
    int64_t time_behind(int64_t offset) const;
    // Damage was met since the packet before this one; what is unusable so far includes it.
    void note_damage(const QuorvPacket &packet, const QuorvRanges &unusable);

private:
    struct Anchor {
        int64_t offset, time_ms;
    };

    void check_time(const QuorvPacket &packet);
    void check_stated_length(std::vector<Finding> &findings) const;
    void check_encoders_word(std::vector<Finding> &findings) const;

    const Track track_;
    const QuorvContainer container_;
    uint64_t frames_ = 0, bytes_ = 0;
    int64_t time_us_ = 0, end_us_ = 0;  // of the latest packet
    int64_t step_us_ = 0;               // between the latest two
    int64_t expected_us_ = 0;           // when the next one should begin
    int64_t end_offset_ = 0;
    std::vector<Anchor> anchors_;
    FindingRuns gaps_, steps_back_;
    std::optional<PictureCheck> picture_;
    std::optional<SoundCheck> sound_;
};

}  // namespace quorv::tool

#endif
