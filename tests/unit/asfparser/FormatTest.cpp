// Headers, packets and arguments out of the ordinary: one small file, changed in one place at a time.

#include "unit/asfparser/SmallFile.h"

namespace quorv::test {
namespace {

TEST(AsfFormat, HeadersThatOpenAndThatDoNot) {
    AsfBuilder builder = small_file();
    const Bytes good = builder.build();
    const auto data_object = builder.data_start() - 50;
    const struct {
        const char *name;
        Bytes bytes;
        uint32_t code, duration;
    } cases[] = {
        {"as it is", good, 0, 940},
        {"another first object", patched(good, 0, {0}), kBad, 0},
        {"a header of 29 bytes", patched(good, kHeaderSize, {29, 0}), kBad, 0},
        {"a child of 23 bytes", patched(good, kChildSize, {23}), kBad, 0},
        {"a child beyond the header", patched(good, kChildSize, {0, 0, 1}), kBad, 0},
        {"a child of size 0 ends the header", patched(good, kChildSize, {0}), 0, 0},
        {"no packet size", patched(good, kPacketSize, le32(0)), kBad, 0},
        {"packets without room for a payload", patched(good, kPacketSize, le32(9)), kBad, 0},
        {"too large a packet size", patched(good, kPacketSize, le32((64u << 20) + 1)), kBad, 0},
        {"2^32 units", patched(good, kPlayDuration, le64(uint64_t{1} << 32)), 0, 429497 - 3000},
        {"10000 units", patched(patched(good, kPreroll, le64(0)), kPlayDuration, le64(10000)), 0, 1},
        {"longer than can be told", patched(good, kPlayDuration, le64(UINT64_MAX)), 0, UINT32_MAX},
        {"shorter than the preroll", patched(good, kPlayDuration, le64(29990000)), 0, 0},
        {"no duration", patched(good, kPlayDuration, le64(0)), 0, 0},
        {"no data object", patched(good, data_object, {0}), kBad, 0},
        {"a data object of 49 bytes", patched(good, data_object + 16, {49, 0, 0}), kBad, 0},
        {"a data object beyond the file", patched(good, data_object + 16, le64(UINT64_MAX / 3)), 0, 940},
        {"51 bytes of video data", small_file(asf_video(1, "WMV3", {})).build(), 0, 940},
        {"307 bytes of video data", small_file(asf_video(1, "WMV3", Bytes(256))).build(), 0, 940},
        {"308 bytes of video data", small_file(asf_video(1, "WMV3", Bytes(257))).build(), kBad, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        AsfBytes asf(c.bytes);
        ASSERT_EQ(asf.file.open_code, c.code);
        if (c.code != 0) continue;
        const bool has_tracks = !asf.file.tracks().empty();
        EXPECT_EQ(asf.file.video_info(2).duration, c.duration);
        EXPECT_EQ(asf.file.seek(2, 1, 0) == 0, c.duration > 1);
        asf.file.reset();
        EXPECT_EQ(asf.file.read_all(2).frames.size(), !has_tracks ? 0u : c.duration == 1 ? 1u : 12u);
    }
    EXPECT_EQ(AsfBytes(patched(good, kPacketSize, le32(10))).file.open_code, 0u) << "with room for one byte";
}

TEST(AsfFormat, TrackInformation) {
    for (const auto &[interval, rate] : {std::pair{30u, 33u}, {40u, 25u}, {42u, 24u}, {0u, 25u}}) {
        const Bytes codec_data(interval == 0 ? 256 : 20, 7);  // up to as many as are kept
        AsfStream video = asf_video(5, "WMV2", codec_data);
        const AsfStream audio = asf_audio(2, 0x162, Bytes(interval == 0 ? 256 : 300, 9));
        video.frame_interval = interval;
        OpenedAsf asf(small_file(video, audio));
        EXPECT_EQ(words(asf.file.video_info(6)),
                  (Numbers{fourcc_value("wmv8"), 940, 64, 48, rate, 64000, 64 * 48 * 3 / 2, 0}))
            << interval;
        EXPECT_EQ(words(asf.file.audio_info(3)),
                  (Numbers{fourcc_value("wm9p"), 940, 2, 16, 4, 8000, 256000, 200, 0}));
        EXPECT_EQ(asf.file.codec_data(6), codec_data);
        EXPECT_EQ(asf.file.codec_data(3), Bytes(256, 9));
        SplitterTrackData data = {6, nullptr, 0};
        uint32_t size = sizeof data;
        ASSERT_EQ(kAsfSplitter.get_config(asf.file.handle(), SPLITER_CFG_VIDEO_TYPE_DATA, &data, &size), 0u);
        const auto *bytes = static_cast<const uint8_t *>(data.data);
        EXPECT_EQ(Bytes(bytes, bytes + data.length), video.format);
    }
    OpenedAsf unknown(small_file(asf_video(1, "XVID")));
    EXPECT_EQ(unknown.file.tracks().size(), 2u);
    EXPECT_EQ(unknown.file.video_info(2).codec, 0u);
}

TEST(AsfFormat, ABufferAsLongAsTheCodecDataHoldsAnEmptyFrame) {
    AsfBuilder builder({asf_video(1, "MP4S", Bytes(20, 7))}, {}, AsfIndex::None);
    builder.frame(0, 0, 0).frame(0, 40, 50);
    AsfBytes asf(builder.build());
    const Frame first = asf.file.read(2, 20);
    EXPECT_EQ(first.code, 0u);
    EXPECT_EQ(first.data, Bytes(20, 7));
    EXPECT_EQ(asf.file.read(2).data, builder.truth(0)[1].data);
}

TEST(AsfFormat, ArgumentsThatAreRefused) {
    OpenedAsf asf(small_file());
    const SplitterApi &api = kAsfSplitter;
    SplitterHandle handle = asf.file.handle();
    uint8_t bytes[64] = {2};
    uint32_t size = 7;
    const uint32_t results[][2] = {{api.get_track_info(handle, 2, bytes, 31), kSmall},
                                   {api.get_track_info(handle, 2, bytes, 32), 0},
                                   {api.get_track_info(handle, 3, bytes, 35), kSmall},
                                   {api.get_config(handle, 1, bytes, &size), kSmall},
                                   {api.set_config(handle, 51, bytes, 4), 0},
                                   {api.set_config(handle, 10, bytes, 3), kSmall},
                                   {api.set_config(handle, 53, bytes, 4), kNothing},
                                   {api.set_config(handle, 52, bytes, 4), kNothing},
                                   {api.is_seekable(nullptr, 2), kInvalid},
                                   {api.is_seekable(handle, 2), 1}};
    for (size_t i = 0; i < std::size(results); ++i)
        EXPECT_EQ(results[i][0], results[i][1]) << "call " << i;
}

TEST(AsfFormat, DamagedPacketsAreReportedOnceAndPassedOver) {
    AsfBuilder builder = small_file();
    const Bytes good = builder.build();
    const auto packets = builder.data_start();
    // The padding of a packet that has none; the length of the replicated data of its first payload, also
    // where the frame rate is measured.
    for (const auto &[at, value] : {std::pair{packets + 5 * 200 + 12 + 6, uint8_t{5}},
                                    {packets + 5 * 200 + 4, uint8_t{0xFF}},
                                    {packets + 200 + 4, uint8_t{0xFF}},
                                    {packets + 4, uint8_t{0xFF}}}) {
        AsfBytes asf(patched(good, at, {value}));
        EXPECT_EQ(asf.file.video_info(2).frame_rate, 25u);
        uint32_t failures = 0;
        for (Frame frame; frame.code != kEnd; failures += frame.code == kBad)
            frame = asf.file.read(2);
        EXPECT_LE(failures, 1u);
    }
}

// A frame may take more packets than the thousand that are waited for the next one.
TEST(AsfFormat, LongFramesAndLongGaps) {
    for (const uint32_t gap : {999u, 1000u}) {
        AsfBuilder builder({asf_video(1), asf_audio(2)}, {.packet_size = 100, .multiple = false},
                           AsfIndex::None);
        builder.frame(0, 0, 150000).frame(0, 40, 10);
        for (uint32_t i = 0; i < gap; ++i)
            builder.frame(1, 50 + i, 20);
        builder.frame(0, 1500, 30);
        OpenedAsf asf(builder);
        const FrameRun run = asf.file.read_all(2);
        ASSERT_EQ(run.frames.size(), 3u);
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(run.frames[i].data, asf.builder.truth(0)[i].data);
            EXPECT_EQ(run.frames[i].info.duration, i == 0 ? 40u : i == 1 && gap == 999 ? 1460u : 1u);
        }
    }
}

// The base drops in the middle of a frame, by the other stream's payload or by reading that stream.
TEST(AsfFormat, FramesStayWholeWhereTheTimeBaseDrops) {
    for (const uint32_t interval : {0u, 40u}) {
        for (const uint32_t kind : kKinds) {
            AsfStream video = asf_video(1), audio = asf_audio(2);
            video.frame_interval = audio.frame_interval = interval;
            AsfBuilder builder({video, audio}, {}, AsfIndex::None);
            builder.frame(0, 520, 60).frame(1, 510, 20).frame(0, 540, 300).frame(1, 300, 30);
            builder.frame(0, 580, 300).frame(1, 200, 30).frame(0, 620, 40);
            const Bytes bytes = patched(builder.build(), kPreroll, le64(3500));
            AsfBytes asf(bytes, kind);
            for (const auto &[track, i] :
                 {std::pair{2u, 0u}, {3u, 0u}, {3u, 1u}, {2u, 1u}, {2u, 2u}, {2u, 3u}})
                EXPECT_EQ(asf.file.read(track).data, builder.truth(track - 2)[i].data) << track << ' ' << i;
            AsfBytes other(bytes, kind);
            for (size_t i = 0; i < 4; ++i)
                EXPECT_EQ(other.file.read(2).data, builder.truth(0)[i].data) << i;
            EXPECT_EQ(other.file.read(2).code, kEnd);
            EXPECT_EQ(other.file.read(3).info.time_stamp, 310u);
        }
    }
}

// Also where the header has both intervals, so that nothing needs to be measured.
TEST(AsfFormat, TheFirstPacketIsInTheTimeBase) {
    AsfStream video = asf_video(1), audio = asf_audio(2);
    video.frame_interval = audio.frame_interval = 40;
    AsfBuilder builder({video, audio}, {.multiple = false}, AsfIndex::None);
    const Bytes bytes = patched(builder.frame(1, 300, 20).frame(0, 500, 20).build(), kPreroll, le64(3400));
    for (const uint32_t kind : kKinds) {
        AsfBytes asf(bytes, kind);
        EXPECT_EQ(asf.file.read(2).info.time_stamp, 200u);
    }
}

// Later fragments that come without replicated data do not take away what the first one has said.
TEST(AsfFormat, TheObjectSizeNeedsToBeSaidOnce) {
    AsfLayout layout = {.packet_size = 100, .multiple = false};
    layout.replicated_once = true;
    AsfBuilder builder({asf_video(1)}, layout, AsfIndex::None);
    const Bytes bytes = builder.frame(0, 0, 100000).frame(0, 40, 500).build();
    AsfBytes asf(bytes, SPLITER_SOURCE_LOCAL, {.cut = bytes.size() - 150});
    Bytes buffer(100);
    SplitterFrameInfo info;
    EXPECT_EQ(kAsfSplitter.read_frame(asf.file.handle(), 2, buffer.data(), 100, &info), kSmall);
    EXPECT_EQ(info.size, 100000u);
    EXPECT_EQ(asf.file.read(2).data, builder.truth(0)[0].data);
    EXPECT_EQ(asf.file.read(2).code, kEnd);
}

// Error correction data; records with names behind the fields, and more of them than are kept.
TEST(AsfFormat, WhatFollowsTheFieldsOfHeaderObjectsIsPassedOver) {
    const auto object = [](uint32_t first_group, const Bytes &rest_of_guid, const Bytes &body) {
        return join({le32(first_group), rest_of_guid, le64(24 + body.size()), body});
    };
    const auto extended = [&](uint32_t stream, uint32_t interval) {
        return object(0x14E6A5CB, Bytes(12),
                      join({Bytes(48), le16(stream), le16(0), le64(interval * 10000), Bytes(34, 0xDD)}));
    };
    const Bytes records = join({extended(9, 70), extended(1, 50), extended(2, 7)});
    const AsfStream audio = asf_audio(8);
    const Bytes extra =
        join({object(0xB7DC0791, {0xB7, 0xA9, 0xCF, 0x11, 0x8E, 0xE6, 0, 0xC0, 0x0C, 0x20, 0x53, 0x65},
                     join({audio.type, Bytes(24), le32(static_cast<uint32_t>(audio.format.size())), le32(11),
                           le16(8), le32(0), audio.format, Bytes(11, 0xEE)})),
              object(0x5FBF03B5, Bytes(12),
                     join({Bytes(18), le32(static_cast<uint32_t>(records.size())), records}))});
    AsfBuilder builder = small_file();
    const Bytes good = builder.build();
    const auto end = good.begin() + static_cast<std::ptrdiff_t>(builder.data_start()) - 50;
    const Bytes bytes = join({Bytes(good.begin(), end), extra, Bytes(end, good.end())});
    const uint64_t size = builder.data_start() - 50 + extra.size();
    AsfBytes asf(patched(bytes, kHeaderSize, le64(size)));
    EXPECT_EQ(asf.file.video_info(2).frame_rate, 20u);
    uint32_t reached = 0;
    asf.file.seek(3, UINT32_MAX, 0);
    EXPECT_EQ(asf.file.seek(3, UINT32_MAX, 0, &reached), 0u);
    EXPECT_EQ(reached, 40u);  // measured
    EXPECT_EQ(asf.file.read_all(2).frames.size(), 12u);
}

TEST(AsfFormat, APacketGivesItsFirstHundredFramesOfAStream) {
    AsfStream audio = asf_audio(2);
    audio.compressed = true;
    AsfBuilder builder({asf_video(1), audio}, {.packet_size = 2000}, AsfIndex::None);
    for (uint32_t i = 0; i < 150; ++i)
        builder.frame(1, i * 10, 2);
    const FrameRun run = AsfBytes(builder.build()).file.read_all(3);
    ASSERT_EQ(run.frames.size(), 100u);
    EXPECT_EQ(run.end_code, kEnd);
    for (size_t i = 0; i < 100; ++i)
        EXPECT_EQ(run.frames[i].data, builder.truth(1)[i].data);
}

}  // namespace
}  // namespace quorv::test
