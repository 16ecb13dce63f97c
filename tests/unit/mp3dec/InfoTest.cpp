// What is found out about a stream without decoding it.

#include <gtest/gtest.h>
#include <quorv/platform/stream.h>

#include "support/FailingAllocator.h"
#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"

namespace quorv::test {
namespace {

struct StreamCloser {
    void operator()(MStream stream) const { MStreamClose(stream); }
};
using StreamHolder = std::unique_ptr<MStreamRecord, StreamCloser>;

StreamHolder open(Bytes &bytes) {
    return StreamHolder(MStreamOpenFromMemoryBlock(bytes.data(), static_cast<uint32_t>(bytes.size())));
}

TEST(Mp3Info, TellsFormatAndDuration) {
    const Bytes stereo = noise_stream(100), mono = noise_stream(50, {48000, 1, 9});
    // 100 frames whose bit rate changes: 256 and 288 kbit/s.
    Bytes varied;
    for (size_t i = 0; i < 50; ++i)
        varied = join({varied, noise_stream(1), noise_stream(1, {44100, 2, 9})});
    struct Case {
        const char *name;
        Bytes stream;
        uint32_t frames;  // asked for
        QuMp3Info info;
    };
    const Case cases[] = {
        {"all frames", stereo, 0, {1, 2, 0, 256 | 256 << 16, 44100, 870, 100}},
        {"behind a tag", join({id3v2_tag(300), stereo}), 0, {1, 2, 0, 256 | 256 << 16, 44100, 870, 100}},
        {"garbage around",
         join({Bytes(77), stereo, Bytes(500, 'x')}),
         0,
         {1, 2, 0, 256 | 256 << 16, 44100, 870, 100}},
        {"after a change of format", join({stereo, mono}), 0, {1, 1, 0, 288 | 256 << 16, 48000, 400, 50}},
        {"several bit rates", varied, 0, {1, 2, 0, 288 | 256 << 16, 44100, 870, 100}},
        // 27600 bytes at 256 kbit/s are 862 ms: padding would have made them 870.
        {"an estimate", stereo, 5, {1, 2, 0, 256 | 256 << 16, 44100, 862, 98}},
        {"behind a tag, estimated",
         join({id3v2_tag(300), stereo}),
         5,
         {1, 2, 0, 256 | 256 << 16, 44100, 862, 98}},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        Bytes bytes = each.stream;
        const StreamHolder stream = open(bytes);
        MStreamSeek(stream.get(), MSTREAM_SEEK_START, 5);
        QuMp3Info info = {};
        ASSERT_EQ(QU_MP3_info_get(stream.get(), &info, each.frames), 0);
        EXPECT_EQ(MStreamTell(stream.get()), 5);
        const QuMp3Info &e = each.info;
        EXPECT_EQ(info.layer * 100 + info.channels * 10 + info.version,
                  e.layer * 100 + e.channels * 10 + e.version);
        EXPECT_EQ(info.bitrate, e.bitrate);
        EXPECT_EQ(info.sample_rate, e.sample_rate);
        EXPECT_EQ(info.duration, e.duration);
        EXPECT_EQ(info.frame_count, e.frame_count);
    }
}

TEST(Mp3Info, RefusesWhatHoldsNoFrames) {
    Bytes streams[] = {Bytes(5), Bytes(100000), noise_stream(1), join({id3v2_tag(1 << 20), Bytes(100)})};
    for (Bytes &bytes : streams) {
        QuMp3Info info = {};
        EXPECT_EQ(QU_MP3_info_get(open(bytes).get(), &info, 0), -1) << bytes.size();
        EXPECT_EQ(QU_MP3_info_get(open(bytes).get(), &info, 3), -1) << bytes.size();
    }
    QuMp3Info info = {};
    QuMp3Summary summary = {};
    uint32_t duration = 0, count = 0;
    EXPECT_EQ(QU_MP3_info_get(nullptr, &info, 0), -1);
    EXPECT_EQ(QU_MP3_info_get(open(streams[1]).get(), nullptr, 0), -1);
    EXPECT_EQ(QU_MP3_get_info(nullptr, &duration, &count, &summary), -1);
}

TEST(Mp3Info, BufferSizesFollowTheFormula) {
    struct Case {
        uint32_t layer, version, bitrate, sample_rate;
        int32_t size, compat;
    };
    const Case cases[] = {
        {3, 0, 128, 44100, 427, 427},  {3, 1, 64, 22050, 218, 218}, {1, 0, 32, 32000, 57, 57},
        {2, 2, 160, 8000, 2889, 1464}, {3, 2, 8, 12000, 57, 57},    {3, 1, 8, 24000, 33, 33},
        {3, 1, 0, 24000, 9, 32},       {3, 0, 128, 0, 0, 1464},
    };
    for (const Case &each : cases) {
        QuMp3Info info = {each.layer, 2, each.version, each.bitrate | 8 << 16, each.sample_rate, 0, 0};
        EXPECT_EQ(QU_MP3_min_input_buffer_size(&info), each.size);
        Mp3FrameHeader header = {};
        header.layer = static_cast<uint8_t>(each.layer);
        header.flags = each.version != 0 ? uint32_t{MP3_FLAG_LOW_SAMPLING_RATE} : 0;
        header.bitrate = each.bitrate;
        header.sample_rate = each.sample_rate;
        EXPECT_EQ(QU_MP3_min_input_buffer_size_compat(&header), each.compat);
    }
    EXPECT_EQ(QU_MP3_min_input_buffer_size(nullptr), -1);
}

// Whole streams, through all that reads them: the stream functions and the player with a tiny buffer.
TEST(Mp3Info, WholeStreamsAreDecodedByEveryFunction) {
    Bytes bytes = join({id3v2_tag(100), noise_stream(20), real_mp3_stream(), text("TAG"), Bytes(125)});
    const Bytes expected = decode(bytes);
    const auto content = [](MStream stream) {
        Bytes pcm(static_cast<size_t>(MStreamTell(stream)));
        MStreamSeek(stream, MSTREAM_SEEK_START, 0);
        pcm.resize(static_cast<size_t>(MStreamRead(stream, pcm.data(), static_cast<int32_t>(pcm.size()))));
        return pcm;
    };
    const StreamHolder from = open(bytes), to(MStreamOpenFromMemoryBlock(nullptr, 0));
    ASSERT_EQ(QU_MP3_decode_file(from.get(), to.get()), 0);
    EXPECT_TRUE(content(to.get()) == expected);
    EXPECT_EQ(QU_MP3_decode_file(from.get(), nullptr), -1);

    for (const uint32_t size : {1u, 50u, 3000u}) {
        QuMp3Player player = QU_MP3_player_init(0, size);
        Bytes pcm, room(999);
        for (size_t position = 0;;) {
            const auto left = static_cast<uint32_t>(bytes.size() - position);
            const int32_t taken = QU_MP3_player_input(player, bytes.data() + position, left);
            ASSERT_TRUE(taken >= 0 && static_cast<uint32_t>(taken) <= std::min(left, size));
            position += static_cast<uint32_t>(taken);
            uint32_t produced = 0;
            QU_MP3_player_read_append(player, room.data(), static_cast<uint32_t>(room.size()));
            const int32_t code = QU_MP3_player_read(player, &produced);
            pcm.insert(pcm.end(), room.begin(), room.begin() + produced);
            if (left == 0 && code == QU_MP3_NEED_INPUT) break;
        }
        EXPECT_TRUE(pcm == expected) << size;
        QU_MP3_player_close(player);
    }
}

TEST(Mp3Info, EveryAllocationMayFail) {
    Bytes bytes = noise_stream(10);
    for (uint64_t n = 1, failures = 1; failures != 0; ++n) {
        const StreamHolder from = open(bytes), to(MStreamOpenFromMemoryBlock(nullptr, 16384));
        const FailingAllocator heap(n);
        QuMp3Info info = {};
        const int32_t info_code = QU_MP3_info_get(from.get(), &info, 0);
        const int32_t file_code = QU_MP3_decode_file(from.get(), to.get());
        QuMp3Player player = QU_MP3_player_init(1, 100);
        failures = heap.has_failed() ? 1 : 0;
        EXPECT_EQ((info_code != 0 || file_code != 0 || player == nullptr), failures != 0) << n;
        QU_MP3_player_close(player);
    }
}

}  // namespace
}  // namespace quorv::test
