// Sources whose bytes arrive over time: every call can be made too early and again later, on the same
// handle, and the file then reads as if it had been there from the start.

#include <quorv/avi_splitter.h>

#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

AviBuilder small_file(IndexKind index) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, index);
    for (size_t i = 0; i < 6; ++i)
        builder.frame(0, 40 + i, i % 2 == 0).frame(1, size_t{320});
    return builder;
}

// Called too early it fails or finds no index; on the handle that was kept it then finds all.
TEST(AviProgressive, HttpParamSaysWhetherTheIndexWasRead) {
    for (const IndexKind index : {IndexKind::None, IndexKind::Legacy}) {
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            AviBuilder builder = small_file(index);
            const SparseStore bytes = builder.build();
            TestSource source(bytes, kind);
            const SplitterStreamSource record = source.record();
            SplitterHandle handle = nullptr, first = nullptr;
            for (const uint64_t arrived : {builder.media_start() + 100, UINT64_MAX}) {
                source.faults.arrived = arrived;
                SplitterHttpParam param = {7, 7};
                const uint32_t code = AVI_SPLITER_GetHTTPParam(&record, &param, &handle);
                const bool whole = arrived == UINT64_MAX;
                EXPECT_TRUE(code == 0 || (code == kNotArrived && !whole)) << code;
                if (code != 0) continue;
                EXPECT_EQ(param.index_flag, whole && index == IndexKind::Legacy ? 1u : 0u);
                EXPECT_EQ(param.reserved, 0u);
                if (first == nullptr) first = handle;
            }
            ASSERT_EQ(AVI_SPLITER_Open(&record, 1, &handle), 0u);
            EXPECT_EQ(handle, first);
            SplitterFile file(kAviSplitter, handle);
            for (uint32_t stream = 0; stream < 2; ++stream)
                expect_frames(file, builder, stream);
        }
    }
}

// Frames that have not arrived give the source's code and come when they have; no byte too early, no key
// flag lost once the index is there.
TEST(AviProgressive, FramesWaitForTheirBytes) {
    AviBuilder builder = small_file(IndexKind::Legacy);
    const SparseStore bytes = builder.build();
    TestSource source(bytes, SPLITER_SOURCE_PROGRESSIVE);
    source.faults.arrived = builder.media_start() + 100;
    SplitterFile file(kAviSplitter, source.record());
    ASSERT_EQ(file.open_code, 0u);
    size_t frames[2] = {};
    for (uint64_t arrived = builder.media_start(); arrived <= bytes.size(); arrived += 7) {
        source.faults.arrived = arrived;
        for (uint32_t stream = 0; stream < 2; ++stream) {
            Frame frame = file.read(stream + 1);
            for (; frame.code == 0; frame = file.read(stream + 1)) {
                const TruthFrame &right = builder.truth(stream).at(frames[stream]++);
                EXPECT_EQ(frame.data, right.data);
                EXPECT_EQ(frame.info.time_stamp, right.time_stamp);
            }
            ASSERT_TRUE(frame.code == kNotArrived || frame.code == SPLITER_ERR_END_OF_STREAM) << frame.code;
        }
    }
    EXPECT_EQ(frames[0] + frames[1], 12u);
    // With the index there, the key flags are the file's.
    source.faults.arrived = UINT64_MAX;
    ASSERT_EQ(file.reset(), 0u);
    for (uint32_t stream = 0; stream < 2; ++stream)
        expect_frames(file, builder, stream);
}

// While the index has not arrived, no frame pays for what lies between it and the media data again.
TEST(AviProgressive, SearchForTheIndexGoesOnWhereItStopped) {
    AviBuilder builder = small_file(IndexKind::Legacy);
    builder.frame(0, size_t{50});
    for (int i = 0; i < 1000; ++i)
        builder.after.insert(builder.after.end(), {'J', 'U', 'N', 'K', 0, 0, 0, 0});
    OpenedAvi avi(builder, SPLITER_SOURCE_PROGRESSIVE, {.arrived = builder.build().size() - 300});
    expect_frames(avi.file, avi.builder, 0, {.count = 1, .keys = false});
    const uint64_t before = avi.source.calls();
    EXPECT_GT(before, 1000u);
    expect_frames(avi.file, avi.builder, 0, {.from = 1, .count = 5, .keys = false});
    EXPECT_LT(avi.source.calls() - before, 100u);
    avi.source.faults.arrived = UINT64_MAX;
    expect_frames(avi.file, avi.builder, 0, {.from = 6});
    EXPECT_NE(avi.file.is_seekable(1), 0u);
}

TEST(AviProgressive, IndexOfASourceWithoutAnySize) {
    AviBuilder builder = small_file(IndexKind::Legacy);
    SparseStore bytes = builder.build();
    bytes.patch(4, le32(0));
    TestSource source(bytes, SPLITER_SOURCE_PROGRESSIVE, {.size = SizeAnswer::Zero, .end_is_success = true});
    const SplitterStreamSource record = source.record();
    SplitterHandle handle = nullptr;
    SplitterHttpParam param = {};
    EXPECT_EQ(AVI_SPLITER_GetHTTPParam(&record, &param, &handle), 0u);
    EXPECT_EQ(param.index_flag, 1u);
    SplitterFile file(kAviSplitter, handle);
    expect_frames(file, builder, 0);
}

}  // namespace
}  // namespace quorv::test
