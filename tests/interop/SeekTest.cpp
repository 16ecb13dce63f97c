// Seeking in real files, local and progressive: key frames, times between and beyond them, from key frame to
// key frame. What must come out is computed from the frames as they come from the start.

#include <algorithm>

#include "interop/RealSamples.h"

namespace quorv::test {
namespace {

constexpr uint32_t kEnd = SPLITER_ERR_END_OF_STREAM;

using SeekTest = RealSampleTest;

INSTANTIATE_TEST_SUITE_P(Real, SeekTest, testing::ValuesIn(kRealSamples));

void check_video(SplitterFile &file, uint32_t track, const std::vector<Frame> &frames, size_t key_distance) {
    std::vector<uint32_t> times = {frames.back().info.time_stamp + 100000, 0x7FFFFFFF, 0xFFFFFFFE};
    std::vector<const Frame *> keys;
    for (size_t i = 0; i < frames.size(); ++i) {
        const SplitterFrameInfo &info = frames[i].info;
        ASSERT_TRUE(key_distance == 0 || (info.key_frame != 0) == (i % key_distance == 0)) << "frame " << i;
        if (info.key_frame != 0 || i % (frames.size() / 50 + 1) == 0) times.push_back(info.time_stamp);
        if (info.key_frame != 0) keys.push_back(&frames[i]);
    }
    EXPECT_EQ(file.is_seekable(track) != 0, keys.size() > 1);
    for (const uint32_t time : times) {
        for (const uint32_t mode : {SPLITER_SEEK_FORWARD, SPLITER_SEEK_BACKWARD}) {
            SCOPED_TRACE("time " + std::to_string(time) + ", mode " + std::to_string(mode));
            const Frame *expected = nullptr;  // none forward of the last key frame
            for (const Frame *key : keys) {
                const uint32_t at = key->info.time_stamp;
                if (mode == SPLITER_SEEK_FORWARD ? expected == nullptr && at >= time : at <= time)
                    expected = key;
            }
            uint32_t reached = 0;
            // Time stamps are truncated to whole milliseconds; backward the frame must not lie behind them.
            const uint32_t asked = mode == SPLITER_SEEK_BACKWARD && time < 0x7FFFFFFF ? time + 1 : time;
            ASSERT_EQ(file.seek(track, asked, mode, &reached), expected == nullptr ? kEnd : 0);
            if (expected == nullptr) continue;
            ASSERT_EQ(reached, expected->info.time_stamp);
            ASSERT_TRUE(file.read(track) == *expected);
        }
    }
    ASSERT_EQ(file.reset(), 0u);
    uint32_t reached = 0;
    for (size_t i = 1; i < keys.size(); ++i) {
        ASSERT_EQ(file.next_key_time(track, &reached), 0u);
        ASSERT_EQ(reached, keys[i - 1]->info.time_stamp);
        ASSERT_EQ(file.seek(track, UINT32_MAX, i % 2, &reached), 0u);  // the next one, in either mode
        ASSERT_EQ(reached, keys[i]->info.time_stamp);
    }
    EXPECT_EQ(file.seek(track, UINT32_MAX, SPLITER_SEEK_FORWARD), kEnd);
}

// Every chunk of audio is a key frame, but may come in pieces: a forward seek ends at the first chunk from
// the time on; a backward one goes on to the piece that holds it, unless that lies at most two pieces ahead.
void check_audio(SplitterFile &file, uint32_t track, const std::vector<Frame> &frames) {
    const bool seekable = file.is_seekable(track) != 0;
    for (size_t i = 0; i < frames.size(); i += frames.size() / 50 + 1) {
        const uint32_t time = frames[i].info.time_stamp;
        for (const uint32_t mode : {SPLITER_SEEK_FORWARD, SPLITER_SEEK_BACKWARD}) {
            SCOPED_TRACE("time " + std::to_string(time) + ", mode " + std::to_string(mode));
            uint32_t reached = 0;
            const uint32_t code = file.seek(track, time, mode, &reached);
            // A track whose index has no key frame, as the peer writes them for audio, only has its start.
            const bool may_end = time != 0 && (mode == SPLITER_SEEK_FORWARD || !seekable);
            ASSERT_TRUE(code == 0 ? seekable || time == 0 : code == kEnd && may_end) << code;
            if (code != 0) continue;
            const Frame next = file.read(track);
            ASSERT_NE(std::find(frames.begin(), frames.end(), next), frames.end());
            ASSERT_EQ(next.info.time_stamp, reached);
            ASSERT_TRUE(mode == SPLITER_SEEK_FORWARD
                            ? reached + 1 >= time
                            : reached <= time && time <= reached + 2 * next.info.duration + 2)
                << reached;
        }
    }
}

TEST_P(SeekTest, EveryKeyFrameIsReachedFromEverywhere) {
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        OpenedBytesOf<kAviSplitter> sample(bytes_of_file(path), kind);
        for (const SplitterTrackEntry &entry : sample.file.tracks()) {
            SCOPED_TRACE("source kind " + std::to_string(kind) + ", track " + std::to_string(entry.track));
            sample.file.read_all(entry.track);  // what becomes codec data is missing once
            sample.file.reset();
            const std::vector<Frame> frames = sample.file.read_all(entry.track).frames;
            if (entry.type == SPLITER_TRACK_VIDEO)
                check_video(sample.file, entry.track, frames, GetParam().key_distance);
            else
                check_audio(sample.file, entry.track, frames);
        }
    }
}

}  // namespace
}  // namespace quorv::test
