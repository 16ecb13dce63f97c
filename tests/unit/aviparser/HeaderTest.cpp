// The header walk on files that stretch the format: what each track is reported to be, and how a file that
// cannot be opened fails for either kind of source.

#include <string.h>

#include <functional>

#include "aviparser/AviContext.h"
#include "support/VideoHeaders.h"
#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

AviBuilder one_video() {
    AviBuilder builder({video_stream(tag("MJPG"))});
    builder.frame(0, size_t{40}).frame(0, size_t{41});
    return builder;
}

AviBuilder one_audio(const Bytes &format) {
    AviStream stream = pcm_stream();
    stream.format = format;
    AviBuilder builder({stream});
    builder.frame(0, size_t{40});
    return builder;
}

AviBuilder video_with_format(const BitmapHeader &bitmap) {
    AviBuilder builder = one_video();
    builder.streams[0].format = bitmap.body();
    return builder;
}

TEST(AviHeader, FiveSignaturesAreAccepted) {
    for (const uint32_t form : {tag("AVI "), tag("AVIX"), tag("AVI\x19"), tag("ON2f"), tag("AMV ")}) {
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            AviBuilder builder = one_video();
            builder.form = form;
            OpenedAvi avi(builder, kind);
            EXPECT_EQ(avi.file.open_code, 0u);
            expect_frames(avi.file, avi.builder, 0);
        }
    }
}

TEST(AviHeader, OtherFormsOpenWithoutTracksFromLocalSourcesAndFailFromProgressiveOnes) {
    for (const Bytes &bytes : {join({text("RIFF"), le32(4), text("WAVE")}), text("not a media file at all"),
                               join({text("ON2 "), le32(100), text("AVI ")}), Bytes{}, text("RIFF")}) {
        OpenedBytes local(bytes);
        EXPECT_EQ(local.file.open_code, 0u);
        SplitterTrackList list = {5, nullptr};
        EXPECT_EQ(kAviSplitter.enum_track(local.file.handle(), &list), uint32_t{SPLITER_ERR_UNSUPPORTED});
        EXPECT_EQ(list.count, 0u);
        OpenedBytes progressive(bytes, SPLITER_SOURCE_PROGRESSIVE);
        EXPECT_EQ(progressive.file.open_code, uint32_t{SPLITER_ERR_IO});
        EXPECT_EQ(progressive.file.handle(), nullptr);
        EXPECT_FALSE(progressive.source.is_open());
    }
}

struct VideoCase {
    const char *name;
    uint32_t compression, width, height, header_size;
    uint32_t scale, rate, microseconds, length, suggested;
    SplitterVideoInfo expected;
};

TEST(AviHeader, VideoTracksAreReportedAsTheFileSays) {
    const uint32_t M = tag("MJPG"), m = fourcc_value("mjpg"), any = UINT32_MAX;
    const VideoCase cases[] = {
        {"plain", M, 64, 48, 40, 1, 25, 40000, 2, 0, {m, 80, 64, 48, 25, 0, 4608, 40}},
        {"suggested buffer", M, 64, 48, 40, 1, 25, 40000, 2, 999, {m, 80, 64, 48, 25, 0, 999, 40}},
        {"no scale: main header's rate",
         M,
         64,
         48,
         40,
         0,
         25,
         50000,
         2,
         0,
         {m, 100, 64, 48, 20, 0, 4608, 40}},
        {"no rate: main header's rate", M, 64, 48, 40, 1, 0, 50000, 2, 0, {m, 100, 64, 48, 20, 0, 4608, 40}},
        {"no rate anywhere", M, 64, 48, 40, 1, 0, 0, 2, 0, {m, 80, 64, 48, 25, 0, 4608, 40}},
        {"fractional rate", M, 64, 48, 40, 1001, 30000, 1, 2, 0, {m, 66, 64, 48, 29, 0, 4608, 40}},
        {"unknown tag", tag("ZZZZ"), 64, 48, 40, 1, 25, 1, 2, 0, {0, 80, 64, 48, 25, 0, 4608, 40}},
        {"lower-case tag", tag("mjpg"), 64, 48, 40, 1, 25, 1, 2, 0, {m, 80, 64, 48, 25, 0, 4608, 40}},
        {"top-down picture", M, 64, 0u - 48, 1234, 1, 25, 1, 2, 0, {m, 80, 64, 48, 25, 0, 4608, 1234}},
        {"32 bits and more", M, 65536, 65536, 40, 1, 25, 1, any, 0, {m, any, 65536, 65536, 25, 0, any, 40}},
    };
    for (const VideoCase &c : cases) {
        SCOPED_TRACE(c.name);
        AviBuilder builder = video_with_format({.header_size = c.header_size,
                                                .width = c.width,
                                                .height = c.height,
                                                .compression = c.compression});
        builder.main.microseconds_per_frame = c.microseconds;
        StreamHeader &header = builder.streams[0].header;
        header.scale = c.scale;
        header.rate = c.rate;
        header.length = c.length;
        header.suggested_buffer = c.suggested;
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedAvi avi(builder, kind);
            ASSERT_EQ(avi.file.open_code, 0u);
            const SplitterVideoInfo info = avi.file.video_info(1);
            EXPECT_EQ(memcmp(&info, &c.expected, sizeof info), 0)
                << info.codec << ", " << info.duration << " ms, " << info.width << "x" << info.height << ", "
                << info.frame_rate << ", " << info.max_frame_size << ", " << info.format_header_size;
        }
    }
}

struct AudioCase {
    const char *name;
    uint32_t format_tag, channels_in, bits_in, stated_extra;
    Bytes extra;
    size_t size;
    uint32_t codec, channels, bits;
    Bytes codec_data;
};

TEST(AviHeader, WaveFormatsOfEverySize) {
    const Bytes extension = join({le16(20), le32(3), le32(1), Bytes(12, 0xEE)});  // 22 bytes
    const Bytes rest = {1, 2, 3, 4, 5};
    const uint32_t pcm = fourcc_value("pcm "), ac3 = fourcc_value("ac3 "), aac = fourcc_value("aac "),
                   ima = fourcc_value("imaa");
    const AudioCase cases[] = {
        {"14 bytes", 1, 2, 16, 0, {}, 14, pcm, 2, 8, {}},
        {"16 bytes", 1, 2, 16, 0, {}, 16, pcm, 2, 16, {}},
        {"no bits stated", 85, 1, 0, 0, {}, 16, fourcc_value("mp3 "), 1, 16, {}},
        {"six channels", 0x2000, 6, 16, 0, {}, 18, ac3, 2, 16, {}},
        {"extra bytes", 255, 2, 16, 5, rest, 23, aac, 2, 16, rest},
        {"more extra bytes stated than there are", 17, 2, 16, 900, rest, 23, ima, 2, 16, rest},
        {"fewer extra bytes stated", 2, 2, 16, 2, rest, 23, ima, 2, 16, {1, 2}},
        {"extensible", 0xFFFE, 2, 24, 22, extension, 40, 0, 2, 20, {}},
        {"extensible with more", 0xFFFE, 2, 24, 27, join({extension, rest}), 45, 0, 2, 20, rest},
        {"extensible without valid bits", 0xFFFE, 2, 24, 22, Bytes(22), 40, 0, 2, 24, {}},
        {"unknown format", 0x7777, 2, 16, 0, {}, 16, 0, 2, 16, {}},
    };
    for (const AudioCase &c : cases) {
        SCOPED_TRACE(c.name);
        OpenedAvi avi(one_audio(WaveFormat{.format_tag = c.format_tag,
                                           .channels = c.channels_in,
                                           .bits_per_sample = c.bits_in,
                                           .stated_extra = c.stated_extra,
                                           .extra = c.extra}
                                    .body(c.size)));
        const SplitterAudioInfo info = avi.file.audio_info(1);
        const SplitterAudioInfo right = {c.codec, 1,      c.channels,         c.bits, 4,
                                         8000,    256000, c.channels * 16000, 0};
        EXPECT_EQ(memcmp(&info, &right, sizeof info), 0)
            << info.codec << ", " << info.duration << " ms, " << info.channels << ", " << info.bits_per_sample
            << ", " << info.bit_rate << ", " << info.max_frame_size;
        EXPECT_EQ(avi.file.codec_data(1), c.codec_data);
        expect_frames(avi.file, avi.builder, 0);
    }
}

// A sample size that contradicts the block align gives way to it.
TEST(AviHeader, BlockAlignOverrulesTheSampleSize) {
    AviBuilder builder = one_audio(WaveFormat{.block_align = 8}.body(16));
    builder.streams[0].header.sample_size = 2;
    builder.streams[0].header.handler = tag("Axan");  // whose codec is not known
    OpenedAvi avi(builder);
    EXPECT_EQ(avi.file.audio_info(1).codec, 0u);
    const Frame frame = avi.file.read(1);
    EXPECT_EQ(frame.info.size, 40u);
    EXPECT_EQ(frame.info.duration, 0u);  // 5 samples of 1/8000 s
    AviBuilder long_chunk = builder;
    long_chunk.frame(0, size_t{16000});
    OpenedAvi second(long_chunk);
    second.file.read(1);
    EXPECT_EQ(second.file.read(1).info.size, 8192u);  // 1024 samples of 8 bytes
}

struct CodecDataCase {
    const char *name;
    uint32_t compression, height;
    Bytes extra;
    uint32_t codec;
    Bytes expected;
};

TEST(AviHeader, CodecDataOfVideoFormats) {
    const Bytes bottom_up = join({text("BottomUp"), Bytes{0}});
    const Bytes odd = {7, 8, 9};
    Bytes avrn(31, 0x20);
    avrn[28] = '1', avrn[29] = ':', avrn[30] = '1';
    Bytes short_avrn(avrn.begin(), avrn.end() - 1);
    const CodecDataCase cases[] = {
        {"none", tag("MJPG"), 48, {}, fourcc_value("mjpg"), {}},
        {"odd length", tag("MJPG"), 48, odd, fourcc_value("mjpg"), odd},
        {"uncompressed", 0, 48, {}, 0, bottom_up},
        {"uncompressed with a palette", 0, 48, odd, 0, join({odd, bottom_up})},
        {"uncompressed without height", 0, 0, odd, 0, odd},
        {"AVRn one to one", tag("AVRn"), 48, avrn, 0, avrn},
        {"AVRn too short to say", tag("AVRn"), 48, short_avrn, fourcc_value("mjpg"), short_avrn},
    };
    for (const CodecDataCase &c : cases) {
        SCOPED_TRACE(c.name);
        BitmapHeader bitmap;
        bitmap.compression = c.compression;
        bitmap.height = c.height;
        bitmap.extra = c.extra;
        OpenedAvi avi(video_with_format(bitmap));
        EXPECT_EQ(avi.file.video_info(1).codec, c.codec);
        EXPECT_EQ(avi.file.codec_data(1), c.expected);
        expect_frames(avi.file, avi.builder, 0);
    }
}

TEST(AviHeader, SubtitleTracksAreTextAndCannotBeRead) {
    for (const uint32_t compression : {tag("DXSB"), tag("DXSA")}) {
        BitmapHeader bitmap;
        bitmap.compression = compression;
        OpenedAvi avi(video_with_format(bitmap));
        ASSERT_EQ(avi.file.tracks().size(), 1u);
        EXPECT_EQ(avi.file.tracks()[0].type, uint32_t{SPLITER_TRACK_TEXT});
    }
    for (const uint32_t type : {tag("txts"), tag("dats")}) {
        AviBuilder builder = one_video();
        builder.streams[0].header.type = type;
        OpenedAvi avi(builder);
        ASSERT_EQ(avi.file.tracks().size(), 1u);
        EXPECT_EQ(avi.file.tracks()[0].type, uint32_t{SPLITER_TRACK_TEXT});
        SplitterVideoInfo info;
        memset(&info, 0x77, sizeof info);
        const SplitterVideoInfo before = info;
        EXPECT_EQ(kAviSplitter.get_track_info(avi.file.handle(), 1, &info, sizeof info), 0u);
        EXPECT_EQ(memcmp(&info, &before, sizeof info), 0);
        EXPECT_EQ(avi.file.read(1).code, uint32_t{SPLITER_ERR_INVALID_PARAM});
    }
}

// A "pads" stream takes no track number, and what follows it does not touch the track before.
TEST(AviHeader, PaddingStreamsAreSkippedWhole) {
    AviStream pads = video_stream(tag("XVID"));
    pads.header.type = tag("pads");
    pads.after_format = chunk(tag("strd"), Bytes(7));
    AviStream audio = pcm_stream();
    AviBuilder builder({video_stream(tag("MJPG")), audio});
    builder.frame(0, size_t{30}).frame(1, size_t{32});
    AviBuilder with_pads = builder;
    with_pads.streams[0].after_format = list(
        tag("strl"),
        join({chunk(tag("strh"), pads.header.body()), chunk(tag("strf"), pads.format), pads.after_format}));
    OpenedAvi avi(with_pads);
    ASSERT_EQ(avi.file.tracks().size(), 2u);
    EXPECT_EQ(avi.file.tracks()[1].type, uint32_t{SPLITER_TRACK_AUDIO});
    EXPECT_EQ(avi.file.video_info(1).codec, fourcc_value("mjpg"));
    for (uint32_t i = 0; i < 2; ++i)
        expect_frames(avi.file, avi.builder, i);
}

struct BadHeaderCase {
    const char *name;
    std::vector<uint32_t> types;
    uint32_t first_handler;
    uint32_t progressive_code;
    std::vector<uint32_t> local_types;
};

TEST(AviHeader, StreamTypesThatEndTheWalk) {
    const uint32_t bad = SPLITER_ERR_BAD_FORMAT;
    const uint32_t vide = SPLITER_TRACK_VIDEO, soun = SPLITER_TRACK_AUDIO;
    const BadHeaderCase cases[] = {
        {"unknown type", {tag("mids")}, 0, bad, {0}},
        {"unknown type behind others", {tag("vids"), tag("auds"), tag("mids")}, 0, bad, {vide, soun, 0}},
        {"digital video alone", {tag("iavs")}, tag("dvsd"), 0, {0}},
        {"digital video alone, other spelling", {tag("ivas")}, tag("dvsl"), 0, {0}},
        {"digital video with another handler", {tag("iavs")}, tag("XVID"), bad, {0}},
        {"digital video behind another stream", {tag("auds"), tag("iavs")}, tag("dvsd"), bad, {soun, 0}},
    };
    for (const BadHeaderCase &c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<AviStream> streams;
        for (const uint32_t type : c.types) {
            streams.push_back(type == tag("auds") ? pcm_stream() : video_stream(tag("MJPG")));
            streams.back().header.type = type;
            streams.back().header.handler = c.first_handler;
        }
        AviBuilder builder(streams);
        builder.frame(0, size_t{32});
        EXPECT_EQ(OpenedAvi(builder, SPLITER_SOURCE_PROGRESSIVE).file.open_code, c.progressive_code);
        OpenedAvi local(builder);
        ASSERT_EQ(local.file.open_code, 0u);
        const std::vector<SplitterTrackEntry> tracks = local.file.tracks();
        ASSERT_EQ(tracks.size(), c.local_types.size());
        for (size_t i = 0; i < tracks.size(); ++i) {
            EXPECT_EQ(tracks[i].track, i + 1);
            EXPECT_EQ(tracks[i].type, c.local_types[i]);
            const uint32_t end = tracks[i].type == 0 ? uint32_t{SPLITER_ERR_INVALID_PARAM}
                                                     : uint32_t{SPLITER_ERR_END_OF_STREAM};
            EXPECT_EQ(local.file.read(static_cast<uint32_t>(i) + 1).code, end);
        }
    }
}

TEST(AviHeader, AHundredStreamsAndNotOneMore) {
    for (const size_t count : {size_t{100}, size_t{101}}) {
        AviBuilder builder(std::vector<AviStream>(count, pcm_stream()));
        builder.frame(99, size_t{32});
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedAvi avi(builder, kind);
            EXPECT_EQ(avi.file.open_code, count == 100 ? 0u : uint32_t{SPLITER_ERR_BAD_FORMAT});
            if (count == 100) expect_frames(avi.file, avi.builder, 99);
        }
    }
}

// Chunks that lie about their size, stand at odd places or are cut: what follows them must still be found.
TEST(AviHeader, OddChunksAroundTheStreamHeaders) {
    const Bytes info = chunk(tag("LIST"), join({text("INFO"), chunk(tag("ISFT"), text("odd")), Bytes{0}}));
    const std::pair<const char *, std::function<void(AviBuilder &)>> cases[] = {
        {"odd name before the format",
         [](AviBuilder &b) { b.streams[0].before_format = chunk(tag("strn"), text("abc")); }},
        {"property chunk", [](AviBuilder &b) { b.streams[0].after_format = chunk(tag("vprp"), Bytes(37)); }},
        {"short property chunk",
         [](AviBuilder &b) { b.streams[0].after_format = chunk(tag("vprp"), Bytes(5)); }},
        {"odd index chunk that holds nonsense",
         [](AviBuilder &b) { b.streams[0].after_format = chunk(tag("indx"), Bytes(33, 0xFF)); }},
        {"stream data of a codec without tables",
         [](AviBuilder &b) { b.streams[1].after_format = chunk(tag("strd"), Bytes(99)); }},
        {"unknown chunk", [](AviBuilder &b) { b.streams[1].before_format = chunk(tag("zzzz"), Bytes(3)); }},
        {"information list of odd size", [=](AviBuilder &b) { b.header_extra = info; }},
        {"extended header",
         [](AviBuilder &b) { b.header_extra = list(tag("odml"), chunk(tag("dmlh"), Bytes(5))); }},
        {"nested lists",
         [](AviBuilder &b) {
             b.between =
                 list(tag("aaaa"), list(tag("bbbb"), list(tag("cccc"), chunk(tag("dddd"), Bytes(1)))));
         }},
        {"empty lists",
         [](AviBuilder &b) {
             b.between = join({list(tag("aaaa"), {}), list(tag("INFO"), {})});
         }},
    };
    for (const auto &[name, change] : cases) {
        SCOPED_TRACE(name);
        AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
        builder.frame(0, size_t{30}).frame(1, size_t{32}).frame(0, size_t{31});
        change(builder);
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedAvi avi(builder, kind);
            ASSERT_EQ(avi.file.open_code, 0u);
            ASSERT_EQ(avi.file.tracks().size(), 2u);
            for (uint32_t i = 0; i < 2; ++i)
                expect_frames(avi.file, avi.builder, i);
        }
    }
}

// Fields that a chunk is too short for are zero; what follows the chunk is read as ever.
TEST(AviHeader, ShortHeaderChunks) {
    const auto shortened = [](Bytes bytes, size_t size) {
        bytes.resize(size);
        return bytes;
    };
    const AviStream video = video_stream(tag("MJPG"));
    for (const size_t main_size : {0u, 4u, 20u, 37u, 56u}) {
        for (const size_t stream_size : {8u, 20u, 31u, 44u, 56u}) {
            for (const size_t format_size : {0u, 4u, 11u, 19u, 40u}) {
                SCOPED_TRACE(std::to_string(main_size) + ", " + std::to_string(stream_size) + ", " +
                             std::to_string(format_size));
                MainHeader main;
                main.microseconds_per_frame = 50000;
                StreamHeader header = video.header;
                header.length = 10;
                const Bytes stream = join({chunk(tag("strh"), shortened(header.body(), stream_size)),
                                           chunk(tag("strf"), shortened(video.format, format_size))});
                const Bytes headers = list(
                    tag("hdrl"),
                    join({chunk(tag("avih"), shortened(main.body(), main_size)), list(tag("strl"), stream)}));
                const Bytes movi = list(tag("movi"), chunk(tag("00dc"), Bytes(10, 0x88)));
                OpenedBytes avi(chunk(tag("RIFF"), join({text("AVI "), headers, movi})));
                const SplitterVideoInfo info = avi.file.video_info(1);
                const uint32_t rate = stream_size >= 28 || main_size < 4 ? 25 : 20;
                EXPECT_EQ(info.frame_rate, rate);
                EXPECT_EQ(info.duration, stream_size >= 36 ? 10000 / rate : 0);
                EXPECT_EQ(info.format_header_size, format_size >= 4 ? 40u : 0u);
                EXPECT_EQ(info.width, format_size >= 8 ? 64u : 0u);
                EXPECT_EQ(info.height, format_size >= 12 ? 48u : 0u);
                EXPECT_EQ(info.codec, format_size >= 20 ? fourcc_value("mjpg") : 0u);
                EXPECT_EQ(avi.file.read(1).data, Bytes(10, 0x88));
            }
        }
    }
}

// Without a "movi" list a large chunk of any name is taken as the media data.
TEST(AviHeader, LargeUnknownChunkIsMediaData) {
    const Bytes frames = join({chunk(tag("00dc"), Bytes(11, 0x81)), chunk(tag("00dc"), Bytes(12, 0x82))});
    const Bytes media = join({frames, chunk(tag("JUNK"), Bytes(1000001 - frames.size()))});
    const Bytes header =
        list(tag("hdrl"), join({chunk(tag("avih"), MainHeader{}.body()),
                                list(tag("strl"), join({chunk(tag("strh"), StreamHeader{}.body()),
                                                        chunk(tag("strf"), BitmapHeader{}.body())}))}));
    OpenedBytes avi(chunk(tag("RIFF"), join({text("AVI "), header, chunk(tag("mvoi"), media)})));
    ASSERT_EQ(avi.file.open_code, 0u);
    const FrameRun run = avi.file.read_all(1);
    ASSERT_EQ(run.frames.size(), 2u);
    EXPECT_EQ(run.frames[0].data, Bytes(11, 0x81));
    EXPECT_EQ(run.frames[1].data, Bytes(12, 0x82));
}

TEST(AviHeader, NoMediaDataOpensOnlyFromLocalSources) {
    AviBuilder builder = one_video();
    const SparseStore whole = builder.build();
    Bytes bytes = whole.flatten();
    bytes.resize(static_cast<size_t>(builder.media_start() - 8));
    OpenedBytes local(bytes);
    ASSERT_EQ(local.file.open_code, 0u);
    EXPECT_EQ(local.file.tracks().size(), 1u);
    EXPECT_EQ(local.file.read(1).code, uint32_t{SPLITER_ERR_END_OF_STREAM});
    OpenedBytes progressive(bytes, SPLITER_SOURCE_PROGRESSIVE);
    EXPECT_EQ(progressive.file.open_code, uint32_t{SPLITER_ERR_END_OF_STREAM});
}

TEST(AviHeader, HuffmanTablesOfMotionJpeg) {
    const Bytes first = {0xFF, 0xC4, 0, 6, 1, 2, 3, 4}, second = {0xFF, 0xC4, 0, 3, 9};
    const Bytes large = join({Bytes{0xFF, 0xC4, 0x03, 0xEA}, Bytes(1000, 3)});
    const std::tuple<Bytes, uint32_t, Bytes> cases[] = {
        {join({text("AB"), first, second, Bytes{0xFF, 0xD9}, first}), 0, join({first, second})},
        {join({first, Bytes{0}, second}), 0, first},
        {join({first, Bytes{0xFF, 0xC4, 0, 9, 1}}), 0, first},  // the second is cut off
        {Bytes{0xFF, 0xC4, 0, 0, 0xFF, 0xC4, 0, 1}, 0, {}},     // lengths below their own size
        {Bytes{0xFF, 0xC4}, 0, {}},
        {Bytes{}, 0, {}},
        {join({large, large}), 0, join({large, large})},
        {join({large, large, large}), SPLITER_ERR_BUFFER_TOO_SMALL, {}},
    };
    for (const auto &[data, code, kept] : cases) {
        AviBuilder builder = one_video();
        builder.streams[0].after_format = chunk(tag("strd"), data);
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedAvi avi(builder, kind);
            ASSERT_EQ(avi.file.open_code, code);
            if (code != 0) continue;
            const AviTrack &track = *static_cast<const AviContext *>(avi.file.handle())->tracks[0];
            EXPECT_EQ(Bytes(track.huffman_data, track.huffman_data + track.huffman_length), kept);
        }
    }
}

}  // namespace
}  // namespace quorv::test
