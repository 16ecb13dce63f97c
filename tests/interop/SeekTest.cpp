// Seeking in real files: what must come out is computed from the frames as they come from the start.

#include <cmath>

#include "interop/RealSamples.h"
#include "support/ExpectSeeks.h"

namespace quorv::test {
namespace {

using SeekTest = RealSampleTest;

INSTANTIATE_TEST_SUITE_P(Real, SeekTest, testing::ValuesIn(real_samples()));

TEST_P(SeekTest, KeyFramesOfTheVideoAreReached) {
    for (const uint32_t kind : kKinds) {
        AviBytes sample(bytes_of_file(path), kind);
        if (sample.file.tracks()[0].type != SPLITER_TRACK_VIDEO) continue;
        sample.file.read_all(1);  // what becomes codec data is missing once
        sample.file.reset();
        const std::vector<Frame> frames = sample.file.read_all(1).frames;
        // Time stamps are truncated to whole milliseconds.
        const double unit =
            (frames.back().info.time_stamp + 0.5) / std::max(static_cast<double>(frames.size()) - 1, 1.0);
        std::vector<TruthFrame> truth;
        for (const Frame &frame : frames) {
            const bool key = frame.info.key_frame != 0;
            const auto number = static_cast<uint64_t>(std::lround((frame.info.time_stamp + 0.5) / unit));
            truth.push_back({frame.data, frame.info.time_stamp, frame.info.duration, key, 0, number, key});
        }
        expect_seeks(sample.file, 1, truth, {true, unit}, truth.size() / 50 + 1);
    }
}

}  // namespace
}  // namespace quorv::test
