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
        index = join({index, text(e.id), le32(e.flags), le32(e.offset), le32(e.size)});
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
    const uint32_t base = static_cast<uint32_t>([] {
        AviBuilder b = four_chunks();
        b.build();
        return b.media_start();
    }());
    const std::tuple<const char *, std::vector<RawEntry>, const char *> cases[] = {
        {"no index", {}, "K--"},
        {"relative offsets", {{"00dc", 0x10, 4, 12}, {"00dc", 0, 24, 12}, {"00dc", 0x10, 44, 12}}, "K-K"},
        {"absolute offsets",
         {{"00dc", 0x10, base + 4, 12}, {"00dc", 0x10, base + 24, 12}, {"00dc", 0, base + 44, 12}},
         "KK-"},
        {"first frame without its flag",
         {{"00dc", 0, 4, 12}, {"00dc", 0, 24, 12}, {"00dc", 0x10, 44, 12}},
         "K-K"},
        {"other flag bits",
         {{"00dc", 0x10, 4, 12}, {"00dc", 0xFFFFFFEF, 24, 12}, {"00dc", 0x30, 44, 12}},
         "K-K"},
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
            OpenedBytes avi(file_with_index(four_chunks(), entries), kind);
            EXPECT_EQ(key_flags(avi.file, 1), expected);
        }
    }
}

// Where the index repeats an entry only in a later block, every chunk still comes once and in order, and from
// then on with the index's time stamps.
TEST(AviIndex, LaterRepeatsLoseAndRepeatNoFrame) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream(8000, 4), pcm_stream(8000, 4)},
                       IndexKind::None);
    Bytes index;
    uint32_t offset = 4;
    const auto entry = [&](const char *id, uint32_t size) {
        const Bytes bytes = join({text(id), le32(0x10), le32(offset), le32(size)});
        index.insert(index.end(), bytes.begin(), bytes.end());
    };
    for (uint32_t i = 0; i < 3000; ++i) {
        builder.frame(0, join({le32(i)})).frame(1, size_t{8}).frame(2, size_t{9});  // half a sample too many
        entry("00dc", 4);
        if (i == 100 || i == 2000) entry("00dc", 4);
        offset += 12;
        entry("01wb", 8);
        offset += 16;
        entry("02wb", 9);
        offset += 18;
    }
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        OpenedBytes avi(join({builder.build().flatten(), chunk(tag("idx1"), index)}), kind);
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

// The second stream's entries are all key frames, whatever their flags say; those of others are not.
TEST(AviIndex, SecondStreamIsAllKeyFrames) {
    AviBuilder builder({video_stream(tag("MJPG")), video_stream(tag("MJPG")), video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 4; ++i) {
        for (uint32_t stream = 0; stream < 3; ++stream)
            builder.frame(stream, 20 + i, false);
    }
    OpenedAvi avi(builder);
    EXPECT_EQ(key_flags(avi.file, 1), "K---");
    EXPECT_EQ(key_flags(avi.file, 2), "KKKK");
    EXPECT_EQ(key_flags(avi.file, 3), "K---");
    for (uint32_t track = 1; track <= 3; ++track)
        EXPECT_EQ(avi.file.is_seekable(track) != 0, track == 2);
}

// Chunks of any kind may stand between the media data and the index.
TEST(AviIndex, IsFoundBehindOtherChunks) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 4; ++i)
        builder.frame(0, 21 + i, i % 2 == 0);
    builder.after = join({chunk(tag("JUNK"), Bytes(17)), list(tag("INFO"), chunk(tag("ISFT"), text("abc"))),
                          chunk(tag("idx2"), Bytes(64))});
    OpenedAvi avi(builder);
    EXPECT_NE(avi.file.is_seekable(1), 0u);
    expect_frames(avi.file, avi.builder, 0);
}

AviBuilder long_video(size_t frames) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < frames; ++i)
        builder.frame(0, size_t{2}, i == 0 || i == 4990 || i == frames - 1);
    return builder;
}

// Bytes read by a call: media headers are small beside a block of the index.
template <typename Call>
uint64_t bytes_read_by(TestSource &source, Call call) {
    const uint64_t before = source.bytes_read;
    call();
    return source.bytes_read - before;
}

TEST(AviIndex, OpensWithOneBlockAndReadsOnWhenAsked) {
    OpenedAvi avi(long_video(13000));  // three whole blocks and a part
    EXPECT_GE(avi.source.bytes_read, kBlock);
    EXPECT_LT(avi.source.bytes_read, 2 * kBlock);
    // The first 4096 entries hold one key frame only.
    EXPECT_GE(bytes_read_by(avi.source, [&] { EXPECT_NE(avi.file.is_seekable(1), 0u); }), kBlock);
    EXPECT_LT(avi.source.bytes_read, 3 * kBlock);
    // What is known is not read again.
    EXPECT_LT(bytes_read_by(avi.source, [&] { EXPECT_NE(avi.file.is_seekable(1), 0u); }), 16u);
    uint32_t reached = 0;
    EXPECT_EQ(avi.file.seek(1, 4990 * 40, SPLITER_SEEK_FORWARD, &reached), 0u);
    EXPECT_EQ(reached, 4990u * 40);
    EXPECT_LT(avi.source.bytes_read, 3 * kBlock);
    // A key frame in the last block: the rest of the index is read for it.
    EXPECT_EQ(avi.file.seek(1, 4991 * 40, SPLITER_SEEK_FORWARD, &reached), 0u);
    EXPECT_EQ(reached, 12999u * 40);
    EXPECT_GE(avi.source.bytes_read, 13000u * 16);
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
    media.reserve(kFrames * 8);
    index.reserve(kFrames * 16);
    const auto put = [](Bytes &to, uint32_t word) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            to.push_back(static_cast<uint8_t>(word >> shift));
    };
    for (size_t i = 0; i < kFrames; ++i) {
        put(media, tag("00dc"));
        put(media, 0);
        put(index, tag("00dc"));
        put(index, i % 100 == 0 ? 0x10 : 0);
        put(index, static_cast<uint32_t>(4 + 8 * i));
        put(index, 0);
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

// A failing read while the index is read: reported once by the query that met it, and the index then counts
// as read.
TEST(AviIndex, FailedBlockIsReportedOnce) {
    OpenedAvi avi(long_video(9000));
    avi.source.faults.at = avi.source.calls() + 2;  // the read behind the seek
    avi.source.faults.for_good = true;
    EXPECT_EQ(avi.file.is_seekable(1), kSourceFailed);
    avi.source.faults.at = 0;
    EXPECT_EQ(avi.file.is_seekable(1), 0u);
    expect_frames(avi.file, avi.builder, 0, {.count = 4096});
}

}  // namespace
}  // namespace quorv::test
