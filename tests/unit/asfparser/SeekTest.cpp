// Seeking: every time of every video frame in both modes, with every kind of index, and audio.

#include "support/ExpectSeeks.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

constexpr uint32_t kVideo = 2, kAudio = 3;  // tracks
constexpr uint32_t kNext = UINT32_MAX;

// Frames over several packets, a key frame now and then, and pictures whose times fall back.
AsfBuilder video_and_audio(AsfIndex index) {
    AsfBuilder builder({asf_video(1), asf_audio(2)}, {}, index);
    for (uint32_t i = 0; i < 120; ++i) {
        const bool key = i % 9 == 0 || i == 40;
        // Of each three, the first is shown last, but for key frames.
        const uint32_t shown = i % 9 == 1 ? i + 1 : i % 9 == 2 ? i - 1 : i;
        builder.frame(0, shown * 40, 30 + i * 29 % 500, key).frame(1, i * 37, 25).frame(1, i * 37 + 9, 25);
    }
    return builder;
}

TEST(AsfSeekEnds, TimesBehindTheEndAndBeforeTheFirstKeyFrame) {
    AsfBuilder builder({asf_video(1), asf_audio(2)}, {}, AsfIndex::None);
    for (uint32_t i = 0; i < 10; ++i)
        builder.frame(0, i * 40, 30, i > 4).frame(1, i * 40 + 7, 20);
    for (const uint32_t kind : kKinds) {
        OpenedAsf asf(builder, kind);
        uint32_t reached = 0;
        EXPECT_EQ(asf.file.seek(kVideo, 100, SPLITER_SEEK_BACKWARD, &reached), 0u);
        EXPECT_EQ(reached, 200u);
        EXPECT_EQ(asf.file.seek(kVideo, 100, SPLITER_SEEK_FORWARD, &reached), 0u);
        EXPECT_EQ(reached, 200u);
        EXPECT_EQ(asf.file.seek(kAudio, 3, 0, &reached), 0u);
        EXPECT_EQ(reached, 7u);
        const uint32_t duration = asf.file.video_info(kVideo).duration;
        EXPECT_EQ(asf.file.seek(kVideo, duration, 0), kEnd);
        EXPECT_EQ(asf.file.read(kVideo).code, kEnd);
        EXPECT_EQ(asf.file.seek(kAudio, duration, 0), kEnd);
        EXPECT_EQ(asf.file.read(kAudio).info.time_stamp, 7u);
        EXPECT_EQ(asf.file.seek(kVideo, duration - 1, 0, &reached), 0u);
        EXPECT_EQ(reached, 360u);
        // The audio position is counted on by the interval, which only a local file has.
        EXPECT_EQ(asf.file.seek(kAudio, kNext, 0, &reached), 0u);
        EXPECT_EQ(reached, 47u);
        EXPECT_EQ(asf.file.seek(kAudio, kNext, 0, &reached), 0u);
        EXPECT_EQ(reached, kind == SPLITER_SOURCE_LOCAL ? 87u : 47u);
        EXPECT_EQ(asf.file.seek(4, 1, 0), uint32_t{SPLITER_ERR_INVALID_PARAM});
    }
}

// Until a seek that came too early is repeated, nothing is read and the next key frame is not known.
TEST(AsfSeekEnds, SeeksWaitForTheirBytes) {
    for (const SampleFile &sample : sample_files()) {
        if (!sample.is_asf()) continue;
        SCOPED_TRACE(sample.name);
        for (const SampleFile::Track &sought : sample.tracks) {
            const uint32_t track = sought.entry.track;
            for (uint32_t time = 1; time < 400; time += 13) {
                AsfBytes local(sample.bytes);
                AsfBytes asf(sample.bytes, SPLITER_SOURCE_PROGRESSIVE,
                             {.arrived = sample.header_bytes + time * 7 % 400});
                uint32_t code = 0, reached = 0, right = 0;
                while ((code = asf.file.seek(track, time, time % 2, &reached)) == kNotArrived) {
                    EXPECT_EQ(asf.file.read(track).code, kNotArrived);
                    EXPECT_EQ(asf.file.seek(track, kNext, 0), uint32_t{SPLITER_ERR_UNSUPPORTED});
                    ASSERT_LT(asf.source.faults.arrived, sample.bytes.size());
                    asf.source.faults.arrived += 1 + time * 31 % 150;
                }
                ASSERT_EQ(code, local.file.seek(track, time, time % 2, &right)) << time;
                asf.source.faults.arrived = UINT64_MAX;
                if (code != 0) continue;
                ASSERT_EQ(reached, right);
                ASSERT_TRUE(asf.file.read(track) == local.file.read(track));
            }
        }
    }
}

struct IndexedFile {
    AsfBuilder builder = video_and_audio(AsfIndex::Right);
    Bytes bytes = builder.build();
    uint8_t *index = nullptr;  // of 100 ms an entry, 3000 ms of them before the start
    uint32_t entries = 0;

    IndexedFile() {
        const Bytes guid = le32(0x33000890);
        const auto data = bytes.begin() + static_cast<std::ptrdiff_t>(builder.data_start());
        index = &*std::search(data, bytes.end(), guid.begin(), guid.end());
        entries = index[52] + index[53] * 256u;
    }
    void set_entries(uint32_t count) { std::copy_n(le32(count).data(), 4, index + 52); }
    void set_packet(uint32_t entry, uint32_t packet) {
        std::copy_n(le32(packet).data(), 4, index + 56 + entry * 6);
    }
};

uint32_t key_frame_count(SplitterHandle handle) {
    SplitterTrackValue value = {kVideo, 7};
    uint32_t size = sizeof value;
    EXPECT_EQ(kAsfSplitter.get_config(handle, SPLITER_CFG_KEYFRAME_COUNT, &value, &size), 0u);
    return value.value;
}

// Behind the end of the index, times are found as they are without one.
TEST(AsfSeekEnds, TimesBehindTheIndex) {
    for (const uint32_t entries : {2u, 40u}) {
        IndexedFile indexed;
        indexed.set_entries(entries);
        AsfBytes asf(indexed.bytes);
        EXPECT_EQ(key_frame_count(asf.file.handle()), entries == 2 ? 1u : 3u);
        expect_seeks(asf.file, kVideo, indexed.builder.truth(0), {true});
    }
}

// Before the file is opened, too.
TEST(AsfIndexes, CountTheKeyFramesOfPacketsThatTheFileHas) {
    const IndexedFile good;
    const auto packets = static_cast<uint32_t>((good.index - &good.bytes[good.builder.data_start()]) / 200);
    const struct {
        uint32_t stated, replaced, with, count;
    } cases[] = {{good.entries, 0, 0, 15},
                 {good.entries, good.entries, packets - 1, 1},
                 {good.entries, good.entries, packets, 1000},
                 {good.entries, 34, UINT32_MAX, 14},
                 {1, 0, 0, 1000},
                 {2, 0, 0, 1}};
    for (const auto &c : cases) {
        IndexedFile file;
        file.set_entries(c.stated);
        for (uint32_t i = 0; i < c.replaced; ++i)
            file.set_packet(i, c.with);
        const MemoryStore store(file.bytes);
        for (const uint32_t kind : kKinds) {
            TestSource source(store, kind);
            const SplitterStreamSource record = source.record();
            SplitterHandle handle = nullptr;
            SplitterHttpParam param;
            ASSERT_EQ(ASF_SPLITER_GetHTTPParam(&record, &param, &handle), 0u);
            SplitterFile opened(kAsfSplitter, handle);
            EXPECT_EQ(key_frame_count(handle), c.count) << c.with;
            ASSERT_EQ(ASF_SPLITER_Open(&record, 1, &handle), 0u);
            EXPECT_EQ(key_frame_count(handle), c.count) << c.with;
            EXPECT_EQ(opened.is_seekable(kVideo), 1u);
        }
    }
}

// One frame a packet, and a key frame among 300 of them.
TEST(AsfSeekCost, AHundredThousandPacketsWithoutIndex) {
    AsfBuilder builder({asf_video(1)}, {.packet_size = 60, .multiple = false}, AsfIndex::None);
    for (uint32_t i = 0; i < 100000; ++i)
        builder.frame(0, i * 40, 20, i % 300 == 0);
    OpenedAsf asf(builder);
    for (uint32_t time = 39; time < 99900 * 40; time += 123456) {
        const uint32_t packet = time / 40, key = packet / 300 * 300;
        for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
            asf.source.reads = 0;
            uint32_t reached = 0;
            ASSERT_EQ(asf.file.seek(kVideo, time, mode, &reached), 0u);
            const bool next = mode == SPLITER_SEEK_FORWARD && key * 40 != time;
            EXPECT_EQ(reached, (key + (next ? 300 : 0)) * 40);
            EXPECT_LE(asf.source.reads, packet - key + (next ? 302 : 1) + 64) << time;
        }
    }
}

TEST(AsfSeekEnds, FilesWithALateKeyFrameOrNone) {
    for (const AsfIndex index : {AsfIndex::None, AsfIndex::Right, AsfIndex::Late}) {
        for (const uint32_t kind : kKinds) {
            for (const uint32_t first_key : {5u, 10u}) {
                AsfBuilder builder({asf_video(1)}, {}, index);
                for (uint32_t i = 0; i < 10; ++i)
                    builder.frame(0, i * 40, 60, i >= first_key);
                AsfBytes asf(builder.build(), kind);
                EXPECT_EQ(asf.file.seek(kVideo, 100, SPLITER_SEEK_BACKWARD), first_key == 5 ? 0u : kEnd);
                // After a failure a file's track is at its end, that of a download where it was.
                const Frame frame = asf.file.read(kVideo);
                EXPECT_EQ(frame.code, first_key == 10 && kind == SPLITER_SOURCE_LOCAL ? kEnd : 0u);
                EXPECT_EQ(frame.info.time_stamp, first_key == 5 ? 200u : 0u);
            }
        }
    }
}

}  // namespace
}  // namespace quorv::test
