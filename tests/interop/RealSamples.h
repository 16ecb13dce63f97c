// The real AVI files that samples/make-samples.sh makes, and what is known about them from the way they are
// made.
#ifndef QUORV_TESTS_INTEROP_REALSAMPLES_H
#define QUORV_TESTS_INTEROP_REALSAMPLES_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/SplitterFile.h"
#include "support/TestFolder.h"

namespace quorv::test {

struct RealTrack {
    const char *codec;      // as GetTrackInfo gives it; "" when it is not a known one
    size_t chunks;          // chunks of the track in the file; 0: the encoder decides
    uint32_t bit_rate = 0;  // of audio, bits a second; 0: the encoder decides
};

struct RealSample {
    std::string name;
    std::vector<RealTrack> tracks;  // in file order; video comes first
    size_t key_distance = 0;        // of the video track's key frames; 0: the encoder decides
};

inline void PrintTo(const RealSample &sample, std::ostream *out) {
    *out << sample.name;
}

inline const std::vector<RealSample> kRealSamples = {
    {"committed-h264-mp3", {{"264 ", 75}, {"mp3 ", 0, 128000}}, 25},
    {"h264-mp3", {{"264 ", 75}, {"mp3 ", 0, 128000}}, 25},
    {"h264-baseline-video-only", {{"264 ", 60}}, 12},
    {"h264-high-bframes-30000-1001", {{"264 ", 45}, {"mp3 ", 0, 96000}}, 15},
    {"h264-long-key-distance", {{"264 ", 300}}, 120},
    {"h264-two-audio-tracks", {{"264 ", 15}, {"mp3 ", 0, 64000}, {"pcm ", 6, 128000}}, 6},
    {"h264-mp3-large", {{"264 ", 24}, {"mp3 ", 0, 192000}}, 8},
    {"h264-two-index-blocks", {{"264 ", 4500}}, 100},
    {"h264-mp3-vbr", {{"264 ", 50}, {"mp3 ", 0}}, 25},
    {"mjpeg-pcm", {{"mjpg", 8}, {"pcm ", 4, 256000}}, 1},
    {"mjpeg-video-only-30000-1001", {{"mjpg", 31}}, 1},
    {"raw-i420-pcm8", {{"", 8}, {"pcm ", 5, 64000}}, 1},
    {"raw-yuy2", {{"", 6}}, 1},
    {"raw-bgr-odd-width", {{"", 12}}, 1},
    {"audio-only-mp3", {{"mp3 ", 0, 128000}}},
    {"audio-only-pcm", {{"pcm ", 2, 1411200}}},
    {"audio-only-pcm24-mono", {{"pcm ", 4, 384000}}},
    {"audio-only-pcm32-8-channels", {{"", 5, 2048000}}},
    {"audio-only-alaw", {{"", 20, 64000}}},
    {"audio-only-mp2", {{"mp2 ", 60, 192000}}},
    {"mpeg4-simple", {{"xvid", 30}}, 10},
    {"mpeg4-bframes", {{"xvid", 40}}},
    {"mpeg4-packed-bframes", {{"xvid", 0}}},
    {"mpeg4-qpel-gmc-matrices", {{"dx50", 30}}, 15},
    {"mpeg4-interlaced-30000-1001", {{"xvid", 32}}, 16},
    {"mpeg4-long-key-distance", {{"xvid", 220}}, 160},
    {"mpeg4-bframes-remuxed", {{"divx", 40}}},
};

// Finds the sample's path; skips the test, with the reason, for one that could not be made.
inline void find_real_sample(const std::string &name, std::string *path) {
    // The script's line about a file that it could not make.
    std::ifstream skipped(QUORV_SAMPLES_FOLDER "/skipped");
    for (std::string line; std::getline(skipped, line);) {
        if (line.starts_with(name + ":")) GTEST_SKIP() << line;
    }
    *path = name == "committed-h264-mp3" ? real_sample() : QUORV_SAMPLES_FOLDER "/" + name + ".avi";
    ASSERT_TRUE(std::filesystem::exists(*path)) << *path << ": the test interop/make-samples makes it";
}

class RealSampleTest : public testing::TestWithParam<RealSample> {
protected:
    void SetUp() override { find_real_sample(GetParam().name, &path); }

    std::string path;
};

}  // namespace quorv::test

#endif
