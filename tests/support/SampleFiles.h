// Small files of every kind that the AVI tests share: unit tests compare them with their truth, the
// robustness loops break them in every way, the fuzzer starts from them.
#ifndef QUORV_TESTS_SUPPORT_SAMPLEFILES_H
#define QUORV_TESTS_SUPPORT_SAMPLEFILES_H

#include <string>
#include <vector>

#include "support/AviBuilder.h"

namespace quorv::test {

struct SampleFile {
    std::string name;
    AviBuilder builder;  // with its truth
    SparseStore bytes;
    size_t first_frame_header = 0;  // leading bytes of the first frame of stream 0 that are codec data
};

// Each below 4 KB.
std::vector<SampleFile> avi_sample_files();

}  // namespace quorv::test

#endif
