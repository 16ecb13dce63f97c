// Where every seek of a track must end, computed from the list of its frames alone, for both splitters.
#ifndef QUORV_TESTS_SUPPORT_EXPECTSEEKS_H
#define QUORV_TESTS_SUPPORT_EXPECTSEEKS_H

#include <optional>

#include "support/ExpectFrames.h"

namespace quorv::test {

struct SeekRules {
    bool is_video;
    // AVI: milliseconds a unit of the track's time base, to whole ones of which times are rounded; 0 in ASF.
    double unit = 0;
    bool is_asf() const { return unit == 0; }
    // ASF audio is sought for any frame, and backward in either mode.
    bool is_target(const TruthFrame &frame) const {
        return is_asf() ? frame.key || !is_video : frame.index_key;
    }
    bool is_forward(uint32_t mode) const { return mode == SPLITER_SEEK_FORWARD && (is_video || !is_asf()); }
};

// The number of the frame; none when the seek must fail.
inline std::optional<size_t> seek_truth(const std::vector<TruthFrame> &truth, SeekRules rules, uint32_t time,
                                        uint32_t mode) {
    const uint64_t target = rules.is_asf() ? time : static_cast<uint64_t>(time / rules.unit + 0.5);
    if (target == 0) return 0;
    std::optional<size_t> before, from;
    for (size_t i = 0; i < truth.size(); ++i) {
        if (!rules.is_target(truth[i])) continue;
        const uint64_t at = rules.is_asf() ? truth[i].time_stamp : truth[i].dts;
        if (at <= target) before = i;
        if (at >= target && !from) from = i;
    }
    // Where an ASF file has none on that side, the nearest on the other one is meant.
    const bool forward = rules.is_forward(mode);
    if (rules.is_asf()) return forward ? (from ? from : before) : (before ? before : from);
    if (forward || !before || rules.is_video) return forward ? from : before;
    // AVI audio is moved on to the piece that holds the time, unless that is not more than two pieces ahead.
    size_t piece = *before;
    if (time < truth[piece].time_stamp + 2 * truth[piece].duration + 1) return before;
    while (piece + 1 < truth.size() && truth[piece].time_stamp + truth[piece].duration <= time)
        ++piece;
    return piece;
}

// The next key frame of a video track that has been read up to frame `here`, as a query and as a seek.
inline void expect_next_key(SplitterFile &file, uint32_t track, const std::vector<TruthFrame> &truth,
                            SeekRules rules, size_t here) {
    const uint64_t end = truth[here - 1].time_stamp + truth[here - 1].duration;
    const auto key_time = [&](size_t from) -> std::optional<uint32_t> {
        for (size_t i = from; i < truth.size(); ++i) {
            if (rules.is_target(truth[i]) && (!rules.is_asf() || truth[i].time_stamp > end))
                return truth[i].time_stamp;
        }
        return std::nullopt;
    };
    const auto queried = key_time(rules.is_asf() ? 0 : here),
               sought = key_time(rules.is_asf() ? 0 : here + 1);
    const uint32_t none = rules.is_asf() ? kEnd : uint32_t{SPLITER_ERR_UNSUPPORTED};
    uint32_t reached = 0;
    EXPECT_EQ(file.next_key_time(track, &reached), queried ? 0 : none);
    EXPECT_EQ(reached, queried.value_or(0));
    EXPECT_EQ(file.seek(track, UINT32_MAX, here % 2, &reached), sought ? 0 : kEnd);
    EXPECT_EQ(reached, sought.value_or(UINT32_MAX));
}

// To every frame of the track, or every so many of them, and to times between and beyond them. What the first
// frame comes without at its first reading must have been taken.
inline void expect_seeks(SplitterFile &file, uint32_t track, const std::vector<TruthFrame> &truth,
                         SeekRules rules, size_t step = 1) {
    Numbers times = {1};
    if (!rules.is_asf()) times.insert(times.end(), {INT32_MAX, UINT32_MAX - 1});
    for (size_t i = 0; i < truth.size(); i += step) {
        const TruthFrame &frame = truth[i];
        times.insert(times.end(), {frame.time_stamp, frame.time_stamp + frame.duration / 3});
        if (rules.is_asf() && frame.duration > 1) times.push_back(frame.time_stamp + frame.duration - 1);
    }
    for (const uint32_t time : times) {
        for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
            SCOPED_TRACE(testing::Message() << "track " << track << " to " << time << " ms, mode " << mode);
            const std::optional<size_t> right = seek_truth(truth, rules, time, mode);
            // An AVI track that cannot be moved stays where it was.
            if (!right && !rules.is_asf()) file.seek(track, 0, mode);
            uint32_t reached = 0;
            ASSERT_EQ(file.seek(track, time, mode, &reached), right ? 0 : kEnd);
            // Time 0 is told of a first frame behind empty ones, too.
            const bool rewinds = !rules.is_asf() && time < rules.unit / 2;
            EXPECT_EQ(reached, !right ? time : rewinds ? 0 : truth[*right].time_stamp);
            if (!right && !rules.is_asf()) expect_frames(file, track, truth, {.count = 1});
            if (!right) continue;
            expect_frames(file, track, truth, {.from = *right, .count = 2});
            if (rules.is_video)
                expect_next_key(file, track, truth, rules, std::min(*right + 2, truth.size()));
        }
    }
}

}  // namespace quorv::test

#endif
