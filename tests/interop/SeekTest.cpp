// Seeking in real files: every key frame of every track, times between and beyond them, walking from key
// frame to key frame and rewinding, from local and from progressive sources. What must come out is computed
// from the file's own index.

#include <gtest/gtest.h>
#include <quorv/avi_splitter.h>

#include <algorithm>
#include <optional>

#include "interop/AviFacts.h"
#include "interop/OpenedSample.h"

namespace quorv::test {
namespace {

constexpr uint32_t kNextKeyFrame = 0xFFFFFFFF;
constexpr uint32_t kEnd = SPLITER_ERR_END_OF_STREAM;

// One track: the handle, the file's own statements about it and its frames as they come from the start.
struct Track {
    SplitterFile &file;
    uint32_t number;
    StreamFacts facts;
    std::vector<Frame> frames;

    std::vector<IndexedChunk> key_chunks() const {
        std::vector<IndexedChunk> keys;
        std::copy_if(facts.chunks.begin(), facts.chunks.end(), std::back_inserter(keys),
                     [](const IndexedChunk &chunk) { return chunk.key; });
        return keys;
    }
    uint64_t end_time() const { return frames.back().info.time_stamp + frames.back().info.duration; }
};

// Reads every track once to its end and rewinds, so that the first frames are whole from then on.
std::vector<Track> read_tracks(OpenedSample &sample, const Bytes &bytes) {
    const std::vector<StreamFacts> facts = avi_facts(bytes);
    const std::vector<SplitterTrackEntry> entries = sample.file.tracks();
    std::vector<Track> tracks;
    for (const SplitterTrackEntry &entry : entries) {
        sample.file.read_all(entry.track);
        sample.file.reset();
        tracks.push_back(
            {sample.file, entry.track, facts.at(entry.track - 1), sample.file.read_all(entry.track).frames});
    }
    sample.file.reset();
    return tracks;
}

class SeekTest : public RealSampleTest {
protected:
    // Opens the sample as a local and as a progressive source and hands each track to the check.
    template <typename Check>
    void on_each_track(Check check) {
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedSample sample(path, kind);
            ASSERT_EQ(sample.file.open_code, 0u);
            const std::vector<Track> tracks = read_tracks(sample, contents_of(path));
            ASSERT_EQ(tracks.size(), GetParam().tracks.size());
            for (const Track &track : tracks) {
                SCOPED_TRACE("source kind " + std::to_string(kind) + ", track " +
                             std::to_string(track.number));
                check(track);
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Real, SeekTest, testing::ValuesIn(kRealSamples),
                         [](const auto &which) { return case_name(which.param); });

// The key chunk that a seek to this time must reach.
std::optional<IndexedChunk> expected_chunk(const Track &track, uint32_t time, uint32_t mode) {
    const std::vector<IndexedChunk> keys = track.key_chunks();
    const uint64_t start = track.facts.start_at(time);
    std::optional<IndexedChunk> found;
    for (const IndexedChunk &key : keys) {
        if (mode == SPLITER_SEEK_FORWARD && key.start >= start) return key;
        if (mode == SPLITER_SEEK_BACKWARD && key.start <= start) found = key;
    }
    return found;
}

// A backward seek in an audio track goes on from the key chunk to the piece that holds the time, unless that
// lies at most two pieces ahead.
void expect_near(const Track &track, const IndexedChunk &chunk, uint32_t time, uint32_t reached) {
    const Frame next = track.file.read(track.number);
    ASSERT_EQ(next.code, 0u);
    EXPECT_EQ(next.info.time_stamp, reached);
    const auto found =
        std::find(track.frames.begin() + static_cast<std::ptrdiff_t>(chunk.piece), track.frames.end(), next);
    ASSERT_TRUE(found != track.frames.end()) << "a frame at or after the key chunk";
    // Behind the end there is no piece; then the last ones count.
    const uint64_t wanted = std::min<uint64_t>(time, track.end_time());
    EXPECT_LE(wanted, reached + 2 * found->info.duration + 2);
    if (found - track.frames.begin() > static_cast<std::ptrdiff_t>(chunk.piece)) {
        EXPECT_LE(reached, wanted);
        EXPECT_GE(reached + found->info.duration + 1, wanted);
    }
}

void check_seek(const Track &track, uint32_t time, uint32_t mode) {
    SCOPED_TRACE("time " + std::to_string(time) + ", mode " + std::to_string(mode));
    uint32_t reached = 0;
    const std::optional<IndexedChunk> chunk =
        track.facts.start_at(time) == 0 ? IndexedChunk{0, 0, true} : expected_chunk(track, time, mode);
    ASSERT_EQ(track.file.seek(track.number, 0, SPLITER_SEEK_BACKWARD), 0u);
    ASSERT_EQ(track.file.read(track.number).code, 0u);
    const uint32_t code = track.file.seek(track.number, time, mode, &reached);
    if (!chunk) {
        ASSERT_EQ(code, kEnd);
        const Frame next = track.file.read(track.number);
        EXPECT_TRUE(track.frames.size() == 1 ? next.code == kEnd : next == track.frames[1]) << "it has moved";
        return;
    }
    ASSERT_EQ(code, 0u);
    if (track.facts.sample_size != 0 && mode == SPLITER_SEEK_BACKWARD) {
        expect_near(track, *chunk, time, reached);
    } else {
        EXPECT_EQ(reached, track.facts.time_of(chunk->start));
        EXPECT_TRUE(track.file.read(track.number) == track.frames.at(chunk->piece));
    }
}

// The time stamps that ReadFrame gives are truncated to whole milliseconds. A forward seek to that time finds
// the frame again; a backward one needs the first whole millisecond that is not before the frame.
TEST_P(SeekTest, EveryKeyFrameIsFoundInBothModes) {
    on_each_track([](const Track &track) {
        for (const IndexedChunk &key : track.key_chunks()) {
            const Frame &frame = track.frames.at(key.piece);
            for (const uint32_t mode : {SPLITER_SEEK_FORWARD, SPLITER_SEEK_BACKWARD}) {
                const uint64_t time = mode == SPLITER_SEEK_FORWARD ? track.facts.time_of(key.start)
                                                                   : track.facts.time_from(key.start);
                SCOPED_TRACE("time " + std::to_string(time) + ", mode " + std::to_string(mode));
                uint32_t reached = 0;
                ASSERT_EQ(track.file.seek(track.number, static_cast<uint32_t>(time), mode, &reached), 0u);
                ASSERT_EQ(reached, frame.info.time_stamp);
                ASSERT_EQ(frame.info.key_frame, 1u);
                ASSERT_TRUE(track.file.read(track.number) == frame);
            }
        }
    });
}

TEST_P(SeekTest, KeyFramesAreWhereTheEncoderPutThem) {
    const size_t distance = GetParam().key_distance;
    on_each_track([distance](const Track &track) {
        if (track.facts.sample_size == 0 && distance != 0) {
            for (size_t i = 0; i < track.frames.size(); ++i)
                ASSERT_EQ(track.frames[i].info.key_frame, i % distance == 0 ? 1u : 0u) << "frame " << i;
        }
        EXPECT_EQ(track.file.is_seekable(track.number) != 0, track.key_chunks().size() > 1);
    });
}

TEST_P(SeekTest, TimesBetweenAndBeyondReachTheNearestKeyFrame) {
    on_each_track([](const Track &track) {
        const auto end = static_cast<uint32_t>(track.end_time());
        std::vector<uint32_t> times = {0, 1, end, end + 1, end + 100000, 0x7FFFFFFF, 0xFFFFFFFE};
        const uint32_t step = std::max(end / 97, 1u);
        for (uint32_t time = step / 2; time < end; time += step)
            times.push_back(time);
        for (const uint32_t time : times) {
            for (const uint32_t mode : {SPLITER_SEEK_FORWARD, SPLITER_SEEK_BACKWARD})
                check_seek(track, time, mode);
        }
    });
}

TEST_P(SeekTest, WalkingToTheNextKeyFrameMeetsThemAll) {
    on_each_track([](const Track &track) {
        ASSERT_EQ(track.file.seek(track.number, 0, SPLITER_SEEK_BACKWARD), 0u);
        const std::vector<IndexedChunk> keys = track.key_chunks();
        uint32_t reached = 0;
        for (size_t i = 1; i < keys.size(); ++i) {
            // The mode does not matter for this time.
            ASSERT_EQ(track.file.seek(track.number, kNextKeyFrame, i % 2, &reached), 0u) << i;
            ASSERT_EQ(reached, track.facts.time_of(keys[i].start)) << i;
        }
        EXPECT_EQ(track.file.seek(track.number, kNextKeyFrame, SPLITER_SEEK_FORWARD), kEnd);
        const size_t stays_at = keys.empty() ? 0 : keys.back().piece;
        EXPECT_TRUE(track.file.read(track.number) == track.frames.at(stays_at));
    });
}

// Only video tracks answer, and only those with an index.
TEST_P(SeekTest, TheNextKeyFrameTimeIsKnownBeforeEveryFrame) {
    on_each_track([](const Track &track) {
        ASSERT_EQ(track.file.seek(track.number, 0, SPLITER_SEEK_BACKWARD), 0u);
        const bool is_video = track.facts.sample_size == 0;
        const std::vector<IndexedChunk> keys = is_video ? track.key_chunks() : std::vector<IndexedChunk>{};
        auto next = keys.begin();
        for (size_t i = 0; i <= track.frames.size(); ++i) {
            while (next != keys.end() && next->start < i)
                ++next;
            uint32_t time = 1;
            const uint32_t code = track.file.next_key_time(track.number, &time);
            ASSERT_EQ(code, next == keys.end() ? uint32_t{SPLITER_ERR_UNSUPPORTED} : 0u) << i;
            ASSERT_EQ(time, next == keys.end() ? 0u : track.facts.time_of(next->start)) << i;
            track.file.read(track.number);
        }
    });
}

// Only the bytes that became codec data are missing, and only from the first frame at its first reading.
TEST_P(SeekTest, ResetGivesTheSameFramesAgain) {
    OpenedSample sample(path);
    const std::vector<SplitterTrackEntry> tracks = sample.file.tracks();
    std::vector<FrameRun> first;
    for (const SplitterTrackEntry &track : tracks)
        first.push_back(sample.file.read_all(track.track));
    ASSERT_EQ(sample.file.reset(), 0u);
    for (size_t i = 0; i < tracks.size(); ++i) {
        SCOPED_TRACE("track " + std::to_string(i + 1));
        FrameRun again = sample.file.read_all(tracks[i].track);
        ASSERT_FALSE(again.frames.empty());
        Frame &whole = again.frames.front();
        if (has_headers_in_first_frame(GetParam().tracks[i])) {
            const auto missing = static_cast<std::ptrdiff_t>(sample.file.codec_data(tracks[i].track).size());
            ASSERT_LT(missing, static_cast<std::ptrdiff_t>(whole.data.size()));
            whole.data.erase(whole.data.begin(), whole.data.begin() + missing);
            whole.info.size -= static_cast<uint32_t>(missing);
        }
        EXPECT_TRUE(again == first[i]);
    }
}

}  // namespace
}  // namespace quorv::test
