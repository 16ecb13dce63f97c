// The legacy index: where it is found, what its entries mean, and that it is read in blocks only as far as
// somebody asks.

#include "support/FailingAllocator.h"
#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

constexpr uint32_t kBlock = 65536;

struct RawEntry {
    const char *id;
    uint32_t flags, offset, size;
};

// Three video frames and an audio chunk at known offsets from the list type: 4, 24, 44 and 64.
AviBuilder four_chunks() {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, IndexKind::None);
    builder.frame(0, size_t{12}).frame(0, size_t{12}).frame(0, size_t{12}).frame(1, size_t{12});
    return builder;
}

Bytes file_with_index(AviBuilder builder, const std::vector<RawEntry> &entries) {
    Bytes index;
    for (const RawEntry &e : entries) {
        const Bytes entry = join({text(e.id), le32(e.flags), le32(e.offset), le32(e.size)});
        index.insert(index.end(), entry.begin(), entry.end());
    }
    return join({builder.build().flatten(), chunk(tag("idx1"), index)});
}

std::string key_flags(SplitterFile &file, uint32_t track) {
    std::string flags;
    for (const Frame &frame : file.read_all(track).frames)
        flags += frame.info.key_frame != 0 ? 'K' : '-';
    return flags;
}

TEST(AviIndex, EntriesMarkKeyFrames) {
    AviBuilder builder = four_chunks();
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
        {"index shorter than the media data", {{"00dc", 0x10, 4, 12}, {"00dc", 0x10, 24, 12}}, "KK-"},
    };
    for (const auto &[name, entries, expected] : cases) {
        SCOPED_TRACE(name);
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedBytes avi(file_with_index(builder, entries), kind);
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
        entries.push_back(video);
        if (i == 100 || i == 2000) entries.push_back(video);
        entries.push_back({"01wb", 0x10, video.offset + 12, 8});
        entries.push_back({"02wb", 0x10, video.offset + 28, 9});
    }
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        OpenedBytes avi(file_with_index(builder, entries), kind);
        builder.build();
        for (uint32_t track = 1; track <= 3; ++track) {
            const FrameRun run = avi.file.read_all(track);
            const std::vector<TruthFrame> &truth = builder.truth(track - 1);
            uint32_t last_time = 0;
            ASSERT_EQ(run.frames.size(), truth.size()) << "track " << track;
            for (size_t i = 0; i < truth.size(); ++i) {
                ASSERT_EQ(run.frames[i].data, truth[i].data) << "track " << track << ", frame " << i;
                ASSERT_GE(run.frames[i].info.time_stamp, last_time);
                last_time = run.frames[i].info.time_stamp;
            }
        }
        EXPECT_EQ(avi.file.seek(1, 2900 * 40, SPLITER_SEEK_FORWARD), 0u);
        EXPECT_EQ(avi.file.read(1).data, le32(2898));
    }
}

// The second stream's entries are all key frames, whatever their flags say; those of others are not. Chunks
// of any kind may stand between the media data and the index.
TEST(AviIndex, SecondStreamIsAllKeyFrames) {
    AviBuilder builder({video_stream(tag("MJPG")), video_stream(tag("MJPG")), video_stream(tag("MJPG"))});
    for (uint32_t i = 0; i < 12; ++i)
        builder.frame(i % 3, size_t{20} + i, false);
    builder.after = join({chunk(tag("JUNK"), Bytes(17)), list(tag("INFO"), chunk(tag("ISFT"), text("abc"))),
                          chunk(tag("idx2"), Bytes(64))});
    OpenedAvi avi(builder);
    for (uint32_t track = 1; track <= 3; ++track) {
        EXPECT_EQ(avi.file.is_seekable(track) != 0, track == 2);
        EXPECT_EQ(key_flags(avi.file, track), track == 2 ? "KKKK" : "K---");
    }
}

AviBuilder long_video(size_t frames) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < frames; ++i)
        builder.frame(0, size_t{2}, i == 0 || i == 4990 || i == frames - 1);
    return builder;
}

TEST(AviIndex, OpensWithOneBlockAndReadsOnWhenAsked) {
    OpenedAvi avi(long_video(13000));  // three whole blocks and a part
    const auto expect_blocks_read = [&avi](uint64_t blocks) {
        EXPECT_EQ(avi.source.bytes_read / kBlock, blocks);  // what else was read is little beside them
    };
    expect_blocks_read(1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(avi.file.is_seekable(1), 0u);  // the first 4096 entries hold one key frame only
        expect_blocks_read(2);
    }
    uint32_t reached = 0;
    EXPECT_EQ(avi.file.seek(1, 4990 * 40, SPLITER_SEEK_FORWARD, &reached), 0u);
    EXPECT_EQ(reached, 4990u * 40);
    expect_blocks_read(2);
    // A key frame in the last block: the rest of the index is read for it.
    EXPECT_EQ(avi.file.seek(1, 4991 * 40, SPLITER_SEEK_FORWARD, &reached), 0u);
    EXPECT_EQ(reached, 12999u * 40);
    expect_blocks_read(3);
    expect_frames(avi.file, avi.builder, 0, {.from = 12999});
    // A source that is still arriving reads the index as the frames go by, and every key flag is right.
    OpenedAvi progressive(avi.builder, SPLITER_SOURCE_PROGRESSIVE);
    EXPECT_LT(progressive.source.bytes_read, kBlock);
    expect_frames(progressive.file, progressive.builder, 0);
}

// A million entries: one block at open, memory that stays within the array's growth factor.
TEST(AviIndex, MillionEntriesInLittleMemory) {
    constexpr size_t kFrames = 1000000;
    AviBuilder header({video_stream(tag("MJPG"))}, IndexKind::None);
    SparseStore bytes = header.build();
    const uint64_t media_start = header.media_start();
    Bytes media, index;
    const auto put = [](Bytes &to, std::initializer_list<uint32_t> words) {
        for (const uint32_t word : words) {
            for (unsigned shift = 0; shift < 32; shift += 8)
                to.push_back(static_cast<uint8_t>(word >> shift));
        }
    };
    for (uint32_t i = 0; i < kFrames; ++i) {
        put(media, {tag("00dc"), 0});
        put(index, {tag("00dc"), i % 100 == 0 ? 0x10u : 0u, 4 + 8 * i, 0});
    }
    bytes.append(media);
    bytes.patch(media_start - 4, le32(static_cast<uint32_t>(media.size()) + 4));
    bytes.append(chunk(tag("idx1"), index));

    TestSource source(bytes);
    FailingAllocator heap;
    {
        SplitterFile file(kAviSplitter, source.record());
        ASSERT_EQ(file.open_code, 0u);
        EXPECT_GE(source.bytes_read, kBlock);
        EXPECT_LT(source.bytes_read, kBlock + 4096);
        EXPECT_LT(heap.peak_bytes(), kBlock + 4096 * 24 * 17 / 16 + 64 * 1024);
        uint32_t reached = 0;
        EXPECT_EQ(file.seek(1, (kFrames - 1) * 40, SPLITER_SEEK_BACKWARD, &reached), 0u);
        EXPECT_EQ(reached, (kFrames - 100) * 40);
        EXPECT_LE(heap.peak_bytes(), kFrames * 24 * 17 / 16 + kBlock + 64 * 1024);
    }
    EXPECT_EQ(heap.live_blocks(), 0u);
}

// A callback that fails while the index is read: reported by the query that met it, or it ends the index; all
// frames can be read afterwards.
TEST(AviIndex, FailedBlockIsReportedOnce) {
    OpenedAvi avi(long_video(9000));
    avi.source.faults.at = avi.source.calls() + 2;  // the read behind the seek
    avi.source.faults.for_good = true;
    EXPECT_EQ(avi.file.is_seekable(1), kSourceFailed);
    avi.source.faults.at = 0;
    EXPECT_EQ(avi.file.is_seekable(1), 0u);
    expect_frames(avi.file, avi.builder, 0, {.count = 4096});
    bool failed = true;
    for (uint64_t at = 1; failed; ++at) {
        OpenedAvi broken(avi.builder);
        broken.source.faults.at = broken.source.calls() + at;
        const uint32_t code = broken.file.seek(1, 8999 * 40, SPLITER_SEEK_BACKWARD);
        failed = broken.source.calls() >= broken.source.faults.at;
        EXPECT_TRUE(code == 0 || (failed && (code == kSourceFailed || code == SPLITER_ERR_END_OF_STREAM)));
        broken.source.faults.at = 0;
        ASSERT_EQ(broken.file.reset(), 0u);
        expect_frames(broken.file, broken.builder, 0, {.keys = false});
    }
}

// What follows the index in a further segment looks like entries; it is none.
TEST(AviIndex, EndsWhereAFurtherSegmentBegins) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    builder.frame(0, size_t{16}).frame(0, size_t{16}).segment();
    for (int i = 0; i < 20; ++i)
        builder.frame(0, size_t{16});
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        OpenedAvi avi(builder, kind);
        EXPECT_EQ(avi.file.seek(1, 80, SPLITER_SEEK_FORWARD), uint32_t{SPLITER_ERR_END_OF_STREAM});
        expect_frames(avi.file, avi.builder, 0, {.keys = false});
    }
}

}  // namespace
}  // namespace quorv::test
