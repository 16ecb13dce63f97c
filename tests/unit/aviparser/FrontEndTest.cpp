// The exported functions themselves: arguments, handles, configuration, seeking and codec data.

#include <numeric>

#include "support/ExpectSeeks.h"
#include "support/SampleFiles.h"
#include "support/VideoHeaders.h"

namespace quorv::test {
namespace {

constexpr uint32_t kBad = SPLITER_ERR_INVALID_PARAM, kUnsupported = SPLITER_ERR_UNSUPPORTED;

AviBuilder video_and_audio(IndexKind index = IndexKind::Legacy) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, index);
    for (size_t i = 0; i < 6; ++i)
        builder.frame(0, 40 + i, i % 2 == 0).frame(1, size_t{320});
    return builder;
}

TEST(AviFrontEnd, WhatOnlyAviRefuses) {
    OpenedAvi avi(video_and_audio());
    EXPECT_EQ(avi.file.audio_info(2).duration, 240u);  // that of the video; its own is 60
    const SplitterStreamSource source = avi.source.record();
    SplitterHandle other = nullptr;
    for (const uint32_t mode : {0u, 3u})
        EXPECT_EQ(AVI_SPLITER_Open(&source, mode, &other), kBad);
    for (const uint32_t track : {0u, 3u, UINT32_MAX}) {
        SplitterTrackData data = {track, nullptr, 0};
        uint32_t size = sizeof data, time = 0;
        EXPECT_EQ(AVI_SPLITER_GetConfig(avi.file.handle(), SPLITER_CFG_CODEC_DATA, &data, &size), kBad);
        EXPECT_EQ(avi.file.next_key_time(track, &time), kBad);
        EXPECT_EQ(avi.file.is_seekable(track), 0u);
    }
}

// The record of an audio track is the longer one, and is written whole whatever size says.
TEST(AviFrontEnd, TrackInfoFillsItsUnion) {
    OpenedAvi avi(video_and_audio());
    const std::pair<uint32_t, size_t> tracks[] = {{1, sizeof(SplitterVideoInfo)},
                                                  {2, sizeof(SplitterTrackInfo)}};
    for (const auto &[track, size] : tracks) {
        SplitterTrackInfo records[2];
        memset(records, 0x5A, sizeof records);
        EXPECT_EQ(AVI_SPLITER_GetTrackInfo(avi.file.handle(), track, records, sizeof(SplitterVideoInfo)), 0u);
        const Numbers filled = words(records);
        const auto rest = std::find(filled.begin(), filled.end(), 0x5A5A5A5A);
        EXPECT_EQ(static_cast<size_t>(rest - filled.begin()) * 4, size);
    }
}

// Local files are read ahead while reading is sequential, all others exactly as far as is needed.
TEST(AviReading, MakesFewCallsAndReadsNoMoreThanItMay) {
    constexpr uint32_t kFrames = 400, kVideoBytes = 4096, kSoundBytes = 384;
    // So many frames the sound lies in front of its picture.
    for (const auto &[index, lead] :
         {std::pair(IndexKind::Legacy, 0u), {IndexKind::Legacy, 20u}, {IndexKind::OpenDml, 0u}}) {
        SCOPED_TRACE(lead);
        AviBuilder builder({video_stream(tag("MJPG")), mp3_stream(48000, 1920, 1920)}, index);
        for (uint32_t i = 0; i < kFrames + lead; ++i) {
            if (i < kFrames) builder.frame(1, size_t{kSoundBytes});
            if (i >= lead) builder.frame(0, size_t{kVideoBytes});
        }
        OpenedAvi avi(builder);
        TestSource &source = avi.source;
        EXPECT_LE(source.calls(), 10u);
        const uint64_t before = source.calls();
        for (uint32_t i = 0; i < kFrames; ++i) {
            EXPECT_EQ(avi.file.read(1).info.size, kVideoBytes);
            EXPECT_EQ(avi.file.read(2).info.size, kSoundBytes);
        }
        EXPECT_LE(source.calls() - before, 2 * kFrames / 5);
        EXPECT_LE(source.bytes_read, 5u * kFrames * (kVideoBytes + kSoundBytes) / 4);
        for (const uint32_t i : {200u, 7u, 399u, 8u, 350u, 201u}) {
            EXPECT_EQ(avi.file.seek(1, i * 40, SPLITER_SEEK_BACKWARD), 0u);
            const uint64_t bytes = source.bytes_read;
            EXPECT_EQ(avi.file.read(1).info.time_stamp, i * 40);
            EXPECT_LE(source.bytes_read - bytes, kVideoBytes + 16384u);
        }
    }
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.frame(0, size_t{kVideoBytes}).frame(0, size_t{kVideoBytes});
    OpenedAvi progressive(builder, SPLITER_SOURCE_PROGRESSIVE);
    EXPECT_EQ(progressive.file.read(1).code, 0u);
    const uint64_t bytes = progressive.source.bytes_read;
    EXPECT_EQ(progressive.file.read(1).code, 0u);
    EXPECT_EQ(progressive.source.bytes_read - bytes, 8 + kVideoBytes);
}

// An audio track whose index has few key entries is moved on, piece by piece, to the piece that holds the
// time; forward it is not.
TEST(AviSeek, BackwardAudioSeekIsRefined) {
    AviBuilder builder({pcm_stream(), video_stream(tag("MJPG"))}), large({pcm_stream()});
    for (size_t i = 0; i < 40; ++i)
        builder.frame(0, size_t{320}, i % 20 == 0).frame(1, size_t{30});  // 10 ms each
    large.frame(0, size_t{64000}).frame(0, size_t{64000});                // pieces of 128 ms
    for (const AviBuilder &each : {builder, large}) {
        OpenedAvi avi(each);
        expect_seeks(avi.file, 1, avi.builder.truth(0), {false, avi.builder.unit(0)});
    }
    uint32_t reached = 0;  // every mode but 1 is backward; only 0 refines
    EXPECT_EQ(OpenedAvi(builder).file.seek(1, 150, 7, &reached), 0u);
    EXPECT_EQ(reached, 0u);
}

const Bytes kVol = mpeg4_vol(64, 48), kVop = join({Bytes{0, 0, 1, 0xB6, 0x10}, payload(0, 1, 40)});

// MPEG-4 tracks must show their video object layer in the first frame or in the next key frame.
TEST(AviMpeg4, FirstFrameMustCarryTheLayerHeader) {
    const Bytes with_vol = join({kVol, kVop});
    using Frames = std::vector<std::pair<Bytes, bool>>;
    const std::pair<Frames, int> cases[] = {
        // with the frame that comes first; -1: the track ends at once
        {{{with_vol, true}, {kVop, false}}, 0},
        {{{kVop, true}, {kVop, false}, {with_vol, true}, {kVop, false}}, 2},
        {{{kVop, true}, {with_vol, false}, {kVop, true}, {with_vol, true}}, -1},
        {{{kVop, true}, {kVop, false}}, -1},
        {{{join({Bytes(256, 0xFF), with_vol}), true}, {kVop, false}}, -1},  // searched: 256 bytes
        {{{join({Bytes(240, 0xFF), with_vol}), true}, {kVop, false}}, 0},
        {{{Bytes{0, 0, 1}, true}, {with_vol, true}}, 1},
    };
    for (const uint32_t compression : {tag("XVID"), tag("DIVX"), tag("DX50"), tag("FMP4"), tag("MP4S")}) {
        for (const auto &[frames, first] : cases) {
            SCOPED_TRACE(&frames - &cases[0].first);
            AviBuilder builder({video_stream(compression)});
            for (const auto &[data, key] : frames)
                builder.frame(0, data, key);
            OpenedAvi avi(builder);
            EXPECT_EQ(avi.file.read(1).code, first < 0 ? kEnd : 0);
            if (first < 0) continue;
            ASSERT_EQ(avi.file.reset(), 0u);
            avi.expect_frames(0, {.from = static_cast<size_t>(first)});
        }
    }
}

TEST(AviCodecData, HeadersOfTheFirstFrame) {
    const Bytes gov = {0, 0, 1, 0xB3, 1, 2, 3}, user_data = {0, 0, 1, 0xB2, 'a', 'b'};
    const Bytes sps = h264_sps(64, 48), pps = h264_pps(),
                idr = join({Bytes{0, 0, 0, 1, 0x65, 0x88}, payload(0, 1, 40)});
    const Bytes delimiter = {0, 0, 0, 1, 0x09, 0x10}, sei = {0, 0, 0, 1, 0x06, 5, 1, 0xAA, 0x80};
    const struct {
        uint32_t compression;
        Bytes header, rest;
    } cases[] = {
        {tag("DX50"), join({kVol, user_data}), kVop},
        {tag("FMP4"), kVol, join({gov, kVop})},
        {tag("X264"), join({delimiter, sps, pps, sei}), idr},
        {tag("H264"), {}, idr},
        {tag("MJPG"), {}, join({kVol, kVop})},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        AviBuilder builder({video_stream(c.compression)});
        builder.frame(0, Bytes{}).frame(0, join({c.header, c.rest}), true).frame(0, c.rest, true);
        for (const uint32_t kind : kKinds) {
            OpenedAvi avi(builder, kind);
            EXPECT_EQ(avi.file.codec_data(1), c.header);
            avi.expect_frames(0, {.stripped = c.header.size()});
            ASSERT_EQ(avi.file.reset(), 0u);
            avi.expect_frames(0);
        }
        // What the format brings is not looked for again, and nothing is taken off the frame.
        const Bytes extra = {1, 2, 3, 4};
        builder.streams[0].format = BitmapHeader{.compression = c.compression, .extra = extra}.body();
        OpenedAvi avi(builder);
        EXPECT_EQ(avi.file.codec_data(1), extra);
        avi.expect_frames(0);
    }
}

TEST(AviMpeg4, InterruptedSearchForTheLayerHeaderGoesOn) {
    AviBuilder builder({video_stream(tag("XVID"))});
    builder.frame(0, kVop).frame(0, kVop, false).frame(0, join({kVol, kVop})).frame(0, kVop, false);
    bool failed = true;
    for (uint64_t at = 1; failed; ++at) {
        OpenedAvi avi(builder);
        avi.source.faults.at = avi.source.calls() + at;
        failed = avi.file.read(1).code != 0;
        avi.source.faults.at = 0;
        if (failed) avi.expect_frames(0, {.from = 2});
    }
}

// While the index has not arrived, no frame pays for what lies between it and the media data again.
TEST(AviProgressive, SearchForTheIndexGoesOnWhereItStopped) {
    AviBuilder builder = video_and_audio();
    builder.frame(0, size_t{50});
    for (int i = 0; i < 1000; ++i)
        builder.after.insert(builder.after.end(), {'J', 'U', 'N', 'K', 0, 0, 0, 0});
    OpenedAvi avi(builder, SPLITER_SOURCE_PROGRESSIVE, {.arrived = builder.build().size() - 300});
    avi.expect_frames(0, {.count = 1, .keys = false});
    const uint64_t before = avi.source.calls();
    EXPECT_GT(before, 1000u);
    avi.expect_frames(0, {.from = 1, .count = 5, .keys = false});
    EXPECT_LT(avi.source.calls() - before, 100u);
    avi.source.faults.arrived = UINT64_MAX;
    avi.expect_frames(0, {.from = 6});
    EXPECT_NE(avi.file.is_seekable(1), 0u);
}

TEST(AviProgressive, IndexOfASourceWithoutAnySize) {
    AviBuilder builder = video_and_audio();
    MemoryStore bytes = builder.build();
    bytes.patch(4, le32(0));
    TestSource source(bytes, SPLITER_SOURCE_PROGRESSIVE, {.size = SizeAnswer::Zero, .end_is_success = true});
    const SplitterStreamSource record = source.record();
    SplitterHandle handle = nullptr;
    SplitterHttpParam param = {};
    EXPECT_EQ(AVI_SPLITER_GetHTTPParam(&record, &param, &handle), 0u);
    EXPECT_EQ(param.index_flag, 1u);
    SplitterFile file(kAviSplitter, handle);
    expect_frames(file, builder.track(0), builder.truth(0));
}

}  // namespace
}  // namespace quorv::test
