// Every sample file, whole, from every kind of well-behaved source: tracks, frames, codec data, rewinding
// and seeking must be the truth that the builder computed.

#include <algorithm>
#include <numeric>

#include "support/SampleFiles.h"
#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

class SampleFilesTest : public testing::TestWithParam<size_t> {
protected:
    SampleFile sample = std::move(avi_sample_files()[GetParam()]);
    uint32_t streams() const { return static_cast<uint32_t>(sample.builder.streams.size()); }
};

INSTANTIATE_TEST_SUITE_P(All, SampleFilesTest, testing::Range(size_t{0}, avi_sample_files().size()),
                         [](const auto &which) { return avi_sample_files()[which.param].name; });

const std::pair<uint32_t, Faults> kSources[] = {
    {SPLITER_SOURCE_LOCAL, {}},
    {SPLITER_SOURCE_LOCAL, {.size = SizeAnswer::Zero, .end_is_success = true}},
    {SPLITER_SOURCE_PROGRESSIVE, {}},
    {SPLITER_SOURCE_PROGRESSIVE, {.size = SizeAnswer::Negative, .end_is_success = true}},
    {77, {}},  // progressive, too
};

TEST_P(SampleFilesTest, FramesAreTheTruthAndComeAgainAfterReset) {
    const bool open_dml = sample.builder.index >= IndexKind::OpenDml;
    for (const auto &[kind, faults] : kSources) {
        SCOPED_TRACE("source " + std::to_string(kind) + ", size " +
                     std::to_string(static_cast<int>(faults.size)));
        TestSource source(sample.bytes, kind, faults);
        SplitterFile file(kAviSplitter, source.record());
        ASSERT_EQ(file.tracks().size(), streams());
        Expected expected;
        // OpenDML indexes are not read of a source that is still arriving.
        expected.keys = kind == SPLITER_SOURCE_LOCAL || !open_dml;
        for (uint32_t i = 0; i < streams(); ++i) {
            expected.stripped = i == 0 ? sample.first_frame_header : 0;
            expect_frames(file, sample.builder, i, expected);
        }
        ASSERT_EQ(file.reset(), 0u);
        expected.stripped = 0;
        for (uint32_t i = streams(); i-- > 0;)
            expect_frames(file, sample.builder, i, expected);
        EXPECT_EQ(file.close(), 0u);
        EXPECT_FALSE(source.is_open());
        EXPECT_EQ(source.access_modes, std::vector<uint32_t>{1});
    }
}

// Tracks keep their own positions when they are read in turn. A buffer one byte too small gives the needed
// size and nothing else, and the same frame comes at the next call.
TEST_P(SampleFilesTest, ReadsTracksInTurnWithBuffersTooSmall) {
    TestSource source(sample.bytes);
    SplitterFile file(kAviSplitter, source.record());
    for (size_t n = 0; n < sample.builder.truth(0).size(); ++n) {
        for (uint32_t i = 0; i < streams(); ++i) {
            if (n >= sample.builder.truth(i).size()) continue;
            Bytes buffer(sample.builder.truth(i)[n].data.size());
            SplitterFrameInfo info = {1, 1, 1, 1, 1, 1};
            const uint32_t too_small = static_cast<uint32_t>(buffer.size() - 1);
            ASSERT_EQ(kAviSplitter.read_frame(file.handle(), i + 1, buffer.data(), too_small, &info),
                      uint32_t{SPLITER_ERR_BUFFER_TOO_SMALL});
            EXPECT_EQ(info.size, buffer.size());
            EXPECT_EQ(info.time_stamp | info.duration | info.key_frame | info.reserved1 | info.reserved2, 0u);
            const size_t stripped = n == 0 && i == 0 ? sample.first_frame_header : 0;
            expect_frames(file, sample.builder, i, {.from = n, .count = 1, .stripped = stripped});
        }
    }
}

// What a seek must reach, computed from the list of frames alone.
struct Reached {
    size_t frame = 0;
    bool found = true;
};

Reached seek_truth(const SampleFile &sample, uint32_t stream, uint32_t time, uint32_t mode) {
    const std::vector<TruthFrame> &truth = sample.builder.truth(stream);
    const StreamHeader &header = sample.builder.streams[stream].header;
    const uint32_t divisor = std::gcd(header.scale, header.rate);
    const double unit = header.scale / divisor * 1000.0 / (header.rate / divisor);
    const uint64_t target = static_cast<uint64_t>(time / unit + 0.5);
    if (target == 0) return {0, true};
    Reached reached{0, false};
    for (size_t i = 0; i < truth.size(); ++i) {
        if (!truth[i].index_key) continue;
        if (mode == SPLITER_SEEK_FORWARD && truth[i].dts >= target) return {i, true};
        if (mode != SPLITER_SEEK_FORWARD && truth[i].dts <= target) reached = {i, true};
    }
    if (!reached.found || sample.builder.streams[stream].is_video) return reached;
    const auto piece_is_far_behind = [&](const TruthFrame &f) {
        return time > f.time_stamp && time - f.time_stamp > 2 * f.duration;
    };
    if (piece_is_far_behind(truth[reached.frame])) {
        while (reached.frame + 1 < truth.size() &&
               truth[reached.frame].time_stamp + truth[reached.frame].duration <= time) {
            ++reached.frame;
        }
    }
    return reached;
}

TEST_P(SampleFilesTest, SeekReachesWhatTheFrameListSays) {
    TestSource source(sample.bytes);
    SplitterFile file(kAviSplitter, source.record());
    for (uint32_t i = 0; i < streams(); ++i) {
        if (sample.builder.streams[i].header.rate == 0) continue;  // it has the file's
        file.read_all(i + 1);  // takes the header bytes off the first frame: they come off only once
        const std::vector<TruthFrame> &truth = sample.builder.truth(i);
        const auto keys =
            std::count_if(truth.begin(), truth.end(), [](const TruthFrame &f) { return f.index_key; });
        EXPECT_EQ(file.is_seekable(i + 1) != 0, keys > 1) << "stream " << i;
        std::vector<uint32_t> times = {0, 1};
        for (const TruthFrame &f : truth)
            times.insert(times.end(), {f.time_stamp, f.time_stamp + f.duration / 3});
        for (const uint32_t time : times) {
            for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
                SCOPED_TRACE("stream " + std::to_string(i) + " to " + std::to_string(time) + " ms, mode " +
                             std::to_string(mode));
                const Reached expected = seek_truth(sample, i, time, mode);
                uint32_t reached = 0;
                const uint32_t code = file.seek(i + 1, time, mode, &reached);
                if (!expected.found) {
                    EXPECT_EQ(code, uint32_t{SPLITER_ERR_END_OF_STREAM});
                    continue;
                }
                ASSERT_EQ(code, 0u);
                EXPECT_EQ(reached, truth[expected.frame].time_stamp);
                expect_frames(file, sample.builder, i, {.from = expected.frame, .count = 2});
            }
        }
    }
}

// The next key frame, as a query and as a seek, from every position of the video track.
TEST_P(SampleFilesTest, NextKeyFrameFromEveryPosition) {
    TestSource source(sample.bytes);
    SplitterFile file(kAviSplitter, source.record());
    const std::vector<TruthFrame> &truth = sample.builder.truth(0);
    const bool is_video = sample.builder.streams[0].is_video;
    const auto next_key = [&](size_t from) {
        while (from < truth.size() && !truth[from].index_key)
            ++from;
        return from;
    };
    for (size_t n = 0; n < truth.size(); ++n) {
        ASSERT_EQ(file.reset(), 0u);
        file.read_all(1, n);
        uint32_t time = 7;
        const size_t at_or_after = next_key(n);
        const bool has_next = is_video && at_or_after < truth.size();
        EXPECT_EQ(file.next_key_time(1, &time), has_next ? 0u : uint32_t{SPLITER_ERR_UNSUPPORTED});
        if (is_video) {
            EXPECT_EQ(time, has_next ? truth[at_or_after].time_stamp : 0u);
        }
        const size_t after = next_key(n + 1);
        EXPECT_EQ(file.seek(1, UINT32_MAX, SPLITER_SEEK_BACKWARD, &time),
                  after < truth.size() ? 0u : uint32_t{SPLITER_ERR_END_OF_STREAM});
        if (after < truth.size()) {
            EXPECT_EQ(time, truth[after].time_stamp);
            expect_frames(file, sample.builder, 0, {.from = after, .count = 1});
        }
    }
}

}  // namespace
}  // namespace quorv::test
