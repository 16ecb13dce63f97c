// Sources that are late, end early or share their streams, and heaps without room.

#include <optional>

#include "support/FailingAllocator.h"
#include "support/SampleFiles.h"
#include "unit/asfparser/SmallFile.h"

namespace quorv::test {
namespace {

TEST(AsfFormat, WhatWorksWithoutADurationOrBeforeOpening) {
    AsfBytes asf(patched(small_file().build(), kPlayDuration, le64(0)));
    uint32_t time = 0, size = 4;
    EXPECT_EQ(asf.file.next_key_time(2, &time), 0u);
    EXPECT_EQ(time, 160u);
    for (const auto &[track, code] : {std::pair{2u, kSmall}, {3u, kNothing}, {9u, kNothing}}) {
        SplitterTrackData data = {track, nullptr, 0};
        EXPECT_EQ(kAsfSplitter.get_config(asf.file.handle(), SPLITER_CFG_VIDEO_TYPE_DATA, &data, &size),
                  code);
    }
    AsfBytes other(small_file().build());
    const SplitterStreamSource record = other.source.record();
    SplitterHandle handle = nullptr;
    SplitterHttpParam param;
    ASSERT_EQ(ASF_SPLITER_GetHTTPParam(&record, &param, &handle), 0u);
    SplitterFile unopened(kAsfSplitter, handle);
    EXPECT_EQ(unopened.seek(2, 0, 0), 0u);
    EXPECT_EQ(unopened.seek(2, 1, 0), uint32_t{SPLITER_ERR_NO_PARSER});
}

// The header alone does not decide what is allocated.
TEST(AsfPacketSize, MemoryIsForBytesThatCome) {
    AsfBuilder builder = small_file();
    const Bytes bytes = patched(builder.build(), kPacketSize, le32(64u << 20));
    for (const uint32_t kind : kKinds) {
        for (const uint64_t cut : {uint64_t{builder.data_start()}, UINT64_MAX}) {
            for (const SizeAnswer size : {SizeAnswer::Known, SizeAnswer::Fails}) {
                const FailingAllocator heap;
                AsfBytes asf(bytes, kind, {.size = size, .cut = cut});
                EXPECT_NE(asf.file.read(2).code, 0u);
                EXPECT_LT(heap.peak_bytes(), 400000u);
            }
        }
    }
}

// Without a window, packets of up to 2 KB need no memory; others get some of their own, the largest in parts.
TEST(AsfPacketSize, NeedsAWindowOrMemoryOfItsOwn) {
    for (const uint32_t packet_size : {1500u, 3000u, 300000u}) {
        const AsfLayout layout = {.packet_size = packet_size, .widths = {.padding = 3, .payload_length = 3}};
        AsfBuilder builder({asf_video(1), asf_audio(2)}, layout, AsfIndex::None);
        for (uint32_t i = 0; i < 12; ++i)
            builder.frame(0, i * 40, 70000 + i).frame(1, i * 40, 25);
        const MemoryStore store(builder.build());
        bool lacked_memory = true;
        for (uint64_t at = 1; lacked_memory; ++at) {
            TestSource source(store, kKinds[at % 2]);
            std::optional<FailingAllocator> heap(std::in_place, at, FailureSpan::ForGood);
            SplitterFile file(kAsfSplitter, source.record());
            const bool is_open = file.open_code == 0;
            const uint32_t first = is_open ? file.read(2).code : file.open_code;
            lacked_memory = heap->has_failed();
            heap.reset();
            const bool fails = lacked_memory && (!is_open || packet_size > 2048);
            EXPECT_EQ(first, fails ? uint32_t{SPLITER_ERR_NO_MEMORY} : 0u) << packet_size << " " << at;
            if (!is_open) continue;
            ASSERT_EQ(file.reset(), 0u);
            expect_frames(file, 2, builder.truth(0));
            expect_frames(file, 3, builder.truth(1));
        }
    }
}

TEST(AsfReaders, ReadAPacketOnceForBothTracks) {
    AsfBuilder builder({asf_video(1), asf_audio(2)}, {.packet_size = 1400, .widths = {.padding = 2}});
    for (uint32_t i = 0; i < 200; ++i)
        builder.frame(0, i * 40, 4096).frame(1, i * 40, 500);
    AsfBytes asf(builder.build());
    EXPECT_LE(asf.source.calls(), 10u);
    asf.source.bytes_read = 0;
    const uint64_t calls = asf.source.calls();
    for (uint32_t i = 0; i < 200; ++i) {
        for (const uint32_t track : {2u, 3u})
            ASSERT_EQ(asf.file.read(track).data, builder.truth(track - 2)[i].data);
    }
    EXPECT_LE(asf.source.bytes_read, asf.bytes.size() + 16384);
    EXPECT_LE(asf.source.calls() - calls, 400u / 5);
}

// Each track remembers where its own reader stands.
TEST(AsfReaders, ADamagedPacketLeavesTheOtherTrackWhereItIs) {
    AsfBuilder builder = small_file();
    const Bytes whole = builder.build();
    const Bytes bytes = patched(whole, builder.data_start() + 5 * 200 + 4, {0xFF});
    AsfBytes both(bytes), alone(bytes);
    while (alone.file.read(2).code == 0)
        ASSERT_EQ(both.file.read(2).code, 0u);
    ASSERT_EQ(both.file.read(2).code, kBad);
    ASSERT_EQ(both.file.read(3).data, builder.truth(1)[0].data);
    EXPECT_EQ(both.file.read(2), alone.file.read(2));
}

// The second video frame ends where no byte has arrived, behind a packet that brings the time base down.
TEST(AsfReaders, AFailedCallChangesNoTimes) {
    AsfStream video = asf_video(1), audio = asf_audio(2);
    video.frame_interval = audio.frame_interval = 40;
    AsfBuilder builder({video, audio}, {.packet_size = 100}, AsfIndex::None);
    builder.frame(1, 510, 70).frame(1, 512, 70).frame(0, 520, 70).frame(0, 530, 70).frame(1, 300, 70);
    AsfBytes asf(patched(builder.frame(0, 560, 70).build(), kPreroll, le64(3600)),
                 SPLITER_SOURCE_PROGRESSIVE);
    asf.source.faults.arrived = builder.data_start() + 5 * 100;
    EXPECT_EQ(asf.file.read(2).info.time_stamp, 10u);
    EXPECT_EQ(asf.file.read(2).code, kNotArrived);
    EXPECT_EQ(asf.file.read(3).info.time_stamp, 0u);
    asf.source.faults.arrived = UINT64_MAX;
    EXPECT_EQ(asf.file.read(2).info.time_stamp, 230u);
}

// More packets than are kept, and one whose bytes failed to come.
TEST(AsfReaders, AFailedReadLeavesNothingBehind) {
    AsfBuilder builder({asf_video(1)}, {.packet_size = 100}, AsfIndex::None);
    for (uint32_t i = 0; i < 20; ++i)
        builder.frame(0, i * 40, 60);
    const Bytes bytes = builder.build();
    bool was_hit = true;
    for (uint64_t at = 1; was_hit; ++at) {
        AsfBytes asf(bytes);
        asf.source.faults.at = asf.source.calls() + at;
        const uint32_t code = asf.file.read_all(2).end_code;
        was_hit = asf.source.calls() >= asf.source.faults.at;
        EXPECT_EQ(code, was_hit ? kSourceFailed : kEnd) << at;
        asf.source.faults.at = 0;
        asf.file.reset();
        expect_frames(asf.file, 2, builder.truth(0));
    }
}

// A download that is over too early.
TEST(AsfFormat, SourcesMayHaveACodeForTheirEnd) {
    const MemoryStore store(small_file().build());
    TestSource source(store, SPLITER_SOURCE_PROGRESSIVE, {.cut = store.size() - 300});
    SplitterStreamSource record = source.record();
    EXPECT_EQ(SplitterFile(kAsfSplitter, record).read_all(2).end_code, kSourceAtEnd);
    static const auto read = record.read;
    record.read = [](void *user, SplitterStream stream, void *buffer, uint32_t *count) -> uint32_t {
        const uint32_t code = read(user, stream, buffer, count);
        return code == kSourceAtEnd ? SPLITER_SOURCE_AT_END : code;
    };
    EXPECT_EQ(SplitterFile(kAsfSplitter, record).read_all(2).end_code, kEnd);
}

// Every result of a seek but the one that began it, and a rewind.
TEST(AsfWaiting, EndsWithAnyOtherResult) {
    AsfBuilder builder = small_file();
    AsfBytes asf(builder.build(), SPLITER_SOURCE_PROGRESSIVE);
    SplitterFile &file = asf.file;
    const struct {
        uint32_t track, time, code;
    } seeks[] = {{2, UINT32_MAX, SPLITER_ERR_UNSUPPORTED},
                 {9, 5, SPLITER_ERR_INVALID_PARAM},
                 {2, 5000, SPLITER_ERR_END_OF_STREAM},
                 {3, 0, 0}};
    for (size_t i = 0; i <= std::size(seeks); ++i) {
        asf.source.faults.arrived = builder.data_start() + 600;
        ASSERT_EQ(file.seek(2, 400, 0), kNotArrived);
        ASSERT_EQ(file.read(3).code, kNotArrived);
        if (i == std::size(seeks)) {
            ASSERT_EQ(file.reset(), 0u);
        } else {
            ASSERT_EQ(file.seek(seeks[i].track, seeks[i].time, 0), seeks[i].code);
        }
        asf.source.faults.arrived = UINT64_MAX;
        EXPECT_EQ(file.read(3).code, 0u) << i;
    }
}

TEST(AsfFormat, LookingForTheIndexHandsOnItsFailures) {
    const MemoryStore &store = sample_file("asf_wmv_wma").bytes;
    bool lacked_memory = true;
    for (uint64_t at = 1; lacked_memory; ++at) {
        TestSource source(store);
        const SplitterStreamSource record = source.record();
        SplitterHandle handle = nullptr;
        SplitterHttpParam param = {};
        FailingAllocator heap(at, FailureSpan::ForGood);
        const uint32_t code = ASF_SPLITER_GetHTTPParam(&record, &param, &handle);
        lacked_memory = heap.has_failed();
        EXPECT_EQ(code, lacked_memory ? uint32_t{SPLITER_ERR_NO_MEMORY} : 0u);
        EXPECT_EQ(param.index_flag, lacked_memory ? 0u : 1u);
        SplitterFile file(kAsfSplitter, handle);
    }
}

TEST(AsfWaiting, TheIndexMayComeWhenTheSizeIsKnown) {
    const MemoryStore &store = sample_file("asf_wmv_wma").bytes;
    TestSource source(store, SPLITER_SOURCE_PROGRESSIVE);
    SplitterStreamSource record = source.record();
    static int64_t size = -1;
    record.size = [](void *, SplitterStream, int64_t *length) {
        *length = size;
        return size < 0 ? kNotArrived : uint32_t{SPLITER_OK};
    };
    SplitterFile file(kAsfSplitter, record);
    for (const uint32_t code : {kNotArrived, uint32_t{SPLITER_OK}}) {
        EXPECT_EQ(file.is_seekable(2), 0u);
        EXPECT_EQ(file.load_index(), code);
        size = static_cast<int64_t>(store.size());
    }
    EXPECT_EQ(file.is_seekable(2), 1u);
}

TEST(AsfWaiting, EndsForTheIndexWithAnotherFailure) {
    AsfBytes asf(sample_file("asf_wmv_wma").bytes, SPLITER_SOURCE_PROGRESSIVE, {.size = SizeAnswer::Fails});
    EXPECT_EQ(asf.file.load_index(), kSourceFailed);
    EXPECT_EQ(asf.file.is_seekable(2), 1u);
}

}  // namespace
}  // namespace quorv::test
