// The ASF sample files, frame by frame, against what GStreamer's asfdemux delivers from them. By contract,
// the first frame of an MP3 track comes behind the codec data here.

#include <gtest/gtest.h>

#include <algorithm>

#include "interop/DemuxPeer.h"
#include "support/AsfBuilder.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

class AsfdemuxTest : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(Samples, AsfdemuxTest, testing::Range(size_t{0}, asf_sample_files().size()),
                         [](const auto &which) { return asf_sample_files()[which.param].name; });

TEST_P(AsfdemuxTest, FramesAreThoseOfThePeer) {
    const AsfSample sample = std::move(asf_sample_files()[GetParam()]);
    const TestFolder folder;
    std::string why_not;
    const auto peer = demux_with_gstreamer("asfdemux", folder.put("sample.asf", sample.bytes), &why_not);
    if (peer.empty()) GTEST_SKIP() << why_not;
    const MemoryStore bytes(sample.bytes);
    TestSource source(bytes);
    SplitterFile file(kAsfSplitter, source.record());
    file.omit_codec_data();
    for (const SplitterTrackEntry &track : file.tracks()) {
        const std::vector<AsfStream> &streams = sample.builder.streams;
        const auto own = std::find_if(streams.begin(), streams.end(), [&](const AsfStream &stream) {
            return stream.number + 1 == track.track;
        });
        const auto before = std::count_if(streams.begin(), own,
                                          [&](const AsfStream &stream) { return stream.type == own->type; });
        const bool video = track.type == SPLITER_TRACK_VIDEO;
        const auto pad = peer.find((video ? "video_" : "audio_") + std::to_string(before));
        ASSERT_NE(pad, peer.end());
        SCOPED_TRACE(pad->first);
        const std::vector<PeerFrame> &theirs = pad->second.frames;
        const std::vector<Frame> ours = file.read_all(track.track).frames;
        ASSERT_EQ(ours.size(), theirs.size());
        for (size_t i = 0; i < ours.size(); ++i) {
            SCOPED_TRACE("frame " + std::to_string(i));
            const auto prefix = static_cast<std::ptrdiff_t>(i == 0 && !video ? own->prefix : 0);
            ASSERT_TRUE(Bytes(ours[i].data.begin() + prefix, ours[i].data.end()) == theirs[i].data);
            ASSERT_EQ(ours[i].info.time_stamp, theirs[i].pts / 1000000);
            ASSERT_EQ(ours[i].info.key_frame, theirs[i].key ? 1u : 0u);
        }
    }
}

}  // namespace
}  // namespace quorv::test
