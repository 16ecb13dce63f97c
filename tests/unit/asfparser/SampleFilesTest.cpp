// Every sample file, whole, from every kind of well-behaved source: tracks, frames and rewinding must be the
// truth that the builder computed.

#include "unit/asfparser/OpenedAsf.h"

namespace quorv::test {
namespace {

class AsfSampleFiles : public testing::TestWithParam<size_t> {
protected:
    AsfSample sample = std::move(asf_sample_files()[GetParam()]);
};

INSTANTIATE_TEST_SUITE_P(All, AsfSampleFiles, testing::Range(size_t{0}, asf_sample_files().size()),
                         [](const auto &which) { return asf_sample_files()[which.param].name; });

TEST_P(AsfSampleFiles, FramesAreTheTruthAndComeAgainAfterReset) {
    for (const uint32_t kind : {1u, 2u, 77u}) {
        for (const bool end_is_success : {false, true}) {
            SCOPED_TRACE("source kind " + std::to_string(kind));
            OpenedAsf asf(sample.bytes, kind, {.end_is_success = end_is_success});
            ASSERT_EQ(asf.file.open_code, 0u);
            EXPECT_EQ(asf.source.access_modes, (std::vector<uint32_t>{1, 2, 2}));
            const std::vector<SplitterTrackEntry> tracks = asf.file.tracks();
            ASSERT_EQ(tracks.size(), 2u);
            EXPECT_EQ(tracks[0].type, static_cast<uint32_t>(SPLITER_TRACK_VIDEO));
            EXPECT_EQ(tracks[1].type, static_cast<uint32_t>(SPLITER_TRACK_AUDIO));
            for (const SplitterTrackEntry &track : tracks)
                expect_frames(asf.file, sample.builder, track);
            ASSERT_EQ(asf.file.reset(), 0u);
            expect_frames(asf.file, sample.builder, tracks[1], true);
            ASSERT_EQ(asf.file.seek(tracks[0].track, 0, 0), 0u);
            expect_frames(asf.file, sample.builder, tracks[0], true);
            EXPECT_EQ(asf.file.close(), 0u);
            EXPECT_FALSE(asf.source.is_open());
        }
    }
}

// At most one read a packet and one a fragment, and no seek to where the reader stands.
TEST(AsfReading, CostsOneReadAPacketAndOneAFragment) {
    const AsfLayout layout = {.packet_size = 200, .multiple = false};
    AsfBuilder builder({asf_video(1)}, layout, AsfIndex::None);
    for (uint32_t i = 0; i < 50; ++i)
        builder.frame(0, i * 40, 1000);
    const Bytes bytes = builder.build();
    OpenedAsf asf(bytes);
    const uint64_t packets = (bytes.size() - builder.data_start()) / 200;
    asf.source.reads = asf.source.seeks = asf.source.tells = 0;
    ASSERT_EQ(asf.file.read_all(2).frames.size(), 50u);
    EXPECT_LE(asf.source.reads, 2 * packets);
    // To each fragment and, where it has padding behind it, to the next packet; Open has moved the reader.
    EXPECT_LE(asf.source.seeks, packets + 50 + 1);
    EXPECT_EQ(asf.source.tells, 0u);
}

}  // namespace
}  // namespace quorv::test
