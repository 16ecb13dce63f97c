// Every sample file through the reader of any format: its packets are those of the splitters, in the order of
// time, whatever the source and the heap do.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/FailingAllocator.h"
#include "support/MediaFile.h"
#include "support/Mp3Streams.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

struct MediaSample {
    std::string name;
    Bytes bytes;
    const SplitterApi *splitter;  // null for MPEG audio
};

std::vector<MediaSample> make_samples() {
    std::vector<MediaSample> all;
    for (const AnySample &sample : all_sample_files())
        all.push_back({sample.name, sample.bytes.flatten(), &sample.api});
    return all;
}

const std::vector<MediaSample> &samples() {
    static const std::vector<MediaSample> all = make_samples();
    return all;
}

// All packets in the order of time, the result behind them, and those that follow seeks.
struct Walk {
    QuorvResult open = QUORV_OK, end = QUORV_OK;
    KeptPackets packets = {};
    std::vector<QuorvResult> seeks = {};
    std::vector<int64_t> reached = {};
    bool operator==(const Walk &) const = default;
};

Walk walk(MediaFile &file) {
    Walk result = {file.open_result};
    if (file.reader() == nullptr) return result;
    result.packets = file.read(&result.end);
    for (const int64_t time_us : {70000, 0, 250000, 1000000000}) {
        for (const QuorvSeek mode : {QUORV_SEEK_BEFORE, QUORV_SEEK_AFTER}) {
            int64_t reached = -1;
            result.seeks.push_back(file.seek(time_us, mode, &reached));
            result.reached.push_back(reached);
            const KeptPackets next = file.read(nullptr, 3);
            result.packets.insert(result.packets.end(), next.begin(), next.end());
        }
    }
    return result;
}

Walk walk(const Bytes &bytes) {
    MediaBytes source(bytes);
    MediaFile file(source.record());
    return walk(file);
}

class Media : public testing::TestWithParam<size_t> {
protected:
    const MediaSample &sample = samples()[GetParam()];
};

INSTANTIATE_TEST_SUITE_P(All, Media, testing::Range(size_t{0}, samples().size()),
                         [](const auto &which) { return samples()[which.param].name; });

// Codec data that a splitter puts in front of a frame is the track's alone here.
TEST_P(Media, PacketsAreTheSplittersFrames) {
    if (sample.splitter == nullptr) GTEST_SKIP() << "no splitter has this file";
    const MemoryStore store(sample.bytes);
    TestSource splitter_source(store);
    SplitterFile frames(*sample.splitter, splitter_source.record());
    frames.omit_codec_data();
    MediaBytes source(sample.bytes);
    MediaFile file(source.record());
    ASSERT_EQ(file.open_result, QUORV_OK);
    for (uint32_t i = 0; i < file.track_count(); ++i) {
        SCOPED_TRACE(testing::Message() << "track " << i);
        const QuorvTrack &track = file.track(i);
        const FrameRun run = frames.read_all(track.number);
        QuorvResult end = QUORV_OK;
        const KeptPackets packets = file.read_track(i, &end);
        EXPECT_EQ(end, QUORV_END);
        ASSERT_EQ(packets.size(), run.frames.size());
        for (size_t n = 0; n < packets.size(); ++n) {
            const Frame &frame = run.frames[n];
            const Bytes &data = packets[n].data;
            ASSERT_LE(data.size(), frame.data.size());
            EXPECT_TRUE(n == 0 || data.size() == frame.data.size()) << n;
            EXPECT_TRUE(std::equal(data.rbegin(), data.rend(), frame.data.rbegin())) << n;
            EXPECT_LT(llabs(packets[n].time_us - int64_t{frame.info.time_stamp} * 1000), 1000) << n;
            EXPECT_EQ(packets[n].presentation_us, packets[n].time_us);
            // What lies in one piece is there.
            if (packets[n].offset < 0) continue;
            ASSERT_LE(static_cast<uint64_t>(packets[n].offset) + std::min<size_t>(data.size(), 4),
                      sample.bytes.size());
            EXPECT_TRUE(std::equal(
                data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min<size_t>(data.size(), 4)),
                sample.bytes.begin() + packets[n].offset))
                << n;
        }
    }
}

TEST_P(Media, AllTracksComeInTheOrderOfTime) {
    MediaBytes source(sample.bytes);
    MediaFile one_by_one(source.record()), together(source.record());
    std::vector<KeptPackets> left(one_by_one.track_count());
    for (uint32_t i = 0; i < left.size(); ++i)
        left[i] = one_by_one.read_track(i);
    QuorvResult end = QUORV_OK;
    const KeptPackets all = together.read(&end);
    EXPECT_EQ(end, QUORV_END);
    std::vector<size_t> taken(left.size());
    for (const KeptPacket &packet : all) {
        ASSERT_LT(packet.track, left.size());
        ASSERT_LT(taken[packet.track], left[packet.track].size());
        EXPECT_TRUE(packet == left[packet.track][taken[packet.track]++]);
        for (uint32_t i = 0; i < left.size(); ++i) {
            if (i == packet.track || taken[i] == left[i].size()) continue;
            const int64_t other = left[i][taken[i]].time_us;
            EXPECT_TRUE(i < packet.track ? packet.time_us < other : packet.time_us <= other) << "track " << i;
        }
    }
    for (uint32_t i = 0; i < left.size(); ++i)
        EXPECT_EQ(taken[i], left[i].size()) << "track " << i;
}

TEST_P(Media, SourcesOfEveryKindGiveTheSame) {
    const Walk expected = walk(sample.bytes);
    EXPECT_EQ(expected.open, QUORV_OK);
    EXPECT_EQ(expected.end, QUORV_END);
    std::vector<MediaFaults> kinds = {{.longest_read = 1}, {.longest_read = 100}, {.again_at_first = true}};
    for (const uint64_t every : {2u, 3u, 4u, 5u, 7u, 10u, 30u, 100u})
        kinds.push_back({.again_every = every});
    for (const MediaFaults &faults : kinds) {
        SCOPED_TRACE(testing::Message() << "again at every read of " << faults.again_every << ", reads of "
                                        << faults.longest_read);
        MediaBytes source(sample.bytes, faults);
        MediaFile file(source.record());
        const Walk result = walk(file);
        EXPECT_TRUE(result == expected);
        EXPECT_EQ(source.agains != 0, file.repeated != 0);
        EXPECT_TRUE(source.agains != 0 || (faults.again_every != 2 && !faults.again_at_first));
    }
}

// The call that meets the failure reports it, and succeeds when it is made again.
TEST_P(Media, FailuresOfTheSourceAreReportedAndPass) {
    const Walk expected = walk(sample.bytes);
    bool hit = true;
    for (uint64_t at = 1; hit; ++at) {
        SCOPED_TRACE(testing::Message() << "read " << at);
        MediaBytes source(sample.bytes, {.fail_at = at});
        MediaFile first(source.record(), QUORV_ERR_SOURCE);
        const Walk result = walk(first);
        ASSERT_TRUE(result == expected);
        hit = source.reads >= at;
        ASSERT_EQ(first.repeated, hit ? 1u : 0u);
    }
}

TEST_P(Media, MissingMemoryIsReportedAndNothingIsLost) {
    const Walk expected = walk(sample.bytes);
    bool hit = true;
    for (uint64_t at = 1; hit; ++at) {
        SCOPED_TRACE(testing::Message() << "allocation " << at);
        MediaBytes source(sample.bytes);
        Walk result;
        {
            FailingAllocator heap(at);
            MediaFile file(source.record(), QUORV_ERR_MEMORY);
            result = walk(file);
            hit = heap.has_failed();
        }
        ASSERT_TRUE(result == expected);
    }
}

// What is read of a file that is cut is the beginning of what the whole one gives.
TEST_P(Media, CutFilesGiveTheirBeginning) {
    const Walk whole = walk(sample.bytes);
    for (size_t size = 0; size < sample.bytes.size(); size += size < 4096 ? 1 : 97) {
        SCOPED_TRACE(testing::Message() << "cut at " << size);
        MediaBytes source(first_of(sample.bytes, size));
        MediaFile file(source.record());
        const Walk result = walk(file);
        EXPECT_TRUE(result.open == QUORV_OK || result.open == QUORV_ERR_NOT_MEDIA ||
                    result.open == QUORV_ERR_DAMAGED);
        EXPECT_LE(source.reads, 100000u);
    }
}

}  // namespace
}  // namespace quorv::test
