// Small real files under every fault of the source, of the heap and of the file itself. Their headers, codec
// data and interleaving are what encoders and muxers make, not what a test's author thinks of.

#include "interop/RealSamples.h"
#include "robustness/HostileLoops.h"

namespace quorv::test {
namespace {

// The loops' work grows with the square of a file's size; two are too big, and one is like the committed one.
std::vector<RealSample> small_samples() {
    std::vector<RealSample> samples = kRealSamples;
    std::erase_if(samples, [](const RealSample &sample) {
        return sample.name == "h264-mp3-large" || sample.name == "h264-two-index-blocks" ||
               sample.name == "h264-mp3";
    });
    return samples;
}

using RealFileRobustness = RealSampleTest;

INSTANTIATE_TEST_SUITE_P(Small, RealFileRobustness, testing::ValuesIn(small_samples()));

TEST_P(RealFileRobustness, EveryFaultOfSourceHeapAndFile) {
    const MemoryStore file(bytes_of_file(path));
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        SCOPED_TRACE("source kind " + std::to_string(kind));
        expect_defined_with_failing_callbacks(kAviSplitter, file, kind);
        expect_defined_with_odd_sources(kAviSplitter, file, kind);
        expect_defined_without_memory(kAviSplitter, file, kind);
        expect_defined_when_truncated(kAviSplitter, file, kind);
        // The index of a progressive source is read along with the frames: a failure may cost key flags.
        expect_same_frames_after_transient_failures(kAviSplitter, file, kind, kind == SPLITER_SOURCE_LOCAL);
    }
}

}  // namespace
}  // namespace quorv::test
