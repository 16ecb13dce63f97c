// The decoder as its callers use it: pieces of any size, resets, conversion of rate and channels, damage.

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "support/FailingAllocator.h"
#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

// Two layers, both channel counts and changes between them.
Bytes mixed_stream() {
    return join({noise_stream(8), real_mp3_stream(), noise_stream(8, {48000, 1, 9}), noise_stream(8)});
}

TEST(Mp3Decoder, AnyCutAndAnyOutputGiveTheSameSamples) {
    const Bytes stream = mixed_stream(), whole = decode(stream);
    EXPECT_GT(whole.size(), 16 * 384 * 4 + 8 * 384 * 2 + 110 * 1152 * 4u);
    const Calls calls[] = {
        {[] { return 1; }},         {[] { return 417; }},   {[] { return 300; }, [] { return 7; }},
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
        EXPECT_EQ(input.result, call.consumed) << &call - calls;
        EXPECT_EQ(output.result, call.produced) << &call - calls;
    }
}

// In the middle of a frame's output, at the end, and within tags before the first frame and behind one.
TEST(Mp3Decoder, AResetDecoderIsANewOne) {
    const Bytes real = real_mp3_stream(), tag = first_of(id3v2_tag(50000), 40000);
    const Bytes streams[] = {real, noise_stream(9, {32000, 1, 9}), mixed_stream(), tag,
                             join({first_of(real, frame_starts(real)[9]), tag})};
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    for (const Bytes &next : {real, streams[1], streams[2]}) {
        const Bytes pcm = decode(next);
        for (Bytes stream : streams) {
            Bytes room(5000);
            QuMp3Buffer input = {stream.data(), static_cast<uint32_t>(stream.size()), 0},
                        output = {room.data(), 5000, 0};
            QU_MP3_decoder_read(decoder.get(), &input, &output);
            ASSERT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
            EXPECT_TRUE(decode(decoder.get(), next) == pcm);
            decode(decoder.get(), stream, {[] { return 300; }});
            ASSERT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
            EXPECT_TRUE(decode(decoder.get(), next) == pcm);
        }
    }
}

TEST(Mp3Decoder, GivesUpWithoutMemoryOrAFrameUntilItIsReset) {
    // Two frames in a row, and then only headers of frames that do not end where another begins: whether the
    // first two are true stays open.
    Bytes headers(40000);
    for (size_t at = 0; at < headers.size(); at += at < 417 ? 417 : 100)
        memcpy(&headers[at], Bytes{0xFF, 0xFB, static_cast<uint8_t>(at <= 417 ? 0x90 : 0xE0), 0}.data(), 4);
    Bytes mp3 = real_mp3_stream();
    const Bytes pcm = decode(mp3);
    struct Case {
        Bytes *stream;
        size_t piece;
        uint64_t failing;  // allocation from the first read on
        int32_t error;
    };
    for (const auto &[stream, piece, failing, error] : {Case{&headers, 300, 0, MP3_ERR_NEED_INPUT},
                                                        {&mp3, 300, 1, MP3_ERR_NEED_INPUT},
                                                        {&mp3, 60, 2, MP3_ERR_NEED_INPUT},
                                                        {&mp3, 50000, 1, MP3_ERR_NO_MEMORY}}) {
        SCOPED_TRACE(piece);
        const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
        int32_t code = 0;
        {
            const FailingAllocator heap(failing, FailureSpan::ForGood);
            decode(decoder.get(), *stream, {[p = piece] { return p; }}, &code);
        }
        EXPECT_EQ(code, QU_MP3_ERROR);
        EXPECT_EQ(QU_MP3_decoder_error(decoder.get()), error);
        ASSERT_EQ(QU_MP3_decoder_reset(decoder.get()), 0);
        EXPECT_TRUE(decode(decoder.get(), mp3) == pcm);
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
    for (const uint32_t channels : {1u, 2u}) {
        const Bytes stream = noise_stream(12, {48000, channels, 12});
        const std::vector<int16_t> full = samples_of(decode(stream)),
                                   half = samples_of(decode_to({0, 24000}, 48000, stream));
        for (const auto &[rate, step, is_half] : cases) {
            for (const uint32_t mode : {0u, 1u, 2u, 3u}) {
                const Bytes expected = convert(is_half ? half : full, channels, step, mode);
                for (const Calls &calls : {Calls{}, random_calls(mode, 900, 50)})
                    EXPECT_TRUE(decode_to({mode, rate}, 48000, stream, calls) == expected)
                        << rate << " Hz, mode " << mode << " of " << channels << " channels";
            }
        }
    }
}

TEST(Mp3Decoder, EqualiserChangesWhatItsPresetSays) {
    const Bytes stream = mixed_stream(), without = decode(stream);
    const auto energy = [](const Bytes &pcm) {
        double sum = 0;
        for (const double sample : samples_of(pcm))
            sum += sample * sample;
        return sum;
    };
    struct Case {
        uint32_t enable, preset;
        int change;  // of the sound's energy; 0: not a bit changes
    };
    for (const auto &[enable, preset, change] :
         {Case{1, 0, 0}, {1, 8, 0}, {0, 2, 0}, {1, 1, 1}, {1, 2, -1}, {1, 3, 1}, {1, 4, -1}, {7, 4, -1}}) {
        const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
        EXPECT_EQ(QU_MP3_decoder_EQ_enabled(enable, preset, decoder.get()), 0);
        const Bytes pcm = decode(decoder.get(), stream);
        EXPECT_EQ(pcm == without, change == 0) << "preset " << preset;
        EXPECT_GE((energy(pcm) - energy(without)) * change, 0) << "preset " << preset;
        ASSERT_EQ(pcm.size(), without.size());
    }
}

TEST(Mp3Hostile, CutsTakeTheEnd) {
    for (const Bytes &stream : {noise_stream(20), real_mp3_stream()}) {
        const Bytes whole = decode(stream);
        for (size_t length = 0; length < 2000; length += 7) {
            const Bytes pcm = decode(first_of(stream, length));
            EXPECT_TRUE(pcm == first_of(whole, pcm.size())) << length;
        }
    }
}

TEST(Mp3Hostile, DamageCostsFewFramesAndTheReasonIsTold) {
    const Bytes mp3 = real_mp3_stream(), noise = noise_stream(40, {48000, 2, 8});
    struct Damage {
        const Bytes *stream;
        uint32_t bit, width;  // of a field in the frame
        uint64_t value;       // of the field; without one, so many bytes are put in front of the frame
        int32_t error;        // 0: any
        size_t frame = 9;
    };
    std::vector<Damage> damages = {
        {&noise, 0, 8, 0, MP3_ERR_SYNC},
        {&noise, 11, 2, 1, MP3_ERR_SYNC},  // reserved version
        {&noise, 13, 2, 0, MP3_ERR_LAYER},
        {&noise, 16, 8, 0xF1, MP3_ERR_BITRATE},
        {&noise, 20, 2, 3, MP3_ERR_SAMPLE_RATE},
        {&noise, 15, 1, 0, MP3_ERR_CRC},
        {&noise, 8, 24, 0xFDC4C0, MP3_ERR_LAYER2_MODE},  // as long as three frames
        {&noise, 160, 64, 0xEEEEEEEEEEEEEEEE, MP3_ERR_SIDE_INFO},
        {&mp3, 15, 1, 0, MP3_ERR_CRC},
        {&mp3, 64, 9, 289, MP3_ERR_BIG_VALUES},
        {&mp3, 85, 3, 4, MP3_ERR_BLOCK_TYPE},
        {&mp3, 44, 44, uint64_t{15} << 40 | 6, MP3_ERR_SCFSI},
        {&mp3, 32, 9, 511, MP3_ERR_RESERVOIR, 0},
        {&mp3, 85, 6, 4, MP3_ERR_HUFFMAN, 38},   // there is no table 4
        {&mp3, 52, 12, 1, MP3_ERR_HUFFMAN, 38},  // a spectrum of one bit
    };
    for (const uint64_t length : {1u, 3u, 100u, 5000u})
        damages.insert(damages.end(), {{&mp3, 0, 0, length, 0, 40}, {&noise, 0, 0, length, 0}});
    Random random{3};
    for (const auto &[stream, bit, width, value, error, frame] : damages) {
        SCOPED_TRACE("bit " + std::to_string(bit) + ", value " + std::to_string(value));
        const size_t gives = stream == &noise ? 384 * 4 : 1152 * 4;
        Bytes broken = *stream;
        size_t start = 0;
        for (size_t i = 0; i < frame; ++i)
            start += stream == &noise ? 256u : 417u + (broken[start + 2] >> 1 & 1u);
        for (uint32_t i = 0; i < width; ++i) {
            const uint32_t at = bit + i, shift = 7 - at % 8;
            uint8_t &byte = broken[start + at / 8];
            byte = static_cast<uint8_t>((byte & ~(1u << shift)) | (value >> (width - 1 - i) & 1) << shift);
        }
        for (uint64_t i = 0; i < value && width == 0; ++i)
            broken.insert(broken.begin() + static_cast<ptrdiff_t>(start), static_cast<uint8_t>(random()));

        const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
        std::set<int32_t> told;  // before each call
        const Calls calls = {.room = [&] {
            told.insert(QU_MP3_decoder_error(decoder.get()));
            return 4608;
        }};
        const Bytes clean = decode(*stream), pcm = decode(decoder.get(), broken, calls);
        EXPECT_EQ(pcm == clean, width == 0);
        EXPECT_TRUE(told.contains(error));
        EXPECT_GE(pcm.size() + 5 * gives, clean.size());
        EXPECT_LE(pcm.size(), clean.size());
        EXPECT_TRUE(std::equal(clean.rbegin(), clean.rbegin() + static_cast<ptrdiff_t>(clean.size() / 2),
                               pcm.rbegin()));
        EXPECT_TRUE(decode(broken, random_calls(1, 3000, 3000)) == pcm);
    }
}

// Pairs of NAME.bit and NAME.pcm with the reference decoder's samples of 16 bits.
TEST(Mp3Decoder, ConformanceStreamsGiveTheirSamples) {
    const char *const folder = getenv("QUORV_VECTORS");
    if (folder == nullptr) GTEST_SKIP() << "QUORV_VECTORS is not set";
    size_t streams = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        std::filesystem::path path = entry.path();
        if (path.extension() != ".bit") continue;
        ++streams;
        const std::vector<int16_t> samples = samples_of(decode(bytes_of_file(path))),
                                   reference = samples_of(bytes_of_file(path.replace_extension(".pcm")));
        const size_t count = std::min(samples.size(), reference.size());
        double squares = 0;
        int largest = 0;
        for (size_t i = 0; i < count; ++i) {
            const int difference = std::abs(samples[i] - reference[i]);
            largest = std::max(largest, difference);
            squares += difference * difference;
        }
        const double psnr = 10 * std::log10(32767.0 * 32767.0 * static_cast<double>(count) / squares);
        printf("%s: PSNR %.2f, largest difference %d\n", path.stem().c_str(), psnr, largest);
        EXPECT_LE(largest, 1) << path;
        EXPECT_GE(psnr, 110) << path;
        // Behind the last frame: what the reference decoder's filter still holds, and zeros.
        const size_t end = std::min(reference.size(), count + 1024);
        EXPECT_EQ(std::count(reference.begin() + static_cast<ptrdiff_t>(end), reference.end(), 0),
                  static_cast<ptrdiff_t>(reference.size() - end))
            << path;
    }
    EXPECT_GT(streams, 0u);
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

// The headers in the data are of frames that another bit rate or a check word tells from the stream's.
TEST(Mp3Hostile, FreeFormatFramesEndAtAFrameOfTheirKind) {
    const Bytes known = noise_stream(20);
    Bytes stream = known;
    for (size_t at = 0; at < stream.size(); at += 276) {
        stream[at + 2] &= 0x0F;
        const Bytes false_headers = {0xFF, 0xFF, 0x80, 0xFF, 0xFE, 0, 0};
        std::copy(false_headers.begin(), false_headers.end(), &stream[at + 220]);
        stream[at + 275] = 0xFF;
    }
    EXPECT_TRUE(decode(stream) == decode(known));
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
