// An AVI file that a test has built and opened: the truth, the source and the open handle together.
#ifndef QUORV_TESTS_UNIT_AVIPARSER_OPENEDAVI_H
#define QUORV_TESTS_UNIT_AVIPARSER_OPENEDAVI_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "support/AviBuilder.h"
#include "support/SplitterFile.h"

namespace quorv::test {

struct OpenedAvi {
    explicit OpenedAvi(AviBuilder what, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults faults = {})
        : builder(std::move(what)),
          bytes(builder.build()),
          source(bytes, kind, faults),
          file(kAviSplitter, source.record()) {}

    AviBuilder builder;
    SparseStore bytes;
    TestSource source;
    SplitterFile file;
};

// The same for bytes that no builder made.
using OpenedBytes = OpenedBytesOf<kAviSplitter>;

// Which frames are expected, and what of them.
struct Expected {
    size_t from = 0;
    size_t count = SIZE_MAX;  // all that are left, and then the end
    size_t stripped = 0;      // leading bytes that the first of them has lost to the codec data
    bool keys = true;         // whether the key flags are compared
    uint32_t end_code = SPLITER_ERR_END_OF_STREAM;
};

// That the next frames of the track are the truth's.
inline void expect_frames(SplitterFile &file, const AviBuilder &builder, uint32_t stream,
                          Expected expected = {}) {
    const std::vector<TruthFrame> &truth = builder.truth(stream);
    const FrameRun run = file.read_all(stream + 1, expected.count);
    ASSERT_EQ(run.frames.size(), std::min(expected.count, truth.size() - expected.from))
        << "stream " << stream;
    for (size_t i = 0; i < run.frames.size(); ++i) {
        const TruthFrame &right = truth[expected.from + i];
        const Frame &frame = run.frames[i];
        SCOPED_TRACE("stream " + std::to_string(stream) + ", frame " + std::to_string(expected.from + i));
        const size_t cut = i == 0 ? expected.stripped : 0;
        ASSERT_EQ(frame.data, Bytes(right.data.begin() + static_cast<std::ptrdiff_t>(cut), right.data.end()));
        ASSERT_EQ(frame.info.size, right.data.size() - cut);
        ASSERT_EQ(frame.info.time_stamp, right.time_stamp);
        ASSERT_EQ(frame.info.duration, right.duration);
        if (expected.keys) {
            ASSERT_EQ(frame.info.key_frame, right.key ? 1u : 0u);
        }
        ASSERT_EQ(frame.info.reserved1 | frame.info.reserved2, 0u);
    }
    if (expected.count == SIZE_MAX) {
        EXPECT_EQ(run.end_code, expected.end_code) << "stream " << stream;
    }
}

}  // namespace quorv::test

#endif
