// Small real files under every fault of the source, of the heap and of the file itself. Their headers, codec
// data and interleaving are what encoders and muxers make, not what a test's author thinks of.

#include <quorv/avi_splitter.h>

#include "interop/RealSamples.h"
#include "robustness/HostileLoops.h"

namespace quorv::test {
namespace {

// The work of the loops grows with the square of a file's frames and size; two samples are too big for them.
std::vector<RealSample> samples_that_are(bool big) {
    std::vector<RealSample> samples;
    for (const RealSample &sample : kRealSamples) {
        const std::string name = sample.name;
        const bool is_big = name == "h264-mp3-large" || name == "h264-two-index-blocks";
        // The committed file is this one, made some time earlier.
        if (is_big == big && name != "h264-mp3") samples.push_back(sample);
    }
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

INSTANTIATE_TEST_SUITE_P(Small, RealFileRobustness, testing::ValuesIn(samples_that_are(false)),
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

using BigRealFile = RealFileRobustness;

INSTANTIATE_TEST_SUITE_P(Real, BigRealFile, testing::ValuesIn(samples_that_are(true)),
                         [](const auto &which) { return case_name(which.param); });

// A seek to the end reads the rest of the index. Whichever callback of it fails, the call reports the
// failure, finds no key frame (a block that cannot be read ends the index) or succeeds; and all frames can be
// read afterwards.
TEST_P(BigRealFile, FailuresWhileTheIndexIsReadForASeek) {
    on_each_source_kind(expect_defined_without_memory);
    on_each_source_kind([](const SplitterApi &api, const ByteStore &file, uint32_t kind) {
        TestSource whole(file, kind);
        SplitterFile unbroken(api, whole.record());
        const std::vector<Frame> expected = unbroken.read_all(1).frames;
        ASSERT_FALSE(expected.empty());
        bool failed = true;
        for (uint64_t at = 1; failed; ++at) {
            SCOPED_TRACE("callback " + std::to_string(at) + " of the seek");
            TestSource source(file, kind);
            SplitterFile broken(api, source.record());
            source.faults.at = source.calls() + at;
            const uint32_t code = broken.seek(1, expected.back().info.time_stamp, SPLITER_SEEK_BACKWARD);
            failed = source.calls() >= source.faults.at;
            source.faults.at = 0;
            EXPECT_TRUE(code == 0 ||
                        (failed && (code == kSourceFailed || code == SPLITER_ERR_END_OF_STREAM)));
            if (!failed) break;
            ASSERT_EQ(broken.reset(), 0u);
            const std::vector<Frame> frames = broken.read_all(1).frames;
            ASSERT_EQ(frames.size(), expected.size());
            for (size_t i = 0; i < frames.size(); ++i) {
                ASSERT_TRUE(frames[i].data == expected[i].data) << "frame " << i;
                ASSERT_EQ(frames[i].info.time_stamp, expected[i].info.time_stamp) << "frame " << i;
            }
        }
    });
}

}  // namespace
}  // namespace quorv::test
