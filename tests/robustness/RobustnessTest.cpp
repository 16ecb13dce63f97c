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
    // The position of an ASF file's first packet, or of the list type "movi".
    uint64_t file_header_end() const { return sample.header_bytes - (sample.is_asf() ? 0 : 100); }
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

// Of what the headers claim, too, and when they claim far more: the first RIFF and its "movi" list, or the
// packets, which are all that counts in a Data Object without a size.
TEST_P(Robustness, LyingSources) {
    expect_few_callbacks_of_liars(sample.api, file, kind);
    MemoryStore boastful = file;
    if (sample.is_asf()) {
        boastful.patch(file_header_end() - 10, le32(INT32_MAX));
    } else {
        boastful.patch(4, le32(UINT32_MAX - 1));
        boastful.patch(file_header_end() - 4, le32(UINT32_MAX - 1));
    }
    expect_few_callbacks_of_liars(sample.api, boastful, kind);
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
