// The decoder as its callers use it: pieces of any size, resets, conversion of rate and channels, damage.

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <thread>

#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"

namespace quorv::test {
namespace {

const auto by_300 = [] { return 300; };

// Two layers, both channel counts and changes between them.
Bytes mixed_stream() {
    return join({noise_stream(8), real_mp3_stream(), noise_stream(8, {48000, 1, 9}), noise_stream(8)});
}

TEST(Mp3Decoder, AnyCutAndAnyOutputGiveTheSameSamples) {
    const Bytes stream = mixed_stream(), whole = decode(stream);
    EXPECT_GT(whole.size(), 16 * 384 * 4 + 8 * 384 * 2 + 110 * 1152 * 4u);
    const Calls calls[] = {{[] { return 1; }},         {[] { return 417; }},   {by_300, [] { return 7; }},
                           {.room = [] { return 4; }}, random_calls(1, 40, 9), random_calls(2, 2000, 5000)};
    for (size_t i = 0; i < std::size(calls); ++i)
        EXPECT_TRUE(decode(stream, calls[i]) == whole) << "calls " << i;
}

TEST(Mp3Decoder, ReportsWhatItTookAndGave) {
    Bytes bytes = noise_stream(4), pcm(1 << 16);
    const uint32_t size = static_cast<uint32_t>(bytes.size()), frame = size / 4, gives = 384 * 4;
    // Pieces of the stream by their start and length, and what a call has to answer: what is left of a large
    // piece stays with the caller, a small one is kept; less room than a sample is no room; the last frame
    // needs the end of the stream, which is padded once.
    struct Call {
        uint32_t start, length, room;
        int32_t code;
        uint32_t consumed, produced;
    };
    const Call calls[] = {{0, size, 3, QU_MP3_OUTPUT_FULL, frame, 0},
                          {frame, size - frame, 3, QU_MP3_OUTPUT_FULL, 0, 0},
                          {frame, size - frame, gives, QU_MP3_OK, 0, gives},
                          {frame, size - frame, gives + 7, QU_MP3_OUTPUT_FULL, 2 * frame, gives + 4},
                          {3 * frame, 100, gives, QU_MP3_NEED_INPUT, 0, gives - 4},
                          {3 * frame, 100, gives, QU_MP3_NEED_INPUT, 100, 0},
                          {3 * frame + 100, frame - 100, gives, QU_MP3_NEED_INPUT, frame - 100, 0},
                          {0, 0, gives, QU_MP3_OK, 0, gives},
                          {0, 0, gives, QU_MP3_NEED_INPUT, 0, 0}};
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    for (const Call &call : calls) {
        QuMp3Buffer input = {&bytes[call.start], call.length, 0}, output = {pcm.data(), call.room, 0};
        EXPECT_EQ(QU_MP3_decoder_read(decoder.get(), &input, &output), call.code) << &call - calls;
        EXPECT_TRUE(input.result == call.consumed && output.result == call.produced) << &call - calls;
    }
}

TEST(Mp3Decoder, SmallPiecesThatNeverMakeAFrameEndInAnError) {
    // Two frames in a row, and then only headers of frames that do not end where another begins: whether the
    // first two are true stays open.
    Bytes stream(40000);
    for (size_t at = 0; at < stream.size(); at += at < 417 ? 417 : 100)
        memcpy(&stream[at], Bytes{0xFF, 0xFB, static_cast<uint8_t>(at <= 417 ? 0x90 : 0xE0), 0}.data(), 4);
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    int32_t code = 0;
    decode(decoder.get(), stream, {by_300}, &code);
    EXPECT_EQ(code, QU_MP3_ERROR);
    EXPECT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
    EXPECT_TRUE(decode(decoder.get(), noise_stream(5)) == decode(noise_stream(5)));
}

TEST(Mp3Decoder, AResetDecoderIsANewOne) {
    const Bytes streams[] = {real_mp3_stream(), noise_stream(9, {32000, 1, 9}), mixed_stream()};
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    for (Bytes stream : streams) {
        for (const Bytes &next : streams) {
            // Left in the middle, with samples waiting.
            Bytes room(5000);
            QuMp3Buffer input = {stream.data(), static_cast<uint32_t>(stream.size()), 0},
                        output = {room.data(), 5000, 0};
            QU_MP3_decoder_read(decoder.get(), &input, &output);
            ASSERT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
            EXPECT_TRUE(decode(decoder.get(), next) == decode(next));
        }
    }
}

// What the interpolation, of a step in 1/128 samples, and the channel modes make of samples at the rate of
// the synthesis. A step of 0 is none.
Bytes convert(const std::vector<int16_t> &in, size_t channels, uint32_t step, uint32_t mode) {
    Bytes out;
    const auto put = [&out](int sample) {
        out.insert(out.end(), {static_cast<uint8_t>(sample), static_cast<uint8_t>(sample >> 8)});
    };
    const bool mixes = channels == 2 && (step == 0 ? mode == 1 : mode != 0 && mode != 2);
    const size_t end = in.size() / channels - (step == 0 ? 0 : 1);
    for (size_t position = 0; position / 128 < end; position += step == 0 ? 128 : step) {
        const int16_t *a = &in[position / 128 * channels], *b = step == 0 ? a : a + channels;
        const int f = static_cast<int>(position % 128), first = a[0] + a[channels - 1],
                  second = b[0] + b[channels - 1];
        if (mixes) put(step == 0 ? first >> 1 : (first * 128 + 128 + f * (second - first)) >> 8);
        for (size_t c = 0; c < channels && !mixes; ++c)
            put((a[c] * 128 + 64 + f * (b[c] - a[c])) >> 7);
        if (channels == 1 && mode == 2 && step == 0) put(a[0]);
    }
    return out;
}

TEST(Mp3Decoder, RatesAndChannelsAreConvertedByTheFormula) {
    struct Case {
        uint32_t rate, step;  // wanted of 48000; that of the interpolation
        bool is_half;         // the synthesis runs at half rate
    };
    const Case cases[] = {{0, 0, false},      {48000, 0, false},   {96000, 0, false},   {47999, 0, false},
                          {24000, 0, true},   {32000, 192, false}, {44100, 139, false}, {16000, 192, true},
                          {12000, 256, true}, {7000, 439, true},   {1, 32767, true}};
    const QuMp3Config config = {2, 3, 48000};
    for (const uint32_t channels : {1u, 2u}) {
        const Bytes stream = noise_stream(12, {48000, channels, 12});
        const auto run = [&](uint32_t mode, uint32_t rate, const Calls &calls) {
            const QuMp3OutputRequest request = {mode, rate};
            const DecoderHolder decoder(QU_MP3_decoder_init(&config, &request));
            return decode(decoder.get(), stream, calls);
        };
        const std::vector<int16_t> full = samples_of(decode(stream)), half = samples_of(run(0, 24000, {}));
        ASSERT_TRUE(full.size() == 12 * 384 * channels && half.size() == full.size() / 2);
        for (const Case &each : cases) {
            for (const uint32_t mode : {0u, 1u, 2u, 3u}) {
                const Bytes expected = convert(each.is_half ? half : full, channels, each.step, mode);
                EXPECT_TRUE(run(mode, each.rate, {}) == expected) << each.rate << " Hz, mode " << mode;
                EXPECT_TRUE(run(mode, each.rate, random_calls(mode, 900, 50)) == expected) << each.rate;
            }
        }
    }
}

TEST(Mp3Decoder, DecodersInTwoThreadsDoNotTouchEachOther) {
    const Bytes streams[] = {real_mp3_stream(), noise_stream(200)};
    Bytes results[2];
    const auto run = [&](size_t i) { results[i] = decode(streams[i], random_calls(5, 3000, 3000)); };
    std::thread first(run, 0), second(run, 1);
    first.join();
    second.join();
    EXPECT_TRUE(results[0] == decode(streams[0]) && results[1] == decode(streams[1]));
}

Bytes first_of(const Bytes &bytes, size_t size) {
    return {bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)};
}

TEST(Mp3Hostile, TagsChangeNothing) {
    for (const Bytes &stream : {noise_stream(20), real_mp3_stream()}) {
        const Bytes id3v1 = join({text("TAG"), Bytes(125, ' ')});
        const Bytes ape =
            join({text("APETAGEX"), le32(2000), le32(64), Bytes(48), text("APETAGEX"), Bytes(24)});
        EXPECT_TRUE(decode(join({id3v2_tag(10), id3v2_tag(5000), stream, ape, id3v1})) == decode(stream));
    }
}

TEST(Mp3Hostile, GarbageBetweenFramesCostsFewFrames) {
    Random random{3};
    for (const auto &[stream, frame_bytes] :
         {std::pair(real_mp3_stream(), 1152 * 4u), {noise_stream(100), 384 * 4u}}) {
        const Bytes clean = decode(stream), head = first_of(stream, stream.size() / 3);
        const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(head.size()), stream.end());
        for (const size_t length : {1u, 3u, 100u, 5000u}) {
            Bytes garbage(length);
            std::generate(garbage.begin(), garbage.end(), [&] { return static_cast<uint8_t>(random()); });
            const Bytes broken = join({head, garbage, rest}), pcm = decode(broken);
            EXPECT_GE(pcm.size() + 5 * frame_bytes, clean.size()) << length;
            EXPECT_LE(pcm.size(), clean.size() + frame_bytes) << length;
            EXPECT_TRUE(std::equal(clean.rbegin(), clean.rbegin() + static_cast<ptrdiff_t>(clean.size() / 2),
                                   pcm.rbegin()));
            EXPECT_TRUE(decode(broken, random_calls(1, 3000, 3000)) == pcm) << length;
        }
    }
}

TEST(Mp3Hostile, FlippedBitsCutsAndNoiseAreSurvived) {
    Random random{7};
    const Bytes stream = first_of(real_mp3_stream(), 8000), clean = decode(stream);
    for (int turn = 0; turn < 300; ++turn) {
        Bytes broken = stream;
        for (uint32_t flips = 1 + random() % 30; flips > 0; --flips)
            broken[random() % broken.size()] ^= static_cast<uint8_t>(1 << random() % 8);
        EXPECT_LE(decode(broken, random_calls(random(), 2000, 6000)).size(), clean.size() + 4608);
    }
    for (size_t length = 0; length < 2000; length += 7) {
        const Bytes pcm = decode(first_of(stream, length));
        EXPECT_TRUE(pcm == first_of(clean, pcm.size())) << length;
    }
    Bytes noise(100000);
    for (uint8_t &byte : noise)
        byte = static_cast<uint8_t>(random() % 4 == 0 ? 0xFF : random());
    decode(noise, random_calls(1, 5000, 5000));
}

// Every frame of the sample file turned up, 1.5 dB a step, as tools do that do not decode.
TEST(Mp3Hostile, WhatIsFarOverFullScaleSaturates) {
    const Bytes stream = real_mp3_stream();
    const std::vector<int16_t> clean = samples_of(decode(stream));
    for (const uint32_t steps : {6u, 8u, 10u, 12u, 14u, 16u}) {
        Bytes loud = stream;
        for (size_t frame = 0; frame < loud.size(); frame += 417u + (loud[frame + 2] >> 1 & 1u)) {
            for (size_t bit = 73; bit < 73 + 4 * 59; bit += 59) {  // global_gain of each granule and channel
                uint8_t *const at = &loud[frame + bit / 8];
                const uint32_t word = at[0] * 256u + at[1] + (steps << (8 - bit % 8));
                at[0] = static_cast<uint8_t>(word >> 8);
                at[1] = static_cast<uint8_t>(word);
            }
        }
        const std::vector<int16_t> samples = samples_of(decode(loud));
        ASSERT_EQ(samples.size(), clean.size());
        const double factor = std::exp2(steps / 4.0);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_NEAR(samples[i], std::clamp(clean[i] * factor, -32768.0, 32767.0), factor / 2 + 1)
                << steps;
    }
}

TEST(Mp3Hostile, FreeFormatFramesEndWhereNoneCanBeLonger) {
    for (const auto &[length, frames] : {std::pair(1000u, 9u), {3000u, 0u}}) {
        Bytes stream(size_t{9} * length);
        for (size_t at = 0; at < stream.size(); at += length)
            stream[at] = stream[at + 1] = 0xFF;  // Layer I at 44100 Hz: 919 or 2757 kbit/s
        EXPECT_EQ(decode(stream).size(), frames * 384 * 4u);
    }
}

}  // namespace
}  // namespace quorv::test
