// The real AVI files that samples/make-samples.sh makes, and what is known about them from the way they are
// made.
#ifndef QUORV_TESTS_INTEROP_REALSAMPLES_H
#define QUORV_TESTS_INTEROP_REALSAMPLES_H

#include <gtest/gtest.h>

#include <ostream>
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

// Whether the stream's headers stand at the start of its first frame, from where they become codec data.
bool has_headers_in_first_frame(const RealTrack &track);

struct RealSample {
    const char *name;
    std::vector<RealTrack> tracks;  // in file order; video comes first
    // Distance of the video track's key frames; 0: the encoder decides.
    size_t key_distance = 0;
};

extern const std::vector<RealSample> kRealSamples;

// Where the sample stands. When it could not be made, because something it needs is not installed, this is
// empty and *why_not says what.
std::string path_of(const RealSample &sample, std::string *why_not);

// For the names of test cases.
std::string case_name(const RealSample &sample);
void PrintTo(const RealSample &sample, std::ostream *out);

struct OpenedSample : OpenedBytesOf<kAviSplitter> {
    explicit OpenedSample(const std::string &path, uint32_t kind = SPLITER_SOURCE_LOCAL)
        : OpenedBytesOf(bytes_of_file(path), kind) {}
};

// Skipped, with the reason, for a sample that could not be made.
class RealSampleTest : public testing::TestWithParam<RealSample> {
protected:
    void SetUp() override {
        std::string why_not;
        path = path_of(GetParam(), &why_not);
        if (path.empty()) GTEST_SKIP() << why_not;
    }

    std::string path;
};

}  // namespace quorv::test

#endif
