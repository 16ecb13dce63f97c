// The sample files of both splitters under every fault of the source, of the heap and of the file itself.

#include <gtest/gtest.h>

#include <tuple>

#include "robustness/HostileLoops.h"
#include "support/AsfBuilder.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

struct Sample {
    const SplitterApi &api;
    std::string name;
    Bytes bytes;
};

std::vector<Sample> samples() {
    std::vector<Sample> all;
    for (const SampleFile &sample : avi_sample_files())
        all.push_back({kAviSplitter, sample.name, sample.bytes.flatten()});
    for (const AsfSample &sample : asf_sample_files())
        all.push_back({kAsfSplitter, "asf_" + sample.name, sample.bytes});
    return all;
}

using Parameters = std::tuple<size_t, uint32_t>;

class Robustness : public testing::TestWithParam<Parameters> {
protected:
    Sample sample = std::move(samples()[std::get<0>(GetParam())]);
    uint32_t kind = std::get<1>(GetParam());
    // In memory as one block: copying out of it is what the loops do most.
    MemoryStore file{sample.bytes};
};

INSTANTIATE_TEST_SUITE_P(All, Robustness,
                         testing::Combine(testing::Range(size_t{0}, samples().size()),
                                          testing::Values(SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE)),
                         [](const auto &which) {
                             return samples()[std::get<0>(which.param)].name +
                                    (std::get<1>(which.param) == SPLITER_SOURCE_LOCAL ? "_local"
                                                                                      : "_progressive");
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
    const bool keys = kind == SPLITER_SOURCE_LOCAL || &sample.api == &kAsfSplitter;
    expect_same_frames_after_transient_failures(sample.api, file, kind, keys);
}

}  // namespace
}  // namespace quorv::test
