// The decoder against the formulas of the standard in double precision: the stages of Layer III, and Layer I
// whole, with the synthesis that all layers share.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <numeric>
#include <span>
#include <vector>

#include "mp3dec/kernels/Window.h"
#include "mp3dec/Mp3Decoder.h"
#include "mp3dec/Mp3Hybrid.h"
#include "mp3dec/Mp3Requantize.h"
#include "mp3dec/tables/ScaleFactorBands.h"
#include "mp3dec/tables/SynthesisTables.h"
#include "support/Mp3Streams.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

constexpr double kPi = std::numbers::pi;

// Up to 2^bits in size.
int32_t random_value(int bits) {
    static Random random{1};
    return static_cast<int32_t>(random()) >> (31 - bits);
}

TEST(Mp3Kernels, RequantiseByThePowerLaw) {
    // Half a unit of the result for its rounding, and 2^-22 of the value for the table's.
    for (int32_t exponent : {-40, 0, 11, 12, 13, 50, 91, 130, 131, 132, 203, 360}) {
        const auto expect_power = [exponent](int32_t value, int32_t line) {
            const double exact =
                std::pow(std::abs(value), 4 / 3.0) * std::exp2(kSpectrumBits - exponent / 4.0);
            const double expected = std::copysign(std::min(exact, std::exp2(30) - 1), value);
            ASSERT_NEAR(line, expected, 0.5 + std::abs(expected) * std::exp2(-22))
                << value << " with exponent " << exponent;
        };
        for (int32_t value = -8206; value <= 8206; ++value)
            expect_power(value, mp3_requantize_value(value, exponent));
        int32_t lines[31];
        std::iota(lines, lines + 31, -15);
        mp3_requantize_band(mp3_portable_kernels(), lines, 31, exponent);
        for (int32_t value = -15; value <= 15; ++value)
            expect_power(value, lines[15 + value]);
    }
}

TEST(Mp3Kernels, FitTheirBitsToTheLoudestLine) {
    // A line of magnitude 1 is 2^((gain - 208) / 4); one of 2^8 takes more bits than there are.
    for (const auto &[gain, extra, line] : std::initializer_list<std::array<int, 3>>{
             {160, 3, 1 << 18}, {196, 0, 1 << 24}, {240, -1, (1 << 30) - 1}}) {
        Mp3FrameHeader header{};
        header.scale_factor_bands = sfband[0];
        Mp3Granule granule{};
        granule.global_gain = static_cast<uint16_t>(gain);
        int32_t lines[kMp3GranuleLines] = {1};
        Mp3Spectrum spectrum;
        spectrum.lines = lines;
        spectrum.coded = 2;
        spectrum.magnitudes = 1;
        EXPECT_EQ(mp3_extra_bits(header, granule, spectrum), extra);
        mp3_requantize(mp3_portable_kernels(), header, granule, {}, extra, &spectrum);
        EXPECT_EQ(lines[0], line);
    }
}

double block_window(uint32_t type, uint32_t i) {
    if (type == 3) return block_window(1, 35 - i);
    if (type == 1 && i >= 18) return i < 24 ? 1 : i < 30 ? std::sin(kPi / 12 * (i - 18 + 0.5)) : 0;
    return std::sin(kPi / 36 * (i + 0.5));
}

// ISO/IEC 11172-3, 2.4.3.4.10.2 and 2.4.3.4.10.3.
void imdct_textbook(const double *lines, uint32_t type, double output[36]) {
    std::fill(output, output + 36, 0.0);
    const uint32_t windows = type == 2 ? 3 : 1, n = type == 2 ? 12 : 36;
    for (uint32_t w = 0; w < windows; ++w) {
        for (uint32_t i = 0; i < n; ++i) {
            double sum = 0;
            for (uint32_t k = 0; k < n / 2; ++k)
                sum += lines[windows * k + w] * std::cos(kPi / (2 * n) * (2 * i + 1 + n / 2) * (2 * k + 1));
            const double window = type == 2 ? std::sin(kPi / 12 * (i + 0.5)) : block_window(type, i);
            output[type == 2 ? 6 + 6 * w + i : i] += sum * window;
        }
    }
}

void reduce_alias_textbook(std::vector<double> &lines, uint32_t edges) {
    constexpr double kCi[8] = {-0.6, -0.535, -0.33, -0.185, -0.095, -0.041, -0.0142, -0.0037};
    for (uint32_t edge = 1; edge <= edges; ++edge) {
        for (uint32_t i = 0; i < 8; ++i) {
            const double scale = std::sqrt(1 + kCi[i] * kCi[i]);
            double &below = lines[18 * edge - 1 - i], &above = lines[18 * edge + i];
            const double a = below, b = above;
            below = (a - b * kCi[i]) / scale;
            above = (b + a * kCi[i]) / scale;
        }
    }
}

TEST(Mp3Kernels, MakeSubbandSamplesByTheImdctSum) {
    const auto channel = std::make_unique<Mp3Channel>();
    const Mp3Kernels kernels = mp3_portable_kernels();
    const auto saturated = [](double value) { return std::clamp(value, -1.0 * INT32_MAX, 1.0 * INT32_MAX); };
    std::vector<double> overlap(576);
    for (uint32_t round = 0; round < 60; ++round) {
        // Every ninth round and the next one have sums beyond 32 bits; the one behind has their overlap, but
        // leaves one that was made with four bits less, too.
        const bool loud = round % 9 < 2;
        const double tolerance = round % 9 < 4 ? 8 * 16 : 8;
        Mp3Granule granule{};
        granule.block_type = static_cast<uint8_t>(round % 4);
        if (round % 5 == 0 && granule.block_type != 0) granule.flags = kMp3MixedBlock;
        const uint32_t count = round % 7 == 0 ? static_cast<uint32_t>(random_value(8) + 256) : 576,
                       extra = loud ? 0 : round % 4;
        std::vector<double> lines(576);
        for (uint32_t i = 0; i < 576; ++i) {
            channel->spectrum[i] = i < count ? random_value(loud ? 30 : 26) : 0;
            lines[i] = channel->spectrum[i] / std::sqrt(2) / std::exp2(kSpectrumBits + extra - kSampleBits);
        }
        const bool mixed = granule.flags != 0;
        reduce_alias_textbook(lines, granule.block_type != 2 ? 31 : mixed ? 1 : 0);
        channel->is_loud = false;
        mp3_imdct(kernels, channel.get(), granule, {count, static_cast<int32_t>(extra)}, 18);
        double sums[18] = {};  // of the magnitudes in a slot
        for (uint32_t sb = 0; sb < 32; ++sb) {
            double output[36];
            imdct_textbook(&lines[18 * sb], mixed && sb < 2 ? 0 : granule.block_type, output);
            for (uint32_t i = 0; i < 18; ++i) {
                const double expected =
                    saturated(output[i] + overlap[18 * sb + i]) * (sb % 2 != 0 && i % 2 != 0 ? -1 : 1);
                // The 18 lines' errors of two rotations each, and that of the window's rounding.
                ASSERT_NEAR(channel->samples()[18 + i][sb], expected, tolerance)
                    << "block type " << round % 4 << " subband " << sb;
                overlap[18 * sb + i] = saturated(output[18 + i]);
                sums[i] += std::abs(expected);
            }
        }
        const double largest = *std::max_element(sums, sums + 18);
        EXPECT_TRUE(channel->is_loud || largest < kMp3SafeSum * 65536.0) << largest;
    }
}

// The standard's window, in units of 2^-16, out of the decoder's order of it; D[16 + 64p] meets zeros only.
std::vector<double> standard_window() {
    std::vector<double> d(512);
    for (uint32_t p = 0; p < 8; ++p) {
        for (uint32_t j = 0; j < 16; ++j) {
            d[64 * p + j] = kSynthesisWindow[0][j][p] / 16;
            d[64 * p + j + 32] = -kSynthesisWindow[0][j][8 + p] / 16;
            d[64 * p + 31 - j] = -kSynthesisWindow[1][j][p] / 16;
            d[64 * p + 63 - j] = -kSynthesisWindow[1][j][8 + p] / 16;
        }
    }
    return d;
}

// ISO/IEC 11172-3, figure A.2; of half the rate, every second sample of half the subbands.
std::vector<double> synthesise(const std::vector<double> &subbands, uint32_t step) {
    const std::vector<double> window = standard_window();
    std::vector<double> v(1024), samples;
    for (size_t slot = 0; slot < subbands.size(); slot += 32) {
        v.insert(v.begin(), 64, 0.0);
        v.resize(1024);
        for (uint32_t i = 0; i < 64; ++i) {
            for (uint32_t k = 0; k < 32 / step; ++k)
                v[i] += subbands[slot + k] * std::cos((16 + i) * (2 * k + 1) * kPi / 64);
        }
        for (uint32_t j = 0; j < 32; j += step) {
            double sum = 0;
            for (uint32_t i = 0; i < 8; ++i)
                sum += v[i * 128 + j] * window[j + 64 * i] + v[i * 128 + 96 + j] * window[j + 64 * i + 32];
            samples.push_back(std::clamp(sum / 2, -32768.0, 32767.0));
        }
    }
    return samples;
}

TEST(Mp3Kernels, LayerOneSamplesAreThoseOfTheTextbook) {
    for (const auto &[channels, step] : {std::pair(1u, 1u), {1u, 2u}, {2u, 1u}, {2u, 2u}}) {
        std::vector<double> subbands[2];
        const Bytes stream = noise_stream(12, {48000, channels, 9}, subbands);
        const std::vector<int16_t> samples = samples_of(decode_to({0, 48000 / step}, 48000, stream));
        for (size_t channel = 0; channel < channels; ++channel) {
            const std::vector<double> expected = synthesise(subbands[channel], step);
            ASSERT_EQ(samples.size(), expected.size() * channels);
            for (size_t i = 0; i < expected.size(); ++i) {
                // Rounded to 16 bits by way of 24; everything before adds less than 1/128.
                ASSERT_NEAR(samples[i * channels + channel], expected[i], 0.508) << channels << ' ' << step;
            }
        }
    }
}

// Sums of more than 32 bits saturate; the samples that come of them have the same sign everywhere.
TEST(Mp3Kernels, SynthesiseFarOverFullScale) {
    const std::vector<double> window = standard_window();
    Mp3Frame frame{};
    Mp3Synthesis synthesis{};
    ASSERT_TRUE(frame_init(&frame));
    ASSERT_EQ(synth_init_zev(&synthesis, 3, 128), 0);
    frame.channels[0].is_loud = true;
    std::vector<double> v(1024), expected;
    for (uint32_t slot = 0; slot < kMp3MaxSlots; ++slot) {
        v.insert(v.begin(), 64, 0.0);
        for (uint32_t k = 0; k < kMp3Subbands; ++k) {
            frame.channels[0].samples()[slot][k] = random_value(26 + static_cast<int>(slot) / 6);
            for (uint32_t i = 0; i < 64; ++i)
                v[i] += frame.channels[0].samples()[slot][k] * std::cos((16 + i) * (2 * k + 1) * kPi / 64);
        }
        std::transform(v.begin(), v.begin() + 64, v.begin(),
                       [](double value) { return std::clamp(value, -1.0 * kMp3MaxT, 1.0 * kMp3MaxT); });
        for (uint32_t j = 0; j < 32; ++j) {
            double sum = 0;
            for (uint32_t i = 0; i < 8; ++i)
                sum += v[i * 128 + j] * window[j + 64 * i] + v[i * 128 + 96 + j] * window[j + 64 * i + 32];
            expected.push_back(std::clamp(sum / std::exp2(kSampleBits + 1), -32768.0, 32767.0));
        }
    }
    mp3_subsynth(frame.kernels, frame.channels.get(), {1, kMp3MaxSlots, nullptr}, &synthesis);
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(synthesis.pcm->mono[i], expected[i], 0.75) << i;
    synth_close(&synthesis);
}

// What a set of kernels makes of coded values.
std::vector<int32_t> run_on_codes(const Mp3Kernels &kernels, uint32_t seed) {
    Random random{seed};
    std::vector<int32_t> results;
    // Counts that no number of lanes divides.
    for (const uint32_t count : {1u, 4u, 6u, 21u, 102u}) {
        std::vector<int32_t> lines(count);
        std::generate(lines.begin(), lines.end(), [&] { return static_cast<int32_t>(random() % 31) - 15; });
        mp3_requantize_band(kernels, lines.data(), count, 12 + static_cast<int32_t>(random() % 117));
        results.insert(results.end(), lines.begin(), lines.end());
    }
    Mp3Slot slots[kMp3MaxSlots], factors;
    for (Mp3Slot &slot : slots)
        std::generate(std::begin(slot), std::end(slot), [&] { return static_cast<int32_t>(random()) >> 1; });
    std::generate(std::begin(factors), std::end(factors),
                  [&] { return static_cast<int32_t>(random() >> 1 >> random() % 24) & ~1; });
    slots[5][random() % 32] = 1 << 30;
    kernels.dequantize(slots, 12, factors);
    for (const Mp3Slot &slot : slots)
        results.insert(results.end(), std::begin(slot), std::end(slot));
    return results;
}

// What a set of kernels makes of two channels and four frames.
std::vector<int32_t> run_kernels(const Mp3Kernels &kernels, int bits, uint32_t seed) {
    Random random{seed};
    const auto channels = std::make_unique<Mp3Channel[]>(2);
    Mp3Synthesis synthesis{};
    EXPECT_EQ(synth_init_zev(&synthesis, 3, 128), 0);
    std::vector<int32_t> results = run_on_codes(kernels, seed);
    for (uint32_t granule = 0; granule < 8; ++granule) {
        for (uint32_t ch = 0; ch < 2; ++ch) {
            for (int32_t &line : channels[ch].spectrum)
                line = static_cast<int32_t>(random()) >> (31 - bits);
            const uint32_t subbands = 1 + random() % 31;
            std::fill(channels[ch].spectrum + size_t{18} * subbands, std::end(channels[ch].spectrum), 0);
            Mp3Granule side{};
            side.block_type = static_cast<uint8_t>(granule % 4);
            side.flags = random() % 3 == 0 && granule % 4 != 0 ? kMp3MixedBlock : 0;
            mp3_imdct(kernels, &channels[ch], side, {18 * subbands, static_cast<int32_t>(random() % 5) - 1},
                      granule % 2 * 18);
            for (const Mp3Slot &slot : channels[ch].overlap)
                results.insert(results.end(), std::begin(slot), std::end(slot));
        }
        if (granule % 2 == 0) continue;
        mp3_subsynth(kernels, channels.get(), {1 + granule / 2 % 2, granule < 4 ? 36u : 18u, nullptr},
                     &synthesis);
        results.insert(results.end(), synthesis.pcm->mono, synthesis.pcm->mono + 2304);
    }
    synth_close(&synthesis);
    return results;
}

TEST(Mp3Kernels, EverySetHasTheBitsOfThePortableOne) {
    Mp3Kernels sets[kMp3MaxKernelSets];
    const uint32_t count = mp3_kernel_sets(sets);
    ASSERT_GE(count, 1u);
    for (uint32_t set = 1; set < count; ++set) {
        printf("%s\n", sets[set].name);
        for (const int bits : {20, 27, 30}) {
            for (uint32_t seed = 1; seed < 20; ++seed) {
                const std::vector<int32_t> results = run_kernels(sets[set], bits, seed),
                                           expected = run_kernels(sets[0], bits, seed);
                const auto at = std::mismatch(results.begin(), results.end(), expected.begin()).first;
                ASSERT_EQ(at - results.begin(), std::ssize(expected)) << sets[set].name << ", bits " << bits;
            }
        }
    }
}

// Whole streams: samples of MP3 files, and all conformance streams that there are.
TEST(Mp3Kernels, EverySetGivesTheSameSamples) {
    std::vector<Bytes> streams = {noise_stream(8), real_mp3_stream()};
    if (const char *const folder = getenv("QUORV_VECTORS"); folder != nullptr) {
        for (const auto &entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".bit") streams.push_back(bytes_of_file(entry.path()));
        }
    }
    Mp3Kernels sets[kMp3MaxKernelSets];
    const uint32_t count = mp3_kernel_sets(sets);
    for (const Bytes &stream : streams) {
        std::vector<Bytes> results;
        for (const Mp3Kernels &set : std::span(sets, count)) {
            const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
            static_cast<Mp3Decoder *>(decoder.get())->frame.kernels = set;
            results.push_back(decode(decoder.get(), stream));
            EXPECT_FALSE(results[0].empty());
            EXPECT_TRUE(results.back() == results[0]) << set.name << ", stream " << &stream - streams.data();
        }
        EXPECT_TRUE(decode(stream) == results[0]);
    }
}

}  // namespace
}  // namespace quorv::test
