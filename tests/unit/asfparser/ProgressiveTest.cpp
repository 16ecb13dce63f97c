// Sources whose bytes arrive in pieces of any size: every call can be made too early and again later, and
// what comes out is what a local source gives.

#include <random>

#include "unit/asfparser/OpenedAsf.h"

namespace quorv::test {
namespace {

class AsfProgressive : public testing::TestWithParam<size_t> {
protected:
    AsfSample sample = std::move(asf_sample_files()[GetParam()]);
    std::mt19937 random{static_cast<uint32_t>(GetParam())};
    MemoryStore bytes{sample.bytes};
    TestSource source{bytes, SPLITER_SOURCE_PROGRESSIVE};

    void let_more_arrive() {
        source.faults.arrived = std::min<uint64_t>(source.faults.arrived + 1 + random() % 150, bytes.size());
    }
    // Repeats a call until it says something else than that bytes are missing.
    template <typename Call>
    uint32_t until_arrived(Call call) {
        for (;;) {
            const uint32_t code = call();
            if (code != kNotArrived) return code;
            EXPECT_LT(source.faults.arrived, bytes.size())
                << "bytes are said to be missing, but all are there";
            let_more_arrive();
        }
    }
    Frame read_when_arrived(SplitterFile &file, uint32_t track) {
        Frame frame;
        until_arrived([&] { return (frame = file.read(track, 40)).code; });
        return frame;
    }
};

INSTANTIATE_TEST_SUITE_P(All, AsfProgressive, testing::Range(size_t{0}, asf_sample_files().size()),
                         [](const auto &which) { return asf_sample_files()[which.param].name; });

TEST_P(AsfProgressive, GivesTheFramesOfALocalSource) {
    OpenedAsf local(sample.bytes);
    const std::vector<SplitterTrackEntry> tracks = local.file.tracks();
    for (int round = 0; round < 20; ++round) {
        source.faults.arrived = 0;
        const SplitterStreamSource record = source.record();
        SplitterHandle handle = nullptr;
        SplitterHttpParam param = {};
        const auto ask = [&] { return ASF_SPLITER_GetHTTPParam(&record, &param, &handle); };
        ASSERT_EQ(round % 2 != 0 ? until_arrived(ask) : 0u, 0u);
        ASSERT_EQ(until_arrived([&] { return ASF_SPLITER_Open(&record, 1, &handle); }), 0u);
        SplitterFile file(kAsfSplitter, handle);
        SplitterFile whole(kAsfSplitter, local.source.record());
        std::vector<bool> ended(tracks.size());
        for (size_t left = tracks.size(); left != 0;) {
            const size_t i = random() % tracks.size();
            const Frame right = whole.read(tracks[i].track);
            ASSERT_TRUE(read_when_arrived(file, tracks[i].track) == right);
            left -= right.code != 0 && !ended[i] ? 1u : 0u;
            ended[i] = ended[i] || right.code != 0;
        }
    }
}

TEST_P(AsfProgressive, SeeksWaitForTheirBytes) {
    for (const SplitterTrackEntry &entry : OpenedAsf(sample.bytes).file.tracks()) {
        for (uint32_t time = 1; time < 400; time += 13) {
            OpenedAsf local(sample.bytes);
            source.faults.arrived = sample.builder.data_start() + random() % 400;
            SplitterFile file(kAsfSplitter, source.record());
            ASSERT_EQ(file.open_code, 0u);
            uint32_t reached = 0, right = 0;
            const uint32_t code = until_arrived([&] {
                const uint32_t result = file.seek(entry.track, time, time % 2, &reached);
                if (result != kNotArrived) return result;
                // Until the seek is repeated, nothing is read and the next key frame is not known.
                EXPECT_EQ(file.read(entry.track).code, kNotArrived);
                EXPECT_EQ(file.seek(entry.track, UINT32_MAX, 0), uint32_t{SPLITER_ERR_UNSUPPORTED});
                EXPECT_EQ(file.seek(entry.track, time, time % 2), kNotArrived);
                return result;
            });
            ASSERT_EQ(code, local.file.seek(entry.track, time, time % 2, &right));
            if (code != 0) continue;
            ASSERT_EQ(reached, right);
            ASSERT_TRUE(read_when_arrived(file, entry.track) == local.file.read(entry.track));
        }
    }
}

TEST_P(AsfProgressive, HttpParamSaysWhetherTheIndexIsThere) {
    const SplitterStreamSource record = source.record();
    SplitterHttpParam param = {7, 7};
    SplitterHandle handle = nullptr;
    source.faults.arrived = sample.builder.data_start();
    ASSERT_EQ(ASF_SPLITER_GetHTTPParam(&record, &param, &handle), 0u);
    EXPECT_EQ(param.index_flag | param.reserved, 0u);
    EXPECT_FALSE(source.is_open());
    const AsfIndex index = sample.builder.index;
    const bool whole = index != AsfIndex::None && index != AsfIndex::CutShort;
    // As long as it may come, the file is not called seekable.
    EXPECT_EQ(ASF_SPLITER_IsSeekable(handle, 2), index == AsfIndex::None ? 1u : 0u);
    source.faults.arrived = UINT64_MAX;
    const SplitterHandle first = handle;
    ASSERT_EQ(ASF_SPLITER_GetHTTPParam(&record, &param, &handle), 0u);
    EXPECT_EQ(handle, first);
    EXPECT_EQ(param.index_flag, whole ? 1u : 0u);
    EXPECT_EQ(ASF_SPLITER_IsSeekable(handle, 2), 1u);
    SplitterFile file(kAsfSplitter, handle);
    ASSERT_EQ(ASF_SPLITER_Open(&record, 1, &handle), 0u);
    for (const SplitterTrackEntry &track : file.tracks())
        expect_frames(file, sample.builder, track);
}

}  // namespace
}  // namespace quorv::test
