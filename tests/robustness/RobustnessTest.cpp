// The sample files of both splitters under every fault of the source, of the heap and of the file itself.

#include <gtest/gtest.h>

#include <tuple>

#include "robustness/HostileLoops.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

class Robustness : public testing::TestWithParam<std::tuple<size_t, uint32_t>> {
protected:
    const AnySample &sample = all_sample_files()[std::get<0>(GetParam())];
    uint32_t kind = std::get<1>(GetParam());
    const MemoryStore &file = sample.bytes;
};

INSTANTIATE_TEST_SUITE_P(All, Robustness,
                         testing::Combine(testing::Range(size_t{0}, all_sample_files().size()),
                                          testing::Values(SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE)),
                         [](const auto &which) {
                             return all_sample_files()[std::get<0>(which.param)].name + "_of_kind_" +
                                    std::to_string(std::get<1>(which.param));
                         });

TEST_P(Robustness, FailingCallbacks) {
    expect_defined_with_failing_callbacks(sample.api, file, kind);
}

TEST_P(Robustness, OddSources) {
    expect_defined_with_odd_sources(sample.api, file, kind);
}

TEST_P(Robustness, FailingAllocations) {
    expect_defined_without_memory(sample.api, file, kind);
}

TEST_P(Robustness, Truncation) {
    expect_defined_when_truncated(sample.api, file, kind);
}

// The AVI index of a progressive source is read along with the frames. A failure there ends the index, not
// the frames, so their key flags may be missing afterwards.
TEST_P(Robustness, TransientFailuresWhileReadingFrames) {
    const bool keys = kind == SPLITER_SOURCE_LOCAL || sample.is_asf();
    expect_same_frames_after_transient_failures(sample.api, file, kind, keys);
}

}  // namespace
}  // namespace quorv::test
