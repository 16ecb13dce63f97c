// What is found out about a stream without decoding it.

#include <gtest/gtest.h>
#include <quorv/platform/stream.h>

#include "support/FailingAllocator.h"
#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"

namespace quorv::test {
namespace {

std::shared_ptr<MStreamRecord> open(Bytes &bytes) {
    return {MStreamOpenFromMemoryBlock(bytes.data(), static_cast<uint32_t>(bytes.size())), MStreamClose};
}

// Five frames of silence, or of what is none, at these distances.
Bytes headers(uint32_t header, size_t distance) {
    Bytes stream(5 * distance);
    for (size_t i = 0; i < 5 * 4; ++i)
        stream[i / 4 * distance + i % 4] = static_cast<uint8_t>(header >> (24 - i % 4 * 8));
    return stream;
}

TEST(Mp3Info, TellsFormatAndDuration) {
    const Bytes stereo = noise_stream(100), tag = id3v2_tag(300), mono = noise_stream(50, {48000, 1, 9});
    const Bytes varied = join({noise_stream(40), noise_stream(60, {44100, 2, 9})});
    // The estimate: 27600 bytes at 256 kbit/s are 862 ms; with padding there would be 870. With two bit
    // rates, the first 50 frames, 435 ms, have 14160 bytes, so 260 kbit/s; all have 29760.
    const QuMp3Info whole = {1, 2, 0, 256 | 256 << 16, 44100, 870, 100},
                    estimate = {1, 2, 0, 256 | 256 << 16, 44100, 862, 98};
    struct Case {
        const char *name;
        Bytes stream;
        uint32_t frames;  // asked for
        QuMp3Info info;
    };
    const Case cases[] = {
        {"all frames", stereo, 0, whole},
        {"a tag and garbage around", join({tag, Bytes(77), stereo, Bytes(500, 'x')}), 0, whole},
        {"a change of format", join({stereo, mono}), 0, {1, 1, 0, 288 | 256 << 16, 48000, 400, 50}},
        {"several bit rates", varied, 0, {1, 2, 0, 288 | 256 << 16, 44100, 870, 100}},
        {"an estimate", stereo, 5, estimate},
        {"an estimate behind a tag", join({tag, stereo}), 5, estimate},
        {"an estimate of several bit rates, around tags",
         join({tag, tag, noise_stream(20), tag, noise_stream(20), noise_stream(60, {44100, 2, 9})}),
         50,
         {1, 2, 0, 288 | 256 << 16, 44100, 915, 105}},
        {"320 kbit/s at 32 kHz", headers(0xFFFBE844, 1440), 0, {3, 2, 0, 320 | 320 << 16, 32000, 180, 5}},
        {"MPEG-2", headers(0xFFF38444, 192), 0, {3, 2, 1, 64 | 64 << 16, 24000, 120, 5}},
        {"MPEG-2.5, one channel", headers(0xFFE388C4, 576), 0, {3, 1, 2, 64 | 64 << 16, 8000, 360, 5}},
        {"free format, padded", headers(0xFFFB0244, 501), 0, {3, 2, 0, 153 | 153 << 16, 44100, 130, 5}},
        {"free format above 640 kbit/s", headers(0xFFFB0044, 2100), 0, {}},
        {"too short", Bytes(5), 0, {}},
        {"one frame", noise_stream(1), 1, {}},
        {"no frame", Bytes(100000), 0, {}},
        {"a tag longer than the stream", join({id3v2_tag(1 << 20), Bytes(9)}), 3, {}},
    };
    for (const Case &each : cases) {
        Bytes bytes = each.stream;
        const auto stream = open(bytes);
        MStreamSeek(stream.get(), MSTREAM_SEEK_START, 5);
        QuMp3Info info = {};
        const int32_t code = each.info.frame_count > 0 ? 0 : -1;
        EXPECT_EQ(QU_MP3_info_get(stream.get(), &info, each.frames), code) << each.name;
        EXPECT_EQ(MStreamTell(stream.get()), 5) << each.name;
        EXPECT_EQ(memcmp(&info, &each.info, sizeof info), 0) << each.name << ": " << info.duration << " ms";
    }
}

TEST(Mp3Info, BufferSizesFollowTheFormula) {
    struct Case {
        uint8_t layer;
        uint32_t version, bitrate, sample_rate;
        int32_t size, compat;
    };
    const Case cases[] = {{3, 0, 128, 44100, 427, 427},  {3, 1, 64, 22050, 218, 218},
                          {1, 0, 32, 32000, 57, 57},     {3, 2, 8, 12000, 57, 57},
                          {2, 2, 160, 8000, 2889, 1464}, {3, 1, 0, 24000, 9, 32},
                          {3, 0, 128, 0, 0, 1464}};
    for (const auto &[layer, version, bitrate, sample_rate, size, compat] : cases) {
        const QuMp3Info info = {layer, 2, version, bitrate | 8 << 16, sample_rate, 0, 0};
        EXPECT_EQ(QU_MP3_min_input_buffer_size(&info), size);
        Mp3FrameHeader header = {};
        header.layer = layer;
        header.bitrate = bitrate;
        header.sample_rate = sample_rate;
        header.flags = version != 0 ? uint32_t{MP3_FLAG_LOW_SAMPLING_RATE} : 0;
        EXPECT_EQ(QU_MP3_min_input_buffer_size_compat(&header), compat);
    }
}

// Through all that reads whole streams: the stream functions, and the player with a tiny buffer.
TEST(Mp3Info, WholeStreamsAreDecodedByEveryFunction) {
    Bytes bytes = join({id3v2_tag(100), noise_stream(20), real_mp3_stream(), text("TAG"), Bytes(125)});
    const Bytes expected = decode(bytes);
    Bytes room(expected.size() + 10), pcm;
    const auto from = open(bytes), to = open(room);
    ASSERT_EQ(QU_MP3_decode_file(from.get(), to.get()), 0);
    EXPECT_EQ(MStreamTell(to.get()), static_cast<intptr_t>(expected.size()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), room.begin()));
    EXPECT_EQ(QU_MP3_decode_file(from.get(), nullptr), -1);
    for (const uint32_t size : {1u, 50u, 3000u}) {
        QuMp3Player player = QU_MP3_player_init(0, size);
        QU_MP3_player_read_append(player, room.data(), 999);
        pcm.clear();
        int32_t code = QU_MP3_OK;
        for (size_t position = 0, left = 1; left != 0 || code != QU_MP3_NEED_INPUT;) {
            left = bytes.size() - position;
            const int32_t taken =
                QU_MP3_player_input(player, bytes.data() + position, static_cast<uint32_t>(left));
            position += static_cast<uint32_t>(taken);
            uint32_t produced = 0;
            code = QU_MP3_player_read(player, &produced);
            pcm.insert(pcm.end(), room.data(), room.data() + produced);
        }
        EXPECT_TRUE(pcm == expected) << size;
        QU_MP3_player_close(player);
    }
}

TEST(Mp3Info, EveryAllocationMayFail) {
    Bytes bytes = join({noise_stream(10), real_mp3_stream()}), room(1 << 20);
    const Bytes whole = decode(bytes);
    for (uint64_t n = 1, failed = 1; failed != 0; ++n) {
        const auto from = open(bytes), to = open(room);
        const FailingAllocator heap(n);
        QuMp3Info info = {};
        DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
        bool good = decoder != nullptr && decode(decoder.get(), bytes, {[] { return 300; }}) == whole;
        EXPECT_LE(heap.peak_bytes(), 64u << 10);
        decoder.reset();
        good = good && QU_MP3_info_get(from.get(), &info, 0) == 0 &&
               QU_MP3_decode_file(from.get(), to.get()) == 0;
        QuMp3Player player = QU_MP3_player_init(1, 100);
        EXPECT_EQ(good && player != nullptr, !heap.has_failed()) << n;
        QU_MP3_player_close(player);
        EXPECT_EQ(heap.live_blocks(), 0u) << n;
        failed = heap.has_failed() ? 1 : 0;
    }
}

}  // namespace
}  // namespace quorv::test
