// The real AVI files that samples/make-samples.sh makes.
#ifndef QUORV_TESTS_INTEROP_REALSAMPLES_H
#define QUORV_TESTS_INTEROP_REALSAMPLES_H

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include "support/SplitterFile.h"
#include "support/TestFolder.h"

namespace quorv::test {

inline std::vector<std::string> real_samples() {
    std::istringstream names(
        "committed-h264-mp3 h264-mp3 h264-baseline-video-only "
        "h264-high-bframes-30000-1001 h264-long-key-distance h264-two-audio-tracks "
        "h264-mp3-large h264-two-index-blocks h264-mp3-vbr mjpeg-pcm "
        "mjpeg-video-only-30000-1001 raw-i420-pcm8 raw-yuy2 raw-bgr-odd-width "
        "audio-only-mp3 audio-only-pcm audio-only-pcm24-mono "
        "audio-only-pcm32-8-channels audio-only-alaw audio-only-mp2 mpeg4-simple "
        "mpeg4-bframes mpeg4-packed-bframes mpeg4-qpel-gmc-matrices "
        "mpeg4-interlaced-30000-1001 mpeg4-long-key-distance mpeg4-bframes-remuxed ");
    return {std::istream_iterator<std::string>(names), {}};
}

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

class RealSampleTest : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override { find_real_sample(GetParam(), &path); }

    std::string path;
};

}  // namespace quorv::test

#endif
