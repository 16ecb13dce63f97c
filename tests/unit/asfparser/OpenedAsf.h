// An ASF file that a test has built and opened: the source and the open handle together.
#ifndef QUORV_TESTS_UNIT_ASFPARSER_OPENEDASF_H
#define QUORV_TESTS_UNIT_ASFPARSER_OPENEDASF_H

#include <gtest/gtest.h>
#include <quorv/asf_splitter.h>

#include <algorithm>

#include "support/AsfBuilder.h"
#include "support/SplitterFile.h"

namespace quorv::test {

using OpenedAsf = OpenedBytesOf<kAsfSplitter>;

// That a frame is this one of the truth. `first`: it comes behind the codec data.
inline void expect_frame(const Frame &frame, const AsfStream &stream, const AsfFrame &right, bool first,
                         bool is_video) {
    ASSERT_EQ(frame.code, 0u);
    const size_t prefix = first ? stream.prefix : 0;
    ASSERT_EQ(frame.info.size, prefix + right.data.size());
    ASSERT_EQ(Bytes(frame.data.begin() + static_cast<std::ptrdiff_t>(prefix), frame.data.end()), right.data);
    ASSERT_EQ(Bytes(frame.data.begin(), frame.data.begin() + static_cast<std::ptrdiff_t>(prefix)),
              Bytes(stream.format.end() - static_cast<std::ptrdiff_t>(prefix), stream.format.end()));
    ASSERT_EQ(frame.info.time_stamp, right.time);
    ASSERT_EQ(frame.info.duration, right.duration);
    ASSERT_EQ(frame.info.key_frame, right.key || !is_video ? 1u : 0u);
    ASSERT_EQ(frame.info.reserved1 | frame.info.reserved2, 0u);
}

// The stream of the builder behind a track.
inline uint32_t stream_of(const AsfBuilder &builder, uint32_t track) {
    uint32_t stream = 0;
    while (builder.streams[stream].number + 1 != track)
        ++stream;
    return stream;
}

// That the track's frames are the truth's, and then the end. again: the codec data was sent before.
inline void expect_frames(SplitterFile &file, const AsfBuilder &builder, const SplitterTrackEntry &track,
                          bool again = false) {
    const uint32_t stream = stream_of(builder, track.track);
    const std::vector<AsfFrame> &truth = builder.truth(stream);
    const FrameRun run = file.read_all(track.track);
    ASSERT_EQ(run.frames.size(), truth.size()) << "stream " << stream;
    EXPECT_EQ(run.end_code, static_cast<uint32_t>(SPLITER_ERR_END_OF_STREAM));
    for (size_t i = 0; i < truth.size(); ++i) {
        SCOPED_TRACE("stream " + std::to_string(stream) + ", frame " + std::to_string(i));
        expect_frame(run.frames[i], builder.streams[stream], truth[i], i == 0 && !again,
                     track.type == SPLITER_TRACK_VIDEO);
    }
}

}  // namespace quorv::test

#endif
