// Every sample file through the reader of any format: its packets are those of the splitters, in the order of
// time, whatever the source and the heap do.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/FailingAllocator.h"
#include "wholefiles/MediaWalk.h"

namespace quorv::test {
namespace {

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
                sample.bytes.begin() + static_cast<std::ptrdiff_t>(packets[n].offset)))
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

// A file that ends early gives nothing that is not in the whole one.
TEST_P(Media, CutFilesGiveWhatIsLeft) {
    MediaBytes whole_source(sample.bytes);
    MediaFile whole(whole_source.record());
    const KeptPackets all = whole.read();
    for (size_t size = 0; size < sample.bytes.size(); size += size < 4096 ? 1 : 97) {
        SCOPED_TRACE(testing::Message() << "cut at " << size);
        MediaBytes source(first_of(sample.bytes, size), {.call_limit = 100000});
        MediaFile file(source.record());
        QuorvResult end = QUORV_END;
        const KeptPackets left = file.read(&end);
        if (file.reader() == nullptr) {
            EXPECT_TRUE(file.open_result == QUORV_ERR_NOT_MEDIA || file.open_result == QUORV_ERR_DAMAGED);
            continue;
        }
        EXPECT_TRUE(end == QUORV_END || end == QUORV_ERR_DAMAGED);
        for (const KeptPacket &packet : left) {
            const bool known = std::any_of(all.begin(), all.end(), [&packet](const KeptPacket &other) {
                return other.track == packet.track && other.time_us == packet.time_us &&
                       other.data == packet.data;
            });
            ASSERT_TRUE(known) << "track " << packet.track << " at " << packet.time_us;
        }
        for (const QuorvResult sought : walk(file).seeks)
            EXPECT_TRUE(sought == QUORV_OK || sought == QUORV_ERR_UNSUPPORTED || sought == QUORV_ERR_DAMAGED)
                << sought;
    }
}

// The last packet that begins at or before the time, else the first one.
size_t packet_at(const KeptPackets &packets, int64_t time_us) {
    size_t found = 0;
    for (size_t i = 0; i < packets.size(); ++i) {
        if (packets[i].time_us <= time_us) found = i;
    }
    return found;
}

// The first packet at or after the time, else the last one.
size_t packet_from(const KeptPackets &packets, int64_t time_us) {
    size_t found = 0;
    while (found + 1 < packets.size() && packets[found].time_us < time_us)
        ++found;
    return found;
}

TEST_P(Media, SeeksMoveAllTracksToMatch) {
    MediaBytes source(sample.bytes);
    MediaFile file(source.record());
    std::vector<KeptPackets> truth;
    uint32_t leader = UINT32_MAX;
    for (uint32_t i = 0; i < file.track_count(); ++i) {
        truth.push_back(file.read_track(i));
        if (file.track(i).type == QUORV_TRACK_VIDEO && leader == UINT32_MAX) leader = i;
        const auto earlier = [](const KeptPacket &a, const KeptPacket &b) { return a.time_us < b.time_us; };
        if (!std::is_sorted(truth[i].begin(), truth[i].end(), earlier)) GTEST_SKIP() << "times fall";
    }
    if (leader != UINT32_MAX && file.track(leader).seekable == 0) {
        EXPECT_EQ(file.seek(1000000, QUORV_SEEK_BEFORE), QUORV_ERR_UNSUPPORTED);
        return;
    }
    const auto is_key = [](const KeptPacket &packet) { return packet.key != 0; };
    const bool no_keys =
        leader != UINT32_MAX && std::none_of(truth[leader].begin(), truth[leader].end(), is_key);
    int64_t first = -1, last = -1;
    ASSERT_EQ(file.seek(0, QUORV_SEEK_BEFORE, &first), QUORV_OK);
    ASSERT_EQ(file.seek(INT64_MAX, QUORV_SEEK_AFTER, &last), QUORV_OK);
    for (int64_t time_us = -1; time_us < 700000; time_us += 13700) {
        for (const QuorvSeek mode : {QUORV_SEEK_BEFORE, QUORV_SEEK_AFTER}) {
            SCOPED_TRACE(testing::Message() << time_us << " mode " << mode);
            int64_t reached = -1;
            ASSERT_EQ(file.seek(time_us, mode, &reached), QUORV_OK);
            const int64_t wanted = leader != UINT32_MAX ? reached : std::max<int64_t>(time_us, 0);
            for (uint32_t i = 0; i < truth.size(); ++i) {
                const KeptPackets next = file.read_track(i, nullptr, 1);
                ASSERT_EQ(next.size(), truth[i].empty() ? 0u : 1u) << "track " << i;
                if (next.empty()) continue;
                const bool forward = leader == UINT32_MAX && mode == QUORV_SEEK_AFTER;
                const KeptPacket &right =
                    truth[i][forward ? packet_from(truth[i], wanted) : packet_at(truth[i], wanted)];
                EXPECT_EQ(next[0].time_us, right.time_us) << "track " << i;
                // Codec data in front of a first frame is left out once.
                ASSERT_LE(right.data.size(), next[0].data.size()) << "track " << i;
                EXPECT_TRUE(std::equal(right.data.rbegin(), right.data.rend(), next[0].data.rbegin()));
                if (i != leader) continue;
                EXPECT_EQ(next[0].time_us, reached);
                EXPECT_TRUE(next[0].key != 0 || no_keys);
                const bool in_direction = mode == QUORV_SEEK_BEFORE ? reached <= time_us : reached >= time_us;
                const bool at_the_end = reached == (mode == QUORV_SEEK_BEFORE ? first : last);
                EXPECT_TRUE(in_direction || at_the_end);
            }
        }
    }
}

}  // namespace
}  // namespace quorv::test
