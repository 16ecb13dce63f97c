// The exported functions themselves: arguments, handles, configuration, codec data and the life of a handle.

#include <quorv/avi_splitter.h>
#include <string.h>

#include "support/FailingAllocator.h"
#include "support/VideoHeaders.h"
#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

AviBuilder video_and_audio() {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
    for (size_t i = 0; i < 6; ++i)
        builder.frame(0, 40 + i, i % 2 == 0).frame(1, size_t{320});
    return builder;
}

class AviFrontEnd : public testing::Test {
protected:
    OpenedAvi avi{video_and_audio()};
    SplitterHandle handle = avi.file.handle();
};

TEST_F(AviFrontEnd, OpenRefusesBadArguments) {
    const SplitterStreamSource source = avi.source.record();
    SplitterHandle other = nullptr;
    EXPECT_EQ(AVI_SPLITER_Open(nullptr, 1, &other), uint32_t{SPLITER_ERR_INVALID_PARAM});
    EXPECT_EQ(AVI_SPLITER_Open(&source, 1, nullptr), uint32_t{SPLITER_ERR_INVALID_PARAM});
    for (const uint32_t mode : {0u, 3u, UINT32_MAX}) {
        EXPECT_EQ(AVI_SPLITER_Open(&source, mode, &other), uint32_t{SPLITER_ERR_INVALID_PARAM});
    }
    EXPECT_EQ(other, nullptr);
    SplitterHttpParam param = {};
    EXPECT_EQ(AVI_SPLITER_GetHTTPParam(nullptr, &param, &other), uint32_t{SPLITER_ERR_INVALID_PARAM});
    EXPECT_EQ(AVI_SPLITER_GetHTTPParam(&source, nullptr, &other), uint32_t{SPLITER_ERR_INVALID_PARAM});
    EXPECT_EQ(AVI_SPLITER_GetHTTPParam(&source, &param, nullptr), uint32_t{SPLITER_ERR_INVALID_PARAM});
    EXPECT_EQ(avi.source.opens, 1u);
}

TEST_F(AviFrontEnd, NullHandlesAreRefused) {
    SplitterTrackList list = {};
    uint32_t word = 0;
    SplitterFrameInfo info = {};
    const uint32_t bad = SPLITER_ERR_INVALID_PARAM;
    EXPECT_EQ(AVI_SPLITER_EnumTrack(nullptr, &list), bad);
    EXPECT_EQ(AVI_SPLITER_EnumTrack(handle, nullptr), bad);
    EXPECT_EQ(AVI_SPLITER_GetTrackInfo(nullptr, 1, &info, sizeof info), bad);
    EXPECT_EQ(AVI_SPLITER_GetTrackInfo(handle, 1, nullptr, 100), bad);
    EXPECT_EQ(AVI_SPLITER_ReadFrame(nullptr, 1, &word, 4, &info), bad);
    EXPECT_EQ(AVI_SPLITER_ReadFrame(handle, 1, nullptr, 4, &info), bad);
    EXPECT_EQ(AVI_SPLITER_ReadFrame(handle, 1, &word, 4, nullptr), bad);
    EXPECT_EQ(AVI_SPLITER_Seek(nullptr, 1, &word, 0), bad);
    EXPECT_EQ(AVI_SPLITER_Seek(handle, 1, nullptr, 0), bad);
    EXPECT_EQ(AVI_SPLITER_Reset(nullptr), bad);
    EXPECT_EQ(AVI_SPLITER_Close(nullptr), bad);
    EXPECT_EQ(AVI_SPLITER_SetConfig(nullptr, 1, &word, 4), bad);
    EXPECT_EQ(AVI_SPLITER_SetConfig(handle, 1, nullptr, 4), bad);
    EXPECT_EQ(AVI_SPLITER_SetConfig(handle, 1, &word, 4), uint32_t{SPLITER_ERR_UNSUPPORTED});
    expect_frames(avi.file, avi.builder, 0);
}

TEST_F(AviFrontEnd, TrackNumbersOutOfRangeAreRefused) {
    for (const uint32_t track : {0u, 3u, UINT32_MAX}) {
        uint8_t record[64] = {};
        SplitterFrameInfo info;
        memset(&info, 1, sizeof info);
        uint32_t time = 0;
        const uint32_t bad = SPLITER_ERR_INVALID_PARAM;
        EXPECT_EQ(AVI_SPLITER_GetTrackInfo(handle, track, record, sizeof record), bad);
        EXPECT_EQ(AVI_SPLITER_ReadFrame(handle, track, record, sizeof record, &info), bad);
        EXPECT_EQ(info.size | info.time_stamp | info.duration | info.key_frame, 0u);
        EXPECT_EQ(AVI_SPLITER_Seek(handle, track, &time, 0), bad);
        SplitterTrackData data = {track, nullptr, 0};
        uint32_t size = sizeof data;
        EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_CODEC_DATA, &data, &size), bad);
        SplitterTrackValue value = {track, 0};
        size = sizeof value;
        EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size), bad);
    }
}

TEST_F(AviFrontEnd, GetConfigChecksTheRecordSize) {
    SplitterTrackData data = {1, &data, 77};
    uint32_t size = sizeof data - 1;
    EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_CODEC_DATA, &data, &size),
              uint32_t{SPLITER_ERR_BUFFER_TOO_SMALL});
    size = 1000;
    EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_CODEC_DATA, &data, &size), 0u);
    EXPECT_EQ(size, sizeof data);
    EXPECT_EQ(data.data, nullptr);
    EXPECT_EQ(data.length, 0u);
    EXPECT_EQ(AVI_SPLITER_GetConfig(handle, 99, &data, &size), 0u);  // not known: nothing happens
    EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_CODEC_DATA, &data, nullptr), 0u);
    EXPECT_EQ(AVI_SPLITER_GetConfig(nullptr, SPLITER_CFG_CODEC_DATA, &data, &size), 0u);
    SplitterTrackValue value = {1, 5};
    size = 7;
    EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size),
              uint32_t{SPLITER_ERR_BUFFER_TOO_SMALL});
    size = 100;
    EXPECT_EQ(AVI_SPLITER_GetConfig(handle, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size), 0u);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(value.value, 0u);
}

// The duration of the audio track is raised to the video track's, for good.
TEST(AviDurations, AudioIsAsLongAsTheVideo) {
    AviBuilder builder({pcm_stream(), video_stream(tag("MJPG")), video_stream(tag("MJPG"))});
    builder.streams[0].header.length = 8000;
    builder.streams[1].header.length = 250;
    builder.streams[2].header.length = 500;
    EXPECT_EQ(OpenedAvi(builder).file.audio_info(1).duration, 10000u);
    builder.streams[0].header.length = 8000 * 30;
    EXPECT_EQ(OpenedAvi(builder).file.audio_info(1).duration, 30000u);
    AviBuilder audio({pcm_stream(), pcm_stream(), pcm_stream()});
    for (uint32_t i = 0; i < 3; ++i)
        audio.streams[i].header.length = 8000 * (4 - i);
    OpenedAvi avi(audio);
    EXPECT_EQ(avi.file.audio_info(1).duration, 4000u);
    EXPECT_EQ(avi.file.audio_info(2).duration, 3000u);
    audio.streams[2].header.length = 8000 * 9;
    EXPECT_EQ(OpenedAvi(audio).file.audio_info(1).duration, 9000u);
}

// Opening an open handle only rewinds it, and a track list stays where it is.
TEST_F(AviFrontEnd, CallsThatAreRepeated) {
    SplitterTrackList first = {}, second = {};
    ASSERT_EQ(AVI_SPLITER_EnumTrack(handle, &first), 0u);
    ASSERT_EQ(AVI_SPLITER_EnumTrack(handle, &second), 0u);
    EXPECT_EQ(first.entries, second.entries);
    avi.file.read_all(1, 3);
    const SplitterStreamSource source = avi.source.record();
    SplitterHandle same = handle;
    EXPECT_EQ(AVI_SPLITER_Open(&source, 2, &same), 0u);
    EXPECT_EQ(same, handle);
    EXPECT_EQ(avi.source.opens, 1u);
    expect_frames(avi.file, avi.builder, 0);
}

TEST(AviClose, FailingCloseCallbackLeavesTheHandleForAnother) {
    OpenedAvi avi(video_and_audio());
    FailingAllocator heap;
    avi.file.tracks();
    avi.source.faults.at = avi.source.calls() + 1;
    EXPECT_EQ(avi.file.close(), kSourceFailed);
    // The tracks are gone; nothing that is asked of the handle touches them.
    const SplitterHandle handle = avi.file.handle();
    uint8_t buffer[100];
    SplitterFrameInfo info = {};
    uint32_t time = 0;
    SplitterTrackList list = {};
    EXPECT_EQ(AVI_SPLITER_EnumTrack(handle, &list), uint32_t{SPLITER_ERR_UNSUPPORTED});
    EXPECT_EQ(AVI_SPLITER_ReadFrame(handle, 1, buffer, sizeof buffer, &info),
              uint32_t{SPLITER_ERR_INVALID_PARAM});
    EXPECT_EQ(AVI_SPLITER_Seek(handle, 1, &time, 0), uint32_t{SPLITER_ERR_INVALID_PARAM});
    EXPECT_EQ(AVI_SPLITER_IsSeekable(handle, 1), 0u);
    EXPECT_EQ(avi.file.close(), 0u);
    EXPECT_EQ(avi.source.closes, 2u);
    EXPECT_EQ(heap.live_blocks(), 0u);
}

// Without a usable index a seek goes to the start or nowhere.
TEST(AviSeek, WithoutIndexOnlyTimeZeroCanBeReached) {
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        AviBuilder builder = video_and_audio();
        builder.index = IndexKind::None;
        OpenedAvi avi(builder, kind, {.call_limit = 100000});
        for (uint32_t stream = 0; stream < 2; ++stream) {
            expect_frames(avi.file, avi.builder, stream, {.count = 2});
            for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
                EXPECT_EQ(avi.file.seek(stream + 1, 100, mode), uint32_t{SPLITER_ERR_END_OF_STREAM});
            }
            EXPECT_EQ(avi.file.seek(stream + 1, UINT32_MAX, 0), uint32_t{SPLITER_ERR_END_OF_STREAM});
            expect_frames(avi.file, avi.builder, stream, {.from = 2, .count = 2});
            uint32_t reached = 9;
            EXPECT_EQ(avi.file.seek(stream + 1, 0, SPLITER_SEEK_FORWARD, &reached), 0u);
            EXPECT_EQ(reached, 0u);
            expect_frames(avi.file, avi.builder, stream);
        }
    }
}

// An audio track whose index has few key entries is moved on, piece by piece, to the piece that holds the
// time; forward it is not.
TEST(AviSeek, BackwardAudioSeekIsRefined) {
    AviBuilder builder({pcm_stream(), video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 40; ++i)
        builder.frame(0, size_t{320}, i % 20 == 0).frame(1, size_t{30});  // 10 ms each
    OpenedAvi avi(builder);
    struct Case {
        uint32_t time, mode;
        size_t frame;
    };
    const Case cases[] = {
        {0, SPLITER_SEEK_BACKWARD, 0},
        {20, SPLITER_SEEK_BACKWARD, 0},  // not more than two pieces behind
        {21, SPLITER_SEEK_BACKWARD, 2},
        {105, SPLITER_SEEK_BACKWARD, 10},
        {199, SPLITER_SEEK_BACKWARD, 19},
        {200, SPLITER_SEEK_BACKWARD, 20},
        {390, SPLITER_SEEK_BACKWARD, 39},
        {105, SPLITER_SEEK_FORWARD, 20},
        {150, 7, 0},  // every mode but 1 is backward; only 0 refines
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.time);
        uint32_t reached = 0;
        ASSERT_EQ(avi.file.seek(1, c.time, c.mode, &reached), 0u);
        EXPECT_EQ(reached, avi.builder.truth(0)[c.frame].time_stamp);
        expect_frames(avi.file, avi.builder, 0, {.from = c.frame, .count = 3});
    }
    // Inside one large chunk, too.
    AviBuilder large({pcm_stream()});
    large.frame(0, size_t{64000}).frame(0, size_t{64000});  // pieces of 128 ms
    OpenedAvi pieces(large);
    uint32_t reached = 0;
    ASSERT_EQ(pieces.file.seek(1, 1000, SPLITER_SEEK_BACKWARD, &reached), 0u);
    EXPECT_EQ(reached, 896u);
    expect_frames(pieces.file, pieces.builder, 0, {.from = 7, .count = 20});
}

// A time base of zero terms gives times of zero and seeks to the start.
TEST(AviSeek, ImpossibleTimeBases) {
    for (const auto &[scale, rate] :
         {std::pair{UINT32_MAX, 1u}, std::pair{1u, UINT32_MAX}, std::pair{UINT32_MAX, UINT32_MAX - 1}}) {
        AviBuilder builder = video_and_audio();
        for (AviStream &stream : builder.streams) {
            stream.header.scale = scale;
            stream.header.rate = rate;
            stream.header.length = UINT32_MAX;
        }
        OpenedAvi avi(builder);
        ASSERT_EQ(avi.file.open_code, 0u);
        for (uint32_t track = 1; track <= 2; ++track) {
            EXPECT_EQ(avi.file.read_all(track).frames.size(), 6u);
            for (const uint32_t time : {0u, 1u, 5000u, 0xFFFFFFFEu, UINT32_MAX}) {
                for (const uint32_t mode : {0u, 1u}) {
                    const uint32_t code = avi.file.seek(track, time, mode);
                    EXPECT_TRUE(code == 0 || code == SPLITER_ERR_END_OF_STREAM) << code;
                }
            }
        }
    }
}

// MPEG-4 tracks must show their video object layer in the first frame or in the next key frame.
TEST(AviMpeg4, FirstFrameMustCarryTheLayerHeader) {
    const Bytes vol = mpeg4_vol(64, 48);
    const Bytes vop = join({Bytes{0, 0, 1, 0xB6, 0x10}, payload(0, 1, 40)});
    const Bytes with_vol = join({vol, vop});
    const Bytes late_vol = join({Bytes(256, 0xFF), vol, vop});
    const Bytes vol_in_time = join({Bytes(240, 0xFF), vol, vop});
    struct Case {
        const char *name;
        std::vector<std::pair<Bytes, bool>> frames;
        int first;  // index of the frame that comes first; -1: the track ends at once
    };
    const Case cases[] = {
        {"in the first frame", {{with_vol, true}, {vop, false}}, 0},
        {"in the next key frame", {{vop, true}, {vop, false}, {with_vol, true}, {vop, false}}, 2},
        {"in a later frame that is no key frame",
         {{vop, true}, {with_vol, false}, {vop, true}, {with_vol, true}},
         -1},
        {"nowhere", {{vop, true}, {vop, false}, {vop, false}}, -1},
        {"beyond the first 256 bytes", {{late_vol, true}, {vop, false}}, -1},
        {"just inside", {{vol_in_time, true}, {vop, false}}, 0},
        {"frame shorter than a header", {{Bytes{0, 0, 1}, true}, {with_vol, true}}, 1},
    };
    for (const uint32_t compression : {tag("XVID"), tag("DIVX"), tag("DX50"), tag("FMP4"), tag("MP4S")}) {
        for (const Case &c : cases) {
            SCOPED_TRACE(c.name);
            AviBuilder builder({video_stream(compression)});
            for (const auto &[data, key] : c.frames)
                builder.frame(0, data, key);
            OpenedAvi avi(builder);
            if (c.first < 0) {
                EXPECT_EQ(avi.file.read(1).code, uint32_t{SPLITER_ERR_END_OF_STREAM});
                continue;
            }
            avi.file.read(1);  // may lose its header bytes, which the next test looks at
            ASSERT_EQ(avi.file.reset(), 0u);
            expect_frames(avi.file, avi.builder, 0, {.from = static_cast<size_t>(c.first)});
        }
    }
}

TEST(AviCodecData, HeadersOfTheFirstFrame) {
    const Bytes vol = mpeg4_vol(64, 48), vop = join({Bytes{0, 0, 1, 0xB6, 0x10}, payload(0, 1, 40)});
    const Bytes gov = {0, 0, 1, 0xB3, 1, 2, 3};
    const Bytes user_data = {0, 0, 1, 0xB2, 'a', 'b'};
    const Bytes sps = h264_sps(64, 48), pps = h264_pps(),
                idr = join({Bytes{0, 0, 0, 1, 0x65, 0x88}, payload(0, 1, 40)});
    const Bytes delimiter = {0, 0, 0, 1, 0x09, 0x10}, sei = {0, 0, 0, 1, 0x06, 5, 1, 0xAA, 0x80};
    struct Case {
        const char *name;
        uint32_t compression;
        Bytes header, rest;
    };
    const Case cases[] = {
        {"MPEG-4", tag("XVID"), vol, vop},
        {"MPEG-4 with user data", tag("DX50"), join({vol, user_data}), vop},
        {"MPEG-4 with a group header", tag("FMP4"), vol, join({gov, vop})},
        {"H.264", tag("H264"), join({sps, pps}), idr},
        {"H.264 with delimiter and SEI", tag("X264"), join({delimiter, sps, pps, sei}), idr},
        {"H.264 without parameter sets", tag("H264"), {}, idr},
        {"motion JPEG is left alone", tag("MJPG"), {}, join({vol, vop})},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            AviBuilder builder({video_stream(c.compression)});
            builder.frame(0, Bytes{}).frame(0, join({c.header, c.rest}), true).frame(0, c.rest, true);
            OpenedAvi avi(builder, kind);
            EXPECT_EQ(avi.file.codec_data(1), c.header);
            expect_frames(avi.file, avi.builder, 0, {.stripped = c.header.size()});
            ASSERT_EQ(avi.file.reset(), 0u);
            expect_frames(avi.file, avi.builder, 0);
        }
        // What the format brings is not looked for again, and nothing is taken off the frame.
        AviBuilder builder({video_stream(c.compression)});
        BitmapHeader bitmap;
        bitmap.compression = c.compression;
        bitmap.extra = {1, 2, 3, 4};
        builder.streams[0].format = bitmap.body();
        builder.frame(0, join({c.header, c.rest}), true);
        OpenedAvi avi(builder);
        EXPECT_EQ(avi.file.codec_data(1), bitmap.extra);
        expect_frames(avi.file, avi.builder, 0);
    }
}

}  // namespace
}  // namespace quorv::test
