// Indexes: the legacy one, which is read in blocks only as far as somebody asks, OpenDML ones of every form,
// and files of several segments and more than 4 GB.

#include "support/ExpectSeeks.h"
#include "support/FailingAllocator.h"

namespace quorv::test {
namespace {

constexpr uint32_t kBlock = 65536;

struct RawEntry {
    const char *id;
    uint32_t flags, offset, size;
};

Bytes file_with_index(AviBuilder builder, const std::vector<RawEntry> &entries) {
    Bytes index;
    for (const RawEntry &e : entries)
        append(index, join({text(e.id), le32(e.flags), le32(e.offset), le32(e.size)}));
    return join({builder.build().flatten(), chunk(tag("idx1"), index)});
}

std::string key_flags(SplitterFile &file, uint32_t track) {
    std::string flags;
    for (const Frame &frame : file.read_all(track).frames)
        flags += frame.info.key_frame != 0 ? 'K' : '-';
    return flags;
}

TEST(AviIndex, EntriesMarkKeyFrames) {
    // Three video frames and an audio chunk at known offsets from the list type: 4, 24, 44 and 64.
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, IndexKind::None);
    builder.frame(0, size_t{12}).frame(0, size_t{12}).frame(0, size_t{12}).frame(1, size_t{12});
    builder.build();
    const uint32_t base = static_cast<uint32_t>(builder.media_start());
    const std::tuple<const char *, std::vector<RawEntry>, const char *> cases[] = {
        {"no index", {}, "K--"},
        {"absolute offsets",
         {{"00dc", 0x10, base + 4, 12}, {"00dc", 0x10, base + 24, 12}, {"00dc", 0, base + 44, 12}},
         "KK-"},
        {"flags", {{"00dc", 0, 4, 12}, {"00dc", 0xFFFFFFEF, 24, 12}, {"00dc", 0x30, 44, 12}}, "K-K"},
        {"entries of unknown streams between",
         {{"00dc", 0x10, 4, 12},
          {"07dc", 0x10, 24, 12},
          {"xxdc", 0x10, 24, 12},
          {"00dc", 0x10, 24, 12},
          {"00dc", 0, 44, 12}},
         "KK-"},
        {"first picture behind an empty chunk",
         {{"00dc", 0x10, 4, 0}, {"00dc", 0, 24, 12}, {"00dc", 0, 44, 12}},
         "-K-"},
        {"index shorter than the media data", {{"00dc", 0x10, 4, 12}, {"00dc", 0x10, 24, 12}}, "KK-"},
    };
    for (const auto &[name, entries, expected] : cases) {
        SCOPED_TRACE(name);
        for (const uint32_t kind : kKinds) {
            AviBytes avi(file_with_index(builder, entries), kind);
            EXPECT_EQ(key_flags(avi.file, 1), expected);
        }
    }
}

// Where the index repeats an entry only in a later block, every chunk still comes once and in order, and from
// then on with the index's time stamps.
TEST(AviIndex, LaterRepeatsLoseAndRepeatNoFrame) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream(8000, 4), pcm_stream(8000, 4)},
                       IndexKind::None);
    std::vector<RawEntry> entries;
    for (uint32_t i = 0; i < 3000; ++i) {
        builder.frame(0, le32(i)).frame(1, size_t{8}).frame(2, size_t{9});  // half a sample too many
        const RawEntry video = {"00dc", 0x10, 4 + 46 * i, 4};
        entries.insert(entries.end(), i == 100 || i == 2000 ? 2 : 1, video);
        entries.push_back({"01wb", 0x10, video.offset + 12, 8});
        entries.push_back({"02wb", 0x10, video.offset + 28, 9});
    }
    for (const uint32_t kind : kKinds) {
        AviBytes avi(file_with_index(builder, entries), kind);
        builder.build();
        for (uint32_t track = 1; track <= 3; ++track) {
            const std::vector<Frame> frames = avi.file.read_all(track).frames;
            const std::vector<TruthFrame> &truth = builder.truth(track - 1);
            uint32_t last_time = 0;
            ASSERT_EQ(frames.size(), truth.size()) << "track " << track;
            for (size_t i = 0; i < truth.size(); ++i) {
                ASSERT_EQ(frames[i].data, truth[i].data) << "track " << track << ", frame " << i;
                ASSERT_GE(frames[i].info.time_stamp, last_time);
                last_time = frames[i].info.time_stamp;
            }
        }
        // The time of an entry that is repeated at once passes without a frame.
        for (const auto &[time, frame] : {std::pair{101u, 101u}, {2900u, 2898u}}) {
            EXPECT_EQ(avi.file.seek(1, time * 40, SPLITER_SEEK_FORWARD), 0u);
            EXPECT_EQ(avi.file.read(1).data, le32(frame));
        }
    }
}

AviBuilder long_video(size_t frames) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < frames; ++i)
        builder.frame(0, size_t{2}, i == 0 || i == 4990 || i == frames - 1);
    return builder;
}

TEST(AviIndex, OpensWithOneBlockAndReadsOnWhenAsked) {
    constexpr uint64_t kSlack = kBlock + 128 * 1024;  // beside the entries, which grow by a sixteenth
    const AviBuilder builder = long_video(13000);     // three whole blocks and a part
    FailingAllocator heap;
    OpenedAvi avi(builder);
    EXPECT_LT(heap.peak_bytes(), kSlack + 4096 * 24 * 17 / 16);
    const auto blocks_read = [&avi] { return avi.source.bytes_read / kBlock; };  // little else was read
    EXPECT_EQ(blocks_read(), 1u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(avi.file.is_seekable(1), 0u);  // the first 4096 entries hold one key frame only
        EXPECT_EQ(blocks_read(), 2u);
    }
    uint32_t reached = 0;
    EXPECT_EQ(avi.file.seek(1, 4990 * 40, SPLITER_SEEK_FORWARD, &reached), 0u);
    EXPECT_EQ(reached, 4990u * 40);
    EXPECT_EQ(blocks_read(), 2u);
    // A key frame in the last block: the rest of the index is read for it.
    EXPECT_EQ(avi.file.seek(1, 4991 * 40, SPLITER_SEEK_FORWARD, &reached), 0u);
    EXPECT_EQ(reached, 12999u * 40);
    EXPECT_EQ(blocks_read(), 3u);
    EXPECT_LT(heap.peak_bytes(), kSlack + 13000 * 24 * 17 / 16);
    avi.expect_frames(0, {.from = 12999});
    // A source that is still arriving reads the index as the frames go by, and every key flag is right.
    OpenedAvi progressive(avi.builder, SPLITER_SOURCE_PROGRESSIVE);
    EXPECT_LT(progressive.source.bytes_read, kBlock);
    progressive.expect_frames(0);
}

// A callback that fails while the index is read is reported by the query that met it and ends the index.
TEST(AviIndex, FailedBlockIsReportedOnce) {
    OpenedAvi avi(long_video(9000));
    avi.source.faults = {.at = avi.source.calls() + 1, .for_good = true};
    EXPECT_EQ(avi.file.is_seekable(1), kSourceFailed);
    avi.source.faults = {};
    EXPECT_EQ(avi.file.is_seekable(1), 0u);
    avi.expect_frames(0, {.count = 4096});
}

constexpr uint32_t kGap = 0x3FFF0000;  // of zeros, nearly 1 GB

TEST(AviOpenDml, HugeFilesReadAndSeekToTheirLastFrame) {
    for (const IndexKind kind : {IndexKind::OpenDml, IndexKind::OpenDmlFields, IndexKind::None}) {
        SCOPED_TRACE(static_cast<int>(kind));
        AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, kind);
        for (size_t segment = 0; segment < 6; ++segment) {
            if (segment != 0) builder.segment();
            for (size_t i = 0; i < 4; ++i)
                builder.frame(0, 100 + 10 * segment + i, i % 2 == 0).frame(1, size_t{320});
            builder.junk(kGap).frame(0, 90 + segment, false).frame(1, size_t{320});
        }
        OpenedAvi avi(builder);
        ASSERT_GT(avi.builder.truth(0).back().position, uint64_t{4} << 30);
        EXPECT_LT(avi.source.bytes_read, 64u << 10);
        for (uint32_t stream = 0; stream < 2; ++stream) {
            avi.expect_frames(stream);
            EXPECT_EQ(avi.file.is_seekable(stream + 1) != 0, kind != IndexKind::None);
            expect_seeks(avi.file, stream + 1, avi.builder.truth(stream),
                         {stream == 0, avi.builder.unit(stream)});
        }
    }
}

// The body of an index of the first stream.
Bytes index_body(uint32_t longs, uint8_t sub, uint8_t type, uint32_t used, const Bytes &entries,
                 uint64_t base = 0) {
    return join({le16(longs), Bytes{sub, type}, le32(used), text("00dc"), le64(base), Bytes(4), entries});
}

// A super index that lies is dropped for its track, never an error: the legacy index serves it then.
TEST(AviOpenDml, BadSuperIndexesAreDropped) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 6; ++i)
        builder.frame(0, 40 + i, i % 2 == 0);
    const Bytes beyond = join({le64(uint64_t{1} << 40), le32(100), le32(1)});
    const Bytes at_header = join({le64(0), le32(0xFFFFFFF0), le32(1)});
    const Bytes lost = join({le32(0x70000000), le32(40), le32(0x70000030), le32(41)});
    const std::pair<const char *, Bytes> cases[] = {
        {"empty", {}},
        {"header cut", Bytes(23)},
        {"no entries", index_body(4, 0, 0, 0, {})},
        {"beyond the file", index_body(4, 0, 0, 1, beyond)},
        {"points at something else", index_body(4, 0, 0, 1, at_header)},
        {"more entries in use than there are", index_body(4, 0, 0, 1000000, join({beyond, beyond}))},
        {"many longs an entry", index_body(0xFFFF, 0, 0, 1, beyond)},
        {"unknown type", index_body(4, 0, 0x77, 1, beyond)},
        {"standard index without entries", index_body(2, 0, 1, 0, {})},
        {"standard index of chunks beyond the file", index_body(2, 0, 1, 2, lost)},
        {"standard index that claims more", index_body(2, 0, 1, 0x0AAAAAAA, Bytes(16))},
    };
    for (const auto &[name, body] : cases) {
        SCOPED_TRACE(name);
        builder.streams[0].after_format = chunk(tag("indx"), body);
        OpenedAvi avi(builder, SPLITER_SOURCE_LOCAL, {.call_limit = 20000});
        avi.expect_frames(0);
        uint32_t reached = 0;
        EXPECT_EQ(avi.file.seek(1, 80, SPLITER_SEEK_BACKWARD, &reached), 0u);
        EXPECT_EQ(reached, 80u);
    }
}

// What was read before a missing index chunk is kept; frames behind it count as they do without an index, or
// the legacy index has them.
TEST(AviOpenDml, IndexesThatEndEarly) {
    for (const IndexKind kind : {IndexKind::OpenDml, IndexKind::OpenDmlFields}) {
        AviBuilder builder({video_stream(tag("MJPG"))}, kind);
        for (size_t i = 0; i < 40; ++i) {
            if (i == 20) builder.segment();
            builder.frame(0, 40 + i, i % 5 == 0);
        }
        const Bytes whole = builder.build().flatten();
        AviBytes cut(Bytes(whole.begin(), whole.end() - 200));  // with the second index chunk
        std::vector<TruthFrame> truth = builder.truth(0);
        for (size_t i = 20; i < truth.size(); ++i)
            truth[i].key = false;
        expect_frames(cut.file, 1, truth, {.count = 39});
        EXPECT_EQ(cut.file.seek(1, 39 * 40, SPLITER_SEEK_BACKWARD), 0u);
        expect_frames(cut.file, 1, truth, {.from = 15, .count = 24});
    }
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDml);
    for (size_t i = 0; i < 8; ++i)
        builder.frame(0, 40 + i, i % 3 == 0);
    Bytes file = builder.build().flatten();
    const auto entry_count = [&file](const std::string &id) -> uint8_t & {
        return std::search(file.begin(), file.end(), id.begin(), id.end())[12];
    };
    entry_count("indx") = 2;  // of which the second is no index chunk
    entry_count("ix00") = 2;
    AviBytes avi(file);
    expect_frames(avi.file, 1, builder.truth(0));
    EXPECT_EQ(avi.file.seek(1, 200, SPLITER_SEEK_FORWARD), 0u);
    expect_frames(avi.file, 1, builder.truth(0), {.from = 6});
}

// A super index that names the same index chunk over and over makes a small file look endless; so do tracks
// that share one. All together have no more entries than the file can have chunks.
TEST(AviOpenDml, IndexChunksThatAreNamedOverAndOver) {
    constexpr uint32_t kEntries = 4000;
    Bytes entries;
    for (uint32_t i = 0; i < kEntries; ++i)
        append(entries, join({le32(100 + i), le32(10)}));
    for (const auto &[tracks, named] : {std::pair{1u, 4000u}, {3u, 1u}}) {
        AviBuilder builder(std::vector<AviStream>(tracks, video_stream(tag("MJPG"))), IndexKind::None);
        builder.frame(0, size_t{40}).frame(0, size_t{41});
        builder.after = chunk(tag("ix00"), index_body(2, 0, 1, kEntries, entries));
        uint64_t position = 0;
        for (int pass = 0; pass < 2; ++pass) {
            Bytes names;
            for (uint32_t i = 0; i < named; ++i)
                append(names, join({le64(position), le32(24), le32(1)}));
            for (AviStream &stream : builder.streams)
                stream.after_format = chunk(tag("indx"), index_body(4, 0, 0, named, names));
            position = builder.build().size() - builder.after.size();
        }
        for (const SizeAnswer size : {SizeAnswer::Known, SizeAnswer::Zero}) {
            FailingAllocator heap;
            OpenedAvi avi(builder, SPLITER_SOURCE_LOCAL, {.size = size, .call_limit = 20000});
            ASSERT_EQ(avi.file.open_code, 0u);
            EXPECT_LT(heap.peak_bytes(), uint64_t{4} << 20);
            if (tracks == 1) avi.expect_frames(0, {.keys = false});  // of the first of them
            if (tracks == 1 || size != SizeAnswer::Known) continue;
            for (uint32_t track = 1; track <= tracks; ++track)
                EXPECT_EQ(avi.file.is_seekable(track), track == 1 ? 1u : 0u);
        }
    }
}

TEST(AviOpenDml, EntriesBeyondTheSourceAreIgnored) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDmlDirect);
    for (size_t i = 0; i < 8; ++i)
        builder.frame(0, 40 + i);
    builder.build();
    OpenedAvi avi(builder, SPLITER_SOURCE_LOCAL, {.cut = builder.truth(0)[5].position + 7});
    EXPECT_EQ(avi.file.seek(1, 7 * 40, SPLITER_SEEK_BACKWARD), 0u);
    avi.expect_frames(0, {.from = 4, .count = 1});
}

// What follows the index in a further segment looks like entries; it is none.
TEST(AviIndex, EndsWhereAFurtherSegmentBegins) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    builder.frame(0, size_t{16}).frame(0, size_t{16}).segment();
    for (int i = 0; i < 20; ++i)
        builder.frame(0, size_t{16});
    for (const uint32_t kind : kKinds) {
        OpenedAvi avi(builder, kind);
        EXPECT_EQ(avi.file.seek(1, 80, SPLITER_SEEK_FORWARD), uint32_t{SPLITER_ERR_END_OF_STREAM});
        avi.expect_frames(0, {.keys = false});
    }
}

// An entry of zeros is a frame that was dropped: it has no chunk, but its time passes.
TEST(AviOpenDml, DroppedFrames) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.frame(0, size_t{10}).frame(0, size_t{12}).frame(0, size_t{14});
    const Bytes entries = join({le32(12), le32(10), Bytes(8), le32(30), le32(12), Bytes(4), le32(0x80000000),
                                le32(50), le32(0x8000000E)});
    for (int pass = 0; pass < 2; ++pass) {
        builder.streams[0].after_format =
            chunk(tag("indx"), index_body(2, 0, 1, 5, entries, builder.media_start()));
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
        MemoryStore bytes = builder.build();
        if ((zeroed & 1) != 0) bytes.patch(start + 4, le32(0));
        if ((zeroed & 2) != 0) bytes.patch(start + 16, le32(0));
        for (const uint32_t kind : kKinds) {
            SCOPED_TRACE(zeroed);
            TestSource source(bytes, kind);
            SplitterFile file(kAviSplitter, source.record());
            expect_frames(file, builder.track(0), builder.truth(0));
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
    AviBytes avi(
        join({first, chunk(tag("RIFF"), join({text("AVIX"), zeros, media})), chunk(tag("idx1"), index)}));
    EXPECT_EQ(avi.file.seek(1, 40, SPLITER_SEEK_FORWARD), 0u);
    EXPECT_EQ(avi.file.read(1).data, frame);
}

}  // namespace
}  // namespace quorv::test
