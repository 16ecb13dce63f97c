// The AVI sample files under every fault of the source, of the heap and of the file itself.

#include <gtest/gtest.h>

#include <tuple>

#include "robustness/HostileLoops.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

using Parameters = std::tuple<size_t, uint32_t>;

class AviRobustness : public testing::TestWithParam<Parameters> {
protected:
    SampleFile sample = std::move(avi_sample_files()[std::get<0>(GetParam())]);
    uint32_t kind = std::get<1>(GetParam());
    // In memory as one block: copying out of it is what the loops do most.
    MemoryStore file{sample.bytes.flatten()};
};

INSTANTIATE_TEST_SUITE_P(All, AviRobustness,
                         testing::Combine(testing::Range(size_t{0}, avi_sample_files().size()),
                                          testing::Values(SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE)),
                         [](const auto &which) {
                             return avi_sample_files()[std::get<0>(which.param)].name +
                                    (std::get<1>(which.param) == SPLITER_SOURCE_LOCAL ? "_local"
                                                                                      : "_progressive");
                         });

TEST_P(AviRobustness, FailingCallbacks) {
    expect_defined_with_failing_callbacks(kAviSplitter, file, kind);
}

TEST_P(AviRobustness, OddSources) {
    expect_defined_with_odd_sources(kAviSplitter, file, kind);
}

TEST_P(AviRobustness, FailingAllocations) {
    expect_defined_without_memory(kAviSplitter, file, kind);
}

TEST_P(AviRobustness, Truncation) {
    expect_defined_when_truncated(kAviSplitter, file, kind);
}

// The index of a progressive source is read along with the frames. A failure there ends the index, not the
// frames, so their key flags may be missing afterwards.
TEST_P(AviRobustness, TransientFailuresWhileReadingFrames) {
    expect_same_frames_after_transient_failures(kAviSplitter, file, kind, kind == SPLITER_SOURCE_LOCAL);
}

}  // namespace
}  // namespace quorv::test
