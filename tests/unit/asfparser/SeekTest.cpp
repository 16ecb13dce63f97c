// Seeking: every time of every video frame in both modes, with every kind of index, and audio.

#include <optional>

#include "unit/asfparser/OpenedAsf.h"

namespace quorv::test {
namespace {

constexpr uint32_t kVideo = 2, kAudio = 3;  // tracks
constexpr uint32_t kNext = UINT32_MAX;
constexpr uint32_t kEnd = SPLITER_ERR_END_OF_STREAM;

// Frames over several packets, a key frame now and then, and pictures whose times fall back.
AsfBuilder video_and_audio(AsfIndex index, AsfLayout layout = {}) {
    AsfBuilder builder({asf_video(1), asf_audio(2)}, layout, index);
    for (uint32_t i = 0; i < 120; ++i) {
        const bool key = i % 9 == 0 || i == 40;
        // Of each three, the first is shown last, but for key frames.
        const uint32_t shown = i % 9 == 1 ? i + 1 : i % 9 == 2 ? i - 1 : i;
        builder.frame(0, shown * 40, 30 + i * 29 % 500, key).frame(1, i * 37, 25).frame(1, i * 37 + 9, 25);
    }
    return builder;
}

// The number of the frame that a seek must reach.
std::optional<size_t> expected(const std::vector<AsfFrame> &frames, uint32_t time, uint32_t mode, bool keys) {
    std::optional<size_t> before;
    for (size_t i = 0; i < frames.size(); ++i) {
        if (keys && !frames[i].key) continue;
        if (mode == SPLITER_SEEK_FORWARD && frames[i].time >= time) return i;
        if (frames[i].time <= time) before = i;
    }
    return before;
}

void check_video(SplitterFile &file, const AsfBuilder &builder, uint32_t time, uint32_t mode) {
    SCOPED_TRACE("time " + std::to_string(time) + ", mode " + std::to_string(mode));
    const AsfFrame &right = builder.truth(0)[expected(builder.truth(0), time, mode, true).value()];
    uint32_t reached = 0;
    ASSERT_EQ(file.seek(kVideo, time, mode, &reached), 0u);
    ASSERT_EQ(reached, right.time);
    expect_frame(file.read(kVideo), builder.streams[0], right, false, true);
}

class AsfSeek : public testing::TestWithParam<std::tuple<AsfIndex, uint32_t>> {};

INSTANTIATE_TEST_SUITE_P(All, AsfSeek,
                         testing::Combine(testing::Values(AsfIndex::None, AsfIndex::Right, AsfIndex::Early,
                                                          AsfIndex::Late, AsfIndex::CutShort),
                                          testing::Values(SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE)));

TEST_P(AsfSeek, ReachesTheRightFrameFromEveryTime) {
    AsfBuilder builder = video_and_audio(std::get<0>(GetParam()));
    OpenedAsf asf(builder.build(), std::get<1>(GetParam()));
    const uint32_t load = 1;
    kAsfSplitter.set_config(asf.file.handle(), SPLITER_CFG_LOAD_INDEX, &load, sizeof load);
    const std::vector<AsfFrame> &audio = builder.truth(1);
    for (const AsfFrame &frame : builder.truth(0)) {
        for (const uint32_t time : {frame.time, frame.time + 1, frame.time + 39}) {
            if (time == 0) continue;
            check_video(asf.file, builder, time, SPLITER_SEEK_FORWARD);
            check_video(asf.file, builder, time, SPLITER_SEEK_BACKWARD);
            uint32_t reached = 0;
            ASSERT_EQ(asf.file.seek(kAudio, time, time % 2, &reached), 0u);
            const AsfFrame &right = audio[expected(audio, time, SPLITER_SEEK_BACKWARD, false).value()];
            ASSERT_EQ(reached, right.time);
            expect_frame(asf.file.read(kAudio), builder.streams[1], right, false, false);
        }
    }
}

TEST_P(AsfSeek, WalksFromKeyFrameToKeyFrame) {
    AsfBuilder builder = video_and_audio(std::get<0>(GetParam()));
    OpenedAsf asf(builder.build(), std::get<1>(GetParam()));
    for (const AsfFrame &frame : builder.truth(0)) {
        if (!frame.key || frame.time == 0) continue;
        uint32_t time = 0, reached = 0;
        ASSERT_EQ(asf.file.next_key_time(kVideo, &time), 0u);
        EXPECT_EQ(time, frame.time);
        ASSERT_EQ(asf.file.seek(kVideo, kNext, 0, &reached), 0u);
        EXPECT_EQ(reached, frame.time);
    }
    uint32_t time = 0;
    EXPECT_EQ(asf.file.next_key_time(kVideo, &time), kEnd);
    EXPECT_EQ(asf.file.seek(kVideo, kNext, 0), kEnd);
    // The last key frame is still the next to be read.
    EXPECT_EQ(asf.file.read(kVideo).info.time_stamp, 117u * 40);
}

TEST(AsfSeekEnds, TimesBehindTheEndAndBeforeTheFirstKeyFrame) {
    AsfBuilder builder({asf_video(1), asf_audio(2)}, {}, AsfIndex::None);
    for (uint32_t i = 0; i < 10; ++i)
        builder.frame(0, i * 40, 30, i > 4).frame(1, i * 40 + 7, 20);
    const Bytes bytes = builder.build();
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        OpenedAsf asf(bytes, kind);
        uint32_t reached = 0;
        EXPECT_EQ(asf.file.seek(kVideo, 100, SPLITER_SEEK_BACKWARD, &reached), 0u);
        EXPECT_EQ(reached, 200u);
        EXPECT_EQ(asf.file.seek(kVideo, 100, SPLITER_SEEK_FORWARD, &reached), 0u);
        EXPECT_EQ(reached, 200u);
        EXPECT_EQ(asf.file.seek(kAudio, 3, 0, &reached), 0u);
        EXPECT_EQ(reached, 7u);
        const uint32_t duration = asf.file.video_info(kVideo).duration;
        EXPECT_EQ(asf.file.seek(kVideo, duration, 0), kEnd);
        EXPECT_EQ(asf.file.read(kVideo).code, kEnd);
        EXPECT_EQ(asf.file.seek(kAudio, duration, 0), kEnd);
        EXPECT_EQ(asf.file.read(kAudio).info.time_stamp, 7u);
        EXPECT_EQ(asf.file.seek(kVideo, duration - 1, 0, &reached), 0u);
        EXPECT_EQ(reached, 360u);
        // The audio position is counted on by the interval, which only a local file has.
        EXPECT_EQ(asf.file.seek(kAudio, kNext, 0, &reached), 0u);
        EXPECT_EQ(reached, 47u);
        EXPECT_EQ(asf.file.seek(kAudio, kNext, 0, &reached), 0u);
        EXPECT_EQ(reached, kind == SPLITER_SOURCE_LOCAL ? 87u : 47u);
        EXPECT_EQ(asf.file.seek(4, 1, 0), uint32_t{SPLITER_ERR_INVALID_PARAM});
    }
}

// The index ends before the time: it is not guessed what lies there.
TEST(AsfSeekEnds, TimesBehindTheIndex) {
    AsfBuilder builder = video_and_audio(AsfIndex::Right);
    Bytes bytes = builder.build();
    const size_t index = builder.data_start() + (bytes.size() - builder.data_start()) / 200 * 200;
    size_t at = builder.data_start();
    while (at < index && !std::equal(&bytes[at], &bytes[at + 4], le32(0x33000890).data()))
        at += 200;
    bytes[at + 52] = 40;  // entries of 100 ms each, 3000 ms of them before the start
    bytes[at + 53] = 0;
    OpenedAsf asf(bytes);
    EXPECT_EQ(asf.file.seek(kVideo, 999, 0), 0u);
    EXPECT_EQ(asf.file.seek(kVideo, 1000, 0), kEnd);
}

// A file of a million packets that exist only while they are read: one video frame each, and a key frame
// among 300 of them.
class EndlessFile final : public ByteStore {
public:
    static constexpr uint32_t kPackets = 1000000, kPacketSize = 1000, kFrameTime = 40, kKeyDistance = 300;

    EndlessFile() {
        AsfBuilder builder({asf_video(1)}, {.packet_size = kPacketSize, .multiple = false, .padding_type = 2},
                           AsfIndex::None);
        builder.frame(0, 0, 100);
        head_ = builder.build();
        start_ = builder.data_start();
        put(&head_, start_ - 10, kPackets);
        put(&head_, start_ - 34, kPackets * kPacketSize + 50);
        put(&head_, 30 + 24 + 40, static_cast<uint32_t>(kDuration));
        put(&head_, 30 + 24 + 44, static_cast<uint32_t>(kDuration >> 32));
    }
    uint64_t size() const override { return start_ + uint64_t{kPackets} * kPacketSize; }
    void copy(uint64_t position, void *to, size_t count) const override {
        auto *out = static_cast<uint8_t *>(to);
        for (size_t i = 0; i < count; ++i, ++position)
            out[i] = byte_at(position);
    }

private:
    static constexpr uint64_t kDuration = (uint64_t{kPackets} * kFrameTime + 3000) * 10000;
    static void put(Bytes *bytes, uint64_t at, uint32_t value) {
        const Bytes word = le32(value);
        std::copy(word.begin(), word.end(), bytes->begin() + static_cast<std::ptrdiff_t>(at));
    }
    uint8_t byte_at(uint64_t position) const {
        if (position < start_) return head_[static_cast<size_t>(position)];
        const auto packet = static_cast<uint32_t>((position - start_) / kPacketSize);
        const auto at = static_cast<uint32_t>((position - start_) % kPacketSize);
        // Behind the packet's header of 13 bytes: stream, number, offset, length of replicated data, size,
        // time.
        if (at == 13) return static_cast<uint8_t>(packet % kKeyDistance == 0 ? 0x81 : 1);
        if (at == 14) return static_cast<uint8_t>(packet);
        if (at >= 24 && at < 28) return static_cast<uint8_t>((packet * kFrameTime + 3000) >> 8 * (at - 24));
        return head_[start_ + at];
    }
    Bytes head_;
    size_t start_ = 0;
};

TEST(AsfSeekCost, AMillionPacketsWithoutIndex) {
    const EndlessFile bytes;
    TestSource source(bytes);
    SplitterFile file(kAsfSplitter, source.record());
    ASSERT_EQ(file.open_code, 0u);
    for (uint32_t time = 39; time < EndlessFile::kPackets * 40; time += 1234567) {
        const uint32_t packet = time / 40, key = packet / 300 * 300;
        for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
            source.reads = 0;
            uint32_t reached = 0;
            ASSERT_EQ(file.seek(kVideo, time, mode, &reached), 0u);
            const bool next = mode == SPLITER_SEEK_FORWARD && key * 40 != time;
            EXPECT_EQ(reached, (key + (next ? 300 : 0)) * 40);
            const uint64_t scan = packet - key + 1 + (next ? 301 : 0);
            EXPECT_LE(source.reads, scan + 64) << time;
        }
    }
}

TEST(AsfSeekEnds, FilesWithALateKeyFrameOrNone) {
    for (const AsfIndex index : {AsfIndex::None, AsfIndex::Right, AsfIndex::Late}) {
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            for (const uint32_t first_key : {5u, 10u}) {
                AsfBuilder builder({asf_video(1)}, {}, index);
                for (uint32_t i = 0; i < 10; ++i)
                    builder.frame(0, i * 40, 60, i >= first_key);
                OpenedBytesOf<kAsfSplitter> asf(builder.build(), kind);
                EXPECT_EQ(asf.file.seek(kVideo, 100, SPLITER_SEEK_BACKWARD), first_key == 5 ? 0u : kEnd);
                // After a failure a file's track is at its end, that of a download where it was.
                const Frame frame = asf.file.read(kVideo);
                EXPECT_EQ(frame.code, first_key == 10 && kind == SPLITER_SOURCE_LOCAL ? kEnd : 0u);
                EXPECT_EQ(frame.info.time_stamp, first_key == 5 ? 200u : 0u);
            }
        }
    }
}

}  // namespace
}  // namespace quorv::test
