// Small real files under every fault of the source, of the heap and of the file itself. Their headers, codec
// data and interleaving are what encoders and muxers make, not what a test's author thinks of.

#include <tuple>

#include "interop/OpenedSample.h"
#include "robustness/HostileLoops.h"

namespace quorv::test {
namespace {

class RealFileRobustness : public RealSampleTest {
protected:
    void on_each_source_kind(void (*loop)(const ByteStore &file, uint32_t kind)) {
        const MemoryStore file(contents_of(path));
        loop(file, SPLITER_SOURCE_LOCAL);
        loop(file, SPLITER_SOURCE_PROGRESSIVE);
    }
};

// The loops take the square of the number of frames. The sample with thousands of them has a test of its own,
// and of the two that are alike one is enough.
std::vector<RealSample> loop_samples() {
    std::vector<RealSample> samples;
    for (const RealSample &sample : kRealSamples) {
        const std::string name = sample.name;
        if (name != "h264-two-index-blocks" && name != "h264-mp3") samples.push_back(sample);
    }
    return samples;
}

INSTANTIATE_TEST_SUITE_P(Real, RealFileRobustness, testing::ValuesIn(loop_samples()),
                         [](const auto &which) { return case_name(which.param); });

TEST_P(RealFileRobustness, FailingCallbacks) {
    on_each_source_kind([](const ByteStore &file, uint32_t kind) {
        expect_defined_with_failing_callbacks(kAviSplitter, file, kind);
    });
}

TEST_P(RealFileRobustness, OddSources) {
    on_each_source_kind([](const ByteStore &file, uint32_t kind) {
        expect_defined_with_odd_sources(kAviSplitter, file, kind);
    });
}

TEST_P(RealFileRobustness, FailingAllocations) {
    on_each_source_kind([](const ByteStore &file, uint32_t kind) {
        expect_defined_without_memory(kAviSplitter, file, kind);
    });
}

TEST_P(RealFileRobustness, Truncation) {
    on_each_source_kind([](const ByteStore &file, uint32_t kind) {
        expect_defined_when_truncated(kAviSplitter, file, kind);
    });
}

// The index of a progressive source is read along with the frames. A failure there ends the index, not the
// frames, so their key flags may be missing afterwards.
TEST_P(RealFileRobustness, TransientFailuresWhileReadingFrames) {
    on_each_source_kind([](const ByteStore &file, uint32_t kind) {
        expect_same_frames_after_transient_failures(kAviSplitter, file, kind, kind == SPLITER_SOURCE_LOCAL);
    });
}

}  // namespace
}  // namespace quorv::test
