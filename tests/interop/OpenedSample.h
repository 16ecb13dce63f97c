// A real file that a test has loaded and opened, and the test case that runs on every one of them.
#ifndef QUORV_TESTS_INTEROP_OPENEDSAMPLE_H
#define QUORV_TESTS_INTEROP_OPENEDSAMPLE_H

#include <gtest/gtest.h>

#include <string>

#include "interop/RealSamples.h"
#include "support/SplitterFile.h"

namespace quorv::test {

struct OpenedSample {
    explicit OpenedSample(const std::string &path, uint32_t kind = SPLITER_SOURCE_LOCAL)
        : bytes(contents_of(path)), source(bytes, kind), file(kAviSplitter, source.record()) {}

    MemoryStore bytes;
    TestSource source;
    SplitterFile file;
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
