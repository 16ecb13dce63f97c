// OpenDML files: indexes of every form and files of several segments and more than 4 GB, with an index and
// without.

#include "support/FailingAllocator.h"
#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

constexpr uint32_t kGap = 0x3FFF0000;  // of zeros, nearly 1 GB

AviBuilder huge_file(IndexKind kind) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, kind);
    builder.header_extra = list(tag("odml"), chunk(tag("dmlh"), Bytes(4)));
    builder.also_legacy = kind == IndexKind::OpenDml;
    for (size_t segment = 0; segment < 6; ++segment) {
        if (segment != 0) builder.segment();
        for (size_t i = 0; i < 4; ++i)
            builder.frame(0, 100 + 10 * segment + i, i % 2 == 0).frame(1, size_t{320});
        builder.junk(kGap).frame(0, 90 + segment, false).frame(1, size_t{320});
    }
    return builder;
}

TEST(AviOpenDml, HugeFilesReadAndSeekToTheirLastFrame) {
    for (const IndexKind kind : {IndexKind::OpenDml, IndexKind::OpenDmlFields, IndexKind::None}) {
        OpenedAvi avi(huge_file(kind));
        SCOPED_TRACE(static_cast<int>(kind));
        ASSERT_GT(avi.builder.truth(0).back().position, uint64_t{4} << 30);
        EXPECT_LT(avi.source.bytes_read, 64u << 10);
        for (uint32_t stream = 0; stream < 2; ++stream) {
            expect_frames(avi.file, avi.builder, stream);
            const std::vector<TruthFrame> &truth = avi.builder.truth(stream);
            EXPECT_EQ(avi.file.is_seekable(stream + 1) != 0, kind != IndexKind::None);
            for (size_t i = truth.size(); i-- > 0;) {
                for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
                    if (!truth[i].index_key) continue;
                    ASSERT_EQ(avi.file.seek(stream + 1, truth[i].time_stamp, mode), 0u);
                    expect_frames(avi.file, avi.builder, stream, {.from = i, .count = 1});
                }
            }
        }
    }
}

// A super index that lies is dropped for its track, never an error: the legacy index serves it then.
TEST(AviOpenDml, BadSuperIndexesAreDropped) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::Legacy);
    for (size_t i = 0; i < 6; ++i)
        builder.frame(0, 40 + i, i % 2 == 0);
    const auto super = [](uint32_t longs, uint8_t sub, uint8_t type, uint32_t used, const Bytes &entries) {
        return chunk(tag("indx"),
                     join({le16(longs), Bytes{sub, type}, le32(used), text("00dc"), Bytes(12), entries}));
    };
    const Bytes beyond = join({le64(uint64_t{1} << 40), le32(100), le32(1)});
    const Bytes at_header = join({le64(0), le32(0xFFFFFFF0), le32(1)});
    const std::pair<const char *, Bytes> cases[] = {
        {"empty", chunk(tag("indx"), {})},
        {"header cut", chunk(tag("indx"), Bytes(23))},
        {"no entries", super(4, 0, 0, 0, {})},
        {"beyond the file", super(4, 0, 0, 1, beyond)},
        {"points at something else", super(4, 0, 0, 1, at_header)},
        {"more entries in use than there are", super(4, 0, 0, 1000000, join({beyond, beyond}))},
        {"many longs an entry", super(0xFFFF, 0, 0, 1, beyond)},
        {"unknown type", super(4, 0, 0x77, 1, beyond)},
        {"data index", super(2, 0, 0x80, 1, beyond)},
        {"standard index without entries", super(2, 0, 1, 0, {})},
        {"standard index that claims more", super(2, 0, 1, 0x0AAAAAAA, Bytes(16))},
    };
    for (const auto &[name, bytes] : cases) {
        SCOPED_TRACE(name);
        AviBuilder with = builder;
        with.streams[0].after_format = bytes;
        OpenedAvi avi(with, SPLITER_SOURCE_LOCAL, {.call_limit = 20000});
        expect_frames(avi.file, avi.builder, 0);
        uint32_t reached = 0;
        EXPECT_EQ(avi.file.seek(1, 80, SPLITER_SEEK_BACKWARD, &reached), 0u);
        EXPECT_EQ(reached, 80u);
    }
}

// A super index that names the same index chunk over and over makes a small file look endless.
TEST(AviOpenDml, IndexChunksThatAreNamedOverAndOver) {
    constexpr uint32_t kNamed = 4000, kEntries = 4000;
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.frame(0, size_t{40}).frame(0, size_t{41});
    Bytes index = join({le16(2), Bytes{0, 1}, le32(kEntries), text("00dc"), le64(0), le32(0)});
    for (uint32_t i = 0; i < kEntries; ++i)
        index = join({index, le32(100 + i), le32(10)});
    builder.after = chunk(tag("ix00"), index);
    const auto super = [&](uint64_t position) {
        Bytes body = join({le16(4), Bytes{0, 0}, le32(kNamed), text("00dc"), Bytes(12)});
        for (uint32_t i = 0; i < kNamed; ++i)
            body = join({body, le64(position), le32(24), le32(1)});
        return chunk(tag("indx"), body);
    };
    builder.streams[0].after_format = super(0);
    const uint64_t file_size = builder.build().size();
    builder.streams[0].after_format = super(file_size - builder.after.size());
    for (const SizeAnswer size : {SizeAnswer::Known, SizeAnswer::Zero}) {
        FailingAllocator heap;
        OpenedAvi avi(builder, SPLITER_SOURCE_LOCAL, {.size = size, .call_limit = 20000});
        ASSERT_EQ(avi.file.open_code, 0u);
        EXPECT_LT(heap.peak_bytes(), uint64_t{4} << 20);
        expect_frames(avi.file, avi.builder, 0);
    }
}

TEST(AviOpenDml, EntriesBeyondTheSourceAreIgnored) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDmlDirect);
    for (size_t i = 0; i < 8; ++i)
        builder.frame(0, 40 + i);
    Bytes bytes = builder.build().flatten();
    bytes.resize(static_cast<size_t>(builder.truth(0)[5].position) + 7);
    OpenedBytes avi(bytes);
    EXPECT_EQ(avi.file.seek(1, 7 * 40, SPLITER_SEEK_BACKWARD), 0u);
    expect_frames(avi.file, builder, 0, {.from = 4, .count = 1});
}

// Where a legacy index stands beside the OpenDML one, the latter decides.
TEST(AviOpenDml, LegacyIndexIsIgnoredBesideIt) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDml);
    for (size_t i = 0; i < 4; ++i)
        builder.frame(0, 40 + i, i % 2 == 0);
    builder.after =
        chunk(tag("idx1"),
              join({text("00dc"), le32(0x10), le32(5), le32(9), text("00dc"), le32(0x10), le32(6), le32(9)}));
    OpenedAvi avi(builder);
    expect_frames(avi.file, avi.builder, 0);
}

// Several tracks that share one index chunk have no more entries than the file can have chunks.
TEST(AviOpenDml, TracksThatShareAnIndexChunk) {
    constexpr uint32_t kEntries = 4000;
    AviBuilder builder(std::vector<AviStream>(3, video_stream(tag("MJPG"))), IndexKind::None);
    builder.frame(0, size_t{40});
    Bytes index = join({le16(2), Bytes{0, 1}, le32(kEntries), text("00dc"), le64(0), le32(0)});
    for (uint32_t i = 0; i < kEntries; ++i)
        index = join({index, le32(100 + i), le32(10)});
    builder.after = chunk(tag("ix00"), index);
    uint64_t position = 0;
    for (int pass = 0; pass < 2; ++pass) {
        for (AviStream &stream : builder.streams)
            stream.after_format = chunk(
                tag("indx"), join({le16(4), Bytes{0, 0}, le32(1), Bytes(16), le64(position), Bytes(8)}));
        position = builder.build().size() - builder.after.size();
    }
    OpenedAvi avi(builder);
    uint32_t seekable = 0;
    for (uint32_t track = 1; track <= 3; ++track)
        seekable += avi.file.is_seekable(track);
    EXPECT_EQ(seekable, 1u);
}

// An entry of zeros is a frame that was dropped: it has no chunk, but its time passes.
TEST(AviOpenDml, DroppedFrames) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.frame(0, size_t{10}).frame(0, size_t{12}).frame(0, size_t{14});
    const Bytes entries = join({le32(12), le32(10), Bytes(8), le32(30), le32(12), Bytes(4), le32(0x80000000),
                                le32(50), le32(0x8000000E)});
    for (int pass = 0; pass < 2; ++pass) {
        const Bytes head = join({le16(2), Bytes{0, 1}, le32(5), text("00dc"), le64(builder.media_start())});
        builder.streams[0].after_format = chunk(tag("indx"), join({head, Bytes(4), entries}));
        builder.build();
    }
    OpenedAvi avi(builder);
    const FrameRun run = avi.file.read_all(1);
    ASSERT_EQ(run.frames.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(run.frames[i].data, avi.builder.truth(0)[i].data);
        EXPECT_EQ(run.frames[i].info.time_stamp, 80 * i);
        EXPECT_EQ(run.frames[i].info.key_frame, i < 2 ? 1u : 0u);
    }
    EXPECT_EQ(avi.file.seek(1, 40, SPLITER_SEEK_FORWARD), 0u);
    EXPECT_EQ(avi.file.read(1), run.frames[1]);
}

// A recorder that was cut off leaves sizes of 0 in its last segment.
TEST(AviOpenDml, SegmentsWithoutSizes) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.frame(0, size_t{40}).frame(0, size_t{41});
    const uint64_t start = builder.build().size();
    builder.segment().frame(0, size_t{42}).frame(0, size_t{43});
    for (const unsigned zeroed : {1u, 2u, 3u}) {
        SparseStore bytes = builder.build();
        if ((zeroed & 1) != 0) bytes.patch(start + 4, le32(0));
        if ((zeroed & 2) != 0) bytes.patch(start + 16, le32(0));
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            SCOPED_TRACE(zeroed);
            TestSource source(bytes, kind);
            SplitterFile file(kAviSplitter, source.record());
            expect_frames(file, builder, 0);
        }
    }
}

TEST(AviOpenDml, ZerosInFrontOfASegmentsMedia) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    const Bytes first = builder.frame(0, size_t{40}).build().flatten(), zeros(300004), frame(42, 7);
    const auto offset = static_cast<uint32_t>(first.size() - builder.media_start() + 12 + zeros.size() + 12);
    const Bytes media = list(tag("movi"), chunk(tag("00dc"), frame));
    const Bytes index =
        join({text("00dc"), le32(0x10), le32(4), le32(40), text("00dc"), le32(0x10), le32(offset), le32(42)});
    OpenedBytes avi(
        join({first, chunk(tag("RIFF"), join({text("AVIX"), zeros, media})), chunk(tag("idx1"), index)}));
    EXPECT_EQ(avi.file.seek(1, 40, SPLITER_SEEK_FORWARD), 0u);
    EXPECT_EQ(avi.file.read(1).data, frame);
}

}  // namespace
}  // namespace quorv::test
