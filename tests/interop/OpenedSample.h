// A real file that a test has loaded and opened.
#ifndef QUORV_TESTS_INTEROP_OPENEDSAMPLE_H
#define QUORV_TESTS_INTEROP_OPENEDSAMPLE_H

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

}  // namespace quorv::test

#endif
