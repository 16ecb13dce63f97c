// Small real files under every fault of the source, of the heap and of the file itself. Their headers, codec
// data and interleaving are what encoders and muxers make, not what a test's author thinks of.

#include <quorv/avi_splitter.h>

#include "interop/RealSamples.h"
#include "robustness/HostileLoops.h"

namespace quorv::test {
namespace {

// The work of the loops grows with the square of a file's frames and size; two samples are too big for them.
// The committed file is another, made some time earlier.
std::vector<RealSample> small_samples() {
    std::vector<RealSample> samples = kRealSamples;
    std::erase_if(samples, [](const RealSample &sample) {
        const std::string name = sample.name;
        return name == "h264-mp3-large" || name == "h264-two-index-blocks" || name == "h264-mp3";
    });
    return samples;
}

class RealFileRobustness : public RealSampleTest {
protected:
    void on_each_source_kind(void (*loop)(const SplitterApi &, const ByteStore &, uint32_t)) {
        const MemoryStore file(bytes_of_file(path));
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE})
            loop(kAviSplitter, file, kind);
    }
};

INSTANTIATE_TEST_SUITE_P(Small, RealFileRobustness, testing::ValuesIn(small_samples()),
                         [](const auto &which) { return case_name(which.param); });

TEST_P(RealFileRobustness, FailingCallbacks) {
    on_each_source_kind(expect_defined_with_failing_callbacks);
}

TEST_P(RealFileRobustness, OddSources) {
    on_each_source_kind(expect_defined_with_odd_sources);
}

TEST_P(RealFileRobustness, FailingAllocations) {
    on_each_source_kind(expect_defined_without_memory);
}

TEST_P(RealFileRobustness, Truncation) {
    on_each_source_kind(expect_defined_when_truncated);
}

// The index of a progressive source is read along with the frames. A failure there ends the index, not the
// frames, so their key flags may be missing afterwards.
TEST_P(RealFileRobustness, TransientFailuresWhileReadingFrames) {
    on_each_source_kind([](const SplitterApi &api, const ByteStore &file, uint32_t kind) {
        expect_same_frames_after_transient_failures(api, file, kind, kind == SPLITER_SOURCE_LOCAL);
    });
}

}  // namespace
}  // namespace quorv::test
