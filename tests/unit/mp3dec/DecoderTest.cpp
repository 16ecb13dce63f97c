// The decoder as its callers use it: pieces of any size, resets, and conversion of rate and channels.

#include <gtest/gtest.h>
#include <string.h>

#include <thread>

#include "support/FailingAllocator.h"
#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"

namespace quorv::test {
namespace {

// All layers that need no encoder, both channel counts, and changes between them.
Bytes mixed_stream() {
    return join(
        {noise_stream(8), real_mp3_stream(), noise_stream(8, {48000, 1, 9}, 2), noise_stream(8, {}, 3)});
}

TEST(Mp3Decoder, AnyCutAndAnyOutputGiveTheSameSamples) {
    const Bytes stream = mixed_stream();
    const Bytes whole = decode(stream);
    // Every frame counts but the first ones of the MP3 track, whose reservoir is not there.
    EXPECT_GT(whole.size(), (8 + 8) * 384 * 4 + 8 * 384 * 2 + 110 * 1152 * 4u);
    const Calls calls[] = {
        {[] { return 1; }},         {[] { return 2; }},         {[] { return 417; }},
        {[] { return 1000; }},      random_calls(1, 40, 9),     random_calls(2, 2000, 5000),
        {.room = [] { return 4; }}, {.room = [] { return 7; }}, {.room = [] { return 4607; }},
    };
    for (size_t i = 0; i < std::size(calls); ++i)
        EXPECT_TRUE(decode(stream, calls[i]) == whole) << "calls " << i;
}

TEST(Mp3Decoder, ReportsWhatItTookAndGave) {
    Bytes bytes = noise_stream(4), pcm(1 << 16);
    const auto size = static_cast<uint32_t>(bytes.size()), frame = size / 4;
    const uint32_t gives = 384 * 4;
    // Pieces of the stream by their start and length, and what a call has to answer.
    struct Call {
        uint32_t start, length, room;
        int32_t code;
        uint32_t consumed, produced;
    };
    const std::vector<Call> runs[] = {
        // A piece that is too short is kept; the last frame needs the end of the stream, which is padded
        // once.
        {{0, 100, 9999, QU_MP3_NEED_INPUT, 100, 0},
         {100, 2 * frame, 9999, QU_MP3_NEED_INPUT, 2 * frame, 0},
         {2 * frame + 100, size - 2 * frame - 100, 9999, QU_MP3_NEED_INPUT, size - 2 * frame - 100,
          3 * gives},
         {0, 0, 9999, QU_MP3_NEED_INPUT, 0, gives},
         {0, 0, 9999, QU_MP3_NEED_INPUT, 0, 0}},
        // What is left of a large piece stays with the caller; less room than a sample is no room.
        {{0, size, 9999, QU_MP3_NEED_INPUT, 3 * frame, 3 * gives}},
        {{0, size, 3, QU_MP3_OUTPUT_FULL, frame, 0},
         {frame, size - frame, 3, QU_MP3_OUTPUT_FULL, 0, 0},
         {frame, size - frame, gives, QU_MP3_OK, 0, gives},
         {frame, size - frame, gives + 7, QU_MP3_OUTPUT_FULL, 2 * frame, gives + 4},
         {3 * frame, frame, gives, QU_MP3_NEED_INPUT, 0, gives - 4},
         {3 * frame, frame, gives, QU_MP3_NEED_INPUT, frame, 0},
         {0, 0, gives, QU_MP3_OK, 0, gives},
         {0, 0, gives, QU_MP3_NEED_INPUT, 0, 0}},
    };
    for (const std::vector<Call> &calls : runs) {
        const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
        for (const Call &call : calls) {
            QuMp3Buffer input = {&bytes[call.start], call.length, 0}, output = {pcm.data(), call.room, 0};
            EXPECT_EQ(QU_MP3_decoder_read(decoder.get(), &input, &output), call.code) << &call - calls.data();
            EXPECT_EQ(input.result, call.consumed) << &call - calls.data();
            EXPECT_EQ(output.result, call.produced) << &call - calls.data();
        }
    }
}

TEST(Mp3Decoder, PiecesThatNeverMakeAFrameEndInAnError) {
    // Two frames in a row, and then only headers of frames that do not end where another begins: whether the
    // first two are true stays open.
    Bytes stream(40000);
    const auto put = [&](size_t at, uint8_t bitrate) {
        memcpy(&stream[at], Bytes{0xFF, 0xFB, bitrate, 0}.data(), 4);
    };
    put(0, 0x90);
    put(417, 0x90);
    for (size_t at = 500; at < stream.size(); at += 100)
        put(at, 0xE0);
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    int32_t code = 0;
    decode(decoder.get(), stream, {[] { return 100; }}, &code);
    EXPECT_EQ(code, QU_MP3_ERROR);
    EXPECT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
    EXPECT_TRUE(decode(decoder.get(), noise_stream(5)) == decode(noise_stream(5)));
}

TEST(Mp3Decoder, AResetDecoderIsANewOne) {
    const Bytes streams[] = {real_mp3_stream(), noise_stream(9, {32000, 1, 9}), mixed_stream()};
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    for (const Bytes &stream : streams) {
        // Left in the middle, with samples waiting.
        Bytes half(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(stream.size() / 2)), room(5000);
        QuMp3Buffer input = {half.data(), static_cast<uint32_t>(half.size()), 0},
                    output = {room.data(), 5000, 0};
        QU_MP3_decoder_read(decoder.get(), &input, &output);
        for (const Bytes &next : streams) {
            ASSERT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
            EXPECT_TRUE(decode(decoder.get(), next) == decode(next));
        }
    }
}

// What the interpolation and the channel modes make of samples at the rate of the synthesis.
Bytes convert(const std::vector<int16_t> &in, size_t channels, uint32_t step, uint32_t mode) {
    const size_t count = in.size() / channels;
    std::vector<int> out;
    for (uint64_t position = 0; step != 0 && position / 128 + 1 < count; position += step) {
        const int16_t *a = &in[position / 128 * channels], *b = a + channels;
        const int f = static_cast<int>(position % 128);
        if (channels == 2 && mode != 0 && mode != 2) {
            const int first = a[0] + a[1], second = b[0] + b[1];
            out.push_back((first * 128 + 128 + f * (second - first)) >> 8);
        } else {
            for (size_t c = 0; c < channels; ++c)
                out.push_back((a[c] * 128 + 64 + f * (b[c] - a[c])) >> 7);
        }
    }
    for (size_t i = 0; step == 0 && i < count; ++i) {
        const int16_t *a = &in[i * channels];
        if (channels == 2 && mode == 1) {
            out.push_back((a[0] + a[1]) >> 1);
        } else if (channels == 1 && mode == 2) {
            out.insert(out.end(), 2, a[0]);
        } else {
            out.insert(out.end(), a, a + channels);
        }
    }
    Bytes bytes;
    for (const int sample : out)
        bytes.insert(bytes.end(), {static_cast<uint8_t>(sample), static_cast<uint8_t>(sample >> 8)});
    return bytes;
}

TEST(Mp3Decoder, RatesAndChannelsAreConvertedByTheFormula) {
    struct Case {
        uint32_t rate;  // wanted of 48000
        uint32_t step;  // of the interpolation in 1/128 samples of the synthesis, 0 for none
        bool is_half;   // the synthesis runs at half rate
    };
    const Case cases[] = {{0, 0, false},       {48000, 0, false},   {96000, 0, false},   {24000, 0, true},
                          {32000, 192, false}, {44100, 139, false}, {47999, 128, false}, {16000, 192, true},
                          {12000, 256, true},  {7000, 439, true},   {1, 32767, true}};
    for (const uint32_t channels : {1u, 2u}) {
        const Bytes stream = noise_stream(12, {48000, channels, 12});
        const QuMp3Config config = {2, 3, 48000};
        const auto run = [&](uint32_t mode, uint32_t rate, const Calls &calls) {
            const QuMp3OutputRequest request = {mode, rate};
            const DecoderHolder decoder(QU_MP3_decoder_init(&config, &request));
            return decode(decoder.get(), stream, calls);
        };
        const std::vector<int16_t> full = samples_of(decode(stream)), half = samples_of(run(0, 24000, {}));
        ASSERT_EQ(full.size(), 12 * 384 * channels);
        ASSERT_EQ(half.size(), full.size() / 2);
        for (const Case &each : cases) {
            // As of 47999, a request may round to the stream's own rate.
            const uint32_t step = each.rate == 47999 ? 0 : each.step;
            for (const uint32_t mode : {0u, 1u, 2u, 3u}) {
                const Bytes expected = convert(each.is_half ? half : full, channels, step, mode);
                EXPECT_TRUE(run(mode, each.rate, {}) == expected) << each.rate << " Hz, mode " << mode;
                EXPECT_TRUE(run(mode, each.rate, random_calls(mode, 900, 50)) == expected) << each.rate;
            }
        }
    }
}

TEST(Mp3Decoder, EveryAllocationMayFail) {
    const Bytes stream = join({noise_stream(4), real_mp3_stream()});
    const Bytes whole = decode(stream, {[] { return 300; }});
    for (uint64_t n = 1, failures = 1; failures != 0; ++n) {
        const FailingAllocator heap(n);
        const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
        int32_t code = -1;
        const Bytes pcm = decoder ? decode(decoder.get(), stream, {[] { return 300; }}, &code) : Bytes{};
        failures = heap.has_failed() ? 1 : 0;
        EXPECT_TRUE(failures != 0 ? !decoder || code == QU_MP3_ERROR : pcm == whole) << n;
        QuMp3Player player = QU_MP3_player_init(0, 100);
        QU_MP3_player_close(player);
    }
    const FailingAllocator heap;
    decode(stream, {[] { return 300; }});
    EXPECT_EQ(heap.live_blocks(), 0u);
    EXPECT_LE(heap.peak_bytes(), 64u << 10);
}

TEST(Mp3Decoder, DecodersInTwoThreadsDoNotTouchEachOther) {
    const Bytes streams[] = {real_mp3_stream(), noise_stream(200)};
    Bytes results[2];
    std::thread threads[2];
    for (size_t i = 0; i < 2; ++i)
        threads[i] = std::thread([&, i] { results[i] = decode(streams[i], random_calls(5, 3000, 3000)); });
    for (size_t i = 0; i < 2; ++i) {
        threads[i].join();
        EXPECT_TRUE(results[i] == decode(streams[i]));
    }
}

}  // namespace
}  // namespace quorv::test
