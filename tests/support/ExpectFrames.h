// Files of the builders, opened, and the check that they are read as the builders say.
#ifndef QUORV_TESTS_SUPPORT_EXPECTFRAMES_H
#define QUORV_TESTS_SUPPORT_EXPECTFRAMES_H

#include <gtest/gtest.h>

#include "support/AsfBuilder.h"
#include "support/AviBuilder.h"
#include "support/SplitterFile.h"

namespace quorv::test {

using Numbers = std::vector<uint32_t>;

// The fields of a record, all of which are 32-bit words.
template <typename Record>
Numbers words(const Record &record) {
    Numbers all(sizeof record / 4);
    memcpy(all.data(), &record, sizeof record);
    return all;
}

inline constexpr uint32_t kEnd = SPLITER_ERR_END_OF_STREAM;
inline constexpr uint32_t kKinds[] = {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE};

// Which frames are expected, and what of them.
struct Expected {
    size_t from = 0;
    size_t count = SIZE_MAX;  // all that are left, and then the end
    size_t stripped = 0;      // leading bytes that the first of them comes without
    bool keys = true;         // whether the key flags are compared
    bool refused = false;     // buffers too small are told the size before, and nothing else
};

inline void expect_refused(SplitterFile &file, uint32_t track, size_t needed) {
    for (const size_t room : {std::min<size_t>(1, needed - 1), needed - 1}) {
        Bytes buffer(room + 1);
        SplitterFrameInfo info = {1, 1, 1, 1, 1, 1};
        EXPECT_EQ(file.read_into(track, buffer.data(), static_cast<uint32_t>(room), &info),
                  uint32_t{SPLITER_ERR_BUFFER_TOO_SMALL});
        EXPECT_EQ(words(info), (Numbers{static_cast<uint32_t>(needed), 0, 0, 0, 0, 0}));
    }
}

// That the next frames of the track are the truth's.
inline void expect_frames(SplitterFile &file, uint32_t track, const std::vector<TruthFrame> &truth,
                          Expected expected = {}) {
    if (expected.refused) expect_refused(file, track, truth.at(expected.from).data.size());
    const FrameRun run = file.read_all(track, expected.count);
    ASSERT_EQ(run.frames.size(), std::min(expected.count, truth.size() - expected.from)) << "track " << track;
    for (size_t i = 0; i < run.frames.size(); ++i) {
        SCOPED_TRACE("track " + std::to_string(track) + ", frame " + std::to_string(expected.from + i));
        const TruthFrame &right = truth[expected.from + i];
        const auto cut = static_cast<std::ptrdiff_t>(i == 0 ? expected.stripped : 0);
        const Bytes data(right.data.begin() + cut, right.data.end());
        const SplitterFrameInfo &info = run.frames[i].info;
        const uint32_t key = expected.keys ? uint32_t{right.key} : info.key_frame;
        ASSERT_EQ(run.frames[i].data, data);
        ASSERT_EQ(words(info),
                  (Numbers{static_cast<uint32_t>(data.size()), right.time_stamp, right.duration, 0, key, 0}));
    }
    if (expected.count == SIZE_MAX) {
        EXPECT_EQ(run.end_code, kEnd) << "track " << track;
    }
}

template <typename Builder, const SplitterApi &api>
struct Opened : OpenedBytesOf<api> {
    explicit Opened(Builder what, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults faults = {})
        : OpenedBytesOf<api>(MemoryStore(what.build()), kind, faults), builder(std::move(what)) {}

    // Streams count from 0.
    void expect_frames(uint32_t stream, Expected expected = {}) {
        test::expect_frames(this->file, builder.track(stream), builder.truth(stream), expected);
    }

    Builder builder;
};

using AviBytes = OpenedBytesOf<kAviSplitter>;
using AsfBytes = OpenedBytesOf<kAsfSplitter>;
using OpenedAvi = Opened<AviBuilder, kAviSplitter>;
using OpenedAsf = Opened<AsfBuilder, kAsfSplitter>;

}  // namespace quorv::test

#endif
