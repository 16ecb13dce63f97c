// Conformance streams against reference PCM of 16 bits.

#include <gtest/gtest.h>
#include <stdio.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "mp3dec/Mp3Frame.h"

namespace quorv::test {
namespace {

std::vector<uint8_t> load(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Left and right in turn.
std::vector<int16_t> decode(std::vector<uint8_t> stream) {
    stream.resize(stream.size() + kMp3LookAhead);
    Mp3InputBuffer state{};
    Mp3Frame frame{};
    Mp3Synthesis synthesis{};
    std::vector<int16_t> samples;
    EXPECT_TRUE(buffer_init(&state, 0) == 0 && frame_init(&frame, 2, 3, 1) == 0 &&
                synth_init_zev(&synthesis, 3, 128) == 0);
    buffer_set(&state, stream.data(), stream.size());
    for (;;) {
        if (frame_decode(&frame, &state, &synthesis) != 0) {
            if (state.error < 256) break;
            continue;
        }
        if (frame.header.layer != 3) synth_frame(&frame, &synthesis);
        const int16_t *const first = synthesis.pcm->mono;  // or left and right in turn
        samples.insert(samples.end(), first, first + synthesis.pcm->samples * synthesis.pcm->channels);
    }
    synth_close(&synthesis);
    frame_close(&frame);
    buffer_close(&state);
    return samples;
}

TEST(Mp3Vectors, DecodeToTheReference) {
    const char *const folder = std::getenv("QUORV_VECTORS");
    if (folder == nullptr) GTEST_SKIP() << "QUORV_VECTORS is not set";
    std::vector<std::filesystem::path> streams;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".bit") streams.push_back(entry.path());
    }
    ASSERT_FALSE(streams.empty());
    std::sort(streams.begin(), streams.end());
    printf("%-24s %9s %8s %10s\n", "stream", "samples", "PSNR", "difference");
    for (std::filesystem::path path : streams) {
        const std::vector<int16_t> samples = decode(load(path));
        const std::vector<uint8_t> reference = load(path.replace_extension(".pcm"));
        const size_t count = std::min(samples.size(), reference.size() / 2);
        ASSERT_GT(count, 0u) << path;
        double squares = 0;
        int largest = 0;
        for (size_t i = 0; i < count; ++i) {
            const int expected = static_cast<int16_t>(reference[2 * i] | reference[2 * i + 1] << 8);
            const int difference = std::abs(samples[i] - expected);
            largest = std::max(largest, difference);
            squares += difference * difference;
        }
        const double error = squares / static_cast<double>(count);
        const double psnr = error > 0 ? 10 * std::log10(32767.0 * 32767.0 / error) : INFINITY;
        printf("%-24s %9zu %8.2f %10d\n", path.stem().c_str(), count, psnr, largest);
        EXPECT_LE(largest, 1) << path;
        EXPECT_GE(psnr, 110) << path;
    }
}

}  // namespace
}  // namespace quorv::test
