// Streams that are damaged, cut short or mixed with other data: the decoder finds its way back.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"

namespace quorv::test {
namespace {

Bytes tail_of(const Bytes &pcm, size_t size) {
    return {pcm.end() - static_cast<ptrdiff_t>(std::min(size, pcm.size())), pcm.end()};
}

TEST(Mp3Hostile, TagsChangeNothing) {
    for (const Bytes &stream : {noise_stream(20), real_mp3_stream()}) {
        const Bytes clean = decode(stream);
        const Bytes id3v1 = join({text("TAG"), Bytes(125, ' ')});
        const Bytes ape =
            join({text("APETAGEX"), le32(2000), le32(64), Bytes(48), text("APETAGEX"), Bytes(24)});
        EXPECT_TRUE(decode(join({id3v2_tag(5000), stream})) == clean);
        EXPECT_TRUE(decode(join({stream, id3v1})) == clean);
        EXPECT_TRUE(decode(join({id3v2_tag(10), id3v2_tag(1000), stream, ape, id3v1})) == clean);
    }
}

TEST(Mp3Hostile, GarbageBetweenFramesCostsFewFrames) {
    Random random{3};
    const Bytes real = real_mp3_stream(), noise = noise_stream(100);
    for (const auto &[stream, frame_bytes] :
         {std::pair(real, size_t{1152 * 4}), std::pair(noise, size_t{384 * 4})}) {
        const Bytes clean = decode(stream);
        const size_t whole = clean.size() / frame_bytes;
        for (const size_t length : {1u, 3u, 100u, 5000u}) {
            Bytes garbage(length);
            std::generate(garbage.begin(), garbage.end(), [&] { return static_cast<uint8_t>(random()); });
            const auto middle = stream.begin() + static_cast<ptrdiff_t>(stream.size() / 3);
            const Bytes broken = join({Bytes(stream.begin(), middle), garbage, Bytes(middle, stream.end())});
            const Bytes pcm = decode(broken);
            const size_t frames = pcm.size() / frame_bytes;
            EXPECT_GE(frames + 5, whole) << length;
            EXPECT_LE(frames, whole + 1) << length;
            EXPECT_TRUE(tail_of(pcm, clean.size() / 2) == tail_of(clean, clean.size() / 2)) << length;
            EXPECT_TRUE(decode(broken, random_calls(1, 3000, 3000)) == pcm) << length;
        }
    }
}

TEST(Mp3Hostile, FlippedBitsCutsAndNoiseAreSurvived) {
    Random random{7};
    const Bytes whole = real_mp3_stream();
    const Bytes stream(whole.begin(), whole.begin() + 8000);
    const Bytes clean = decode(stream);
    for (int turn = 0; turn < 300; ++turn) {
        Bytes broken = stream;
        for (unsigned flips = 1 + random() % 30; flips > 0; --flips)
            broken[random() % broken.size()] ^= static_cast<uint8_t>(1 << random() % 8);
        EXPECT_LE(decode(broken, random_calls(random(), 2000, 6000)).size(), clean.size() + 4608);
    }
    for (size_t length = 0; length < 2000; length += 7) {
        const Bytes cut(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(length));
        const Bytes pcm = decode(cut);
        EXPECT_TRUE(pcm == Bytes(clean.begin(), clean.begin() + static_cast<ptrdiff_t>(pcm.size())))
            << length;
    }
    Bytes noise(100000);
    std::generate(noise.begin(), noise.end(),
                  [&] { return static_cast<uint8_t>(random() | (random() % 4 == 0 ? 0xFF : 0)); });
    decode(noise, random_calls(1, 5000, 5000));
}

TEST(Mp3Hostile, WrongArgumentsAreTold) {
    uint8_t byte = 0;
    QuMp3Buffer good = {&byte, 1, 0}, bad = {nullptr, 1, 0};
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    EXPECT_EQ(QU_MP3_decoder_read(nullptr, &good, &good), -1);
    EXPECT_EQ(QU_MP3_decoder_read(decoder.get(), nullptr, &good), -1);
    EXPECT_EQ(QU_MP3_decoder_read(decoder.get(), &good, nullptr), -1);
    EXPECT_EQ(QU_MP3_decoder_read(decoder.get(), &bad, &good), -1);
    EXPECT_EQ(QU_MP3_decoder_reset(nullptr), -1);
    EXPECT_EQ(QU_MP3_decoder_error(nullptr), -1);
    EXPECT_EQ(QU_MP3_decoder_EQ_enabled(1, 1, nullptr), -1);
    EXPECT_EQ(QU_MP3_player_output(nullptr), -1);
    EXPECT_EQ(QU_MP3_player_init(0, 0), nullptr);
    QU_MP3_decoder_close(nullptr);
    QU_MP3_player_close(nullptr);
}

}  // namespace
}  // namespace quorv::test
