// The header walk on files that stretch the format: what each track is reported to be, and how a file that
// cannot be opened fails for either kind of source.

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
    std::function<void(AviBuilder &)> change;
    SplitterVideoInfo expected;
};

TEST(AviHeader, VideoTracksAreReportedAsTheFileSays) {
    const uint32_t mjpg = fourcc_value("mjpg");
    const auto bitmap = [](auto member, auto value) {
        return [=](AviBuilder &b) {
            BitmapHeader header;
            header.*member = value;
            b.streams[0].format = header.body();
        };
    };
    const auto stream = [](auto member, uint32_t value) {
        return [=](AviBuilder &b) { b.streams[0].header.*member = value; };
    };
    const VideoCase cases[] = {
        {"plain", [](AviBuilder &) {}, {mjpg, 80, 64, 48, 25, 0, 4608, 40}},
        {"suggested buffer",
         stream(&StreamHeader::suggested_buffer, 999),
         {mjpg, 80, 64, 48, 25, 0, 999, 40}},
        {"stated length", stream(&StreamHeader::length, 1000), {mjpg, 40000, 64, 48, 25, 0, 4608, 40}},
        {"no scale: main header's rate",
         [](AviBuilder &b) {
             b.streams[0].header.scale = 0;
             b.main.microseconds_per_frame = 50000;
         },
         {mjpg, 100, 64, 48, 20, 0, 4608, 40}},
        {"no rate: main header's rate", stream(&StreamHeader::rate, 0), {mjpg, 80, 64, 48, 25, 0, 4608, 40}},
        {"no rate anywhere",
         [](AviBuilder &b) {
             b.streams[0].header.rate = 0;
             b.main.microseconds_per_frame = 0;
         },
         {mjpg, 80, 64, 48, 25, 0, 4608, 40}},
        {"fractional rate",
         [](AviBuilder &b) {
             b.streams[0].header.scale = 1001;
             b.streams[0].header.rate = 30000;
         },
         {mjpg, 66, 64, 48, 29, 0, 4608, 40}},
        {"lower-case tag",
         bitmap(&BitmapHeader::compression, tag("xvid")),
         {fourcc_value("xvid"), 80, 64, 48, 25, 0, 4608, 40}},
        {"tag that is not text",
         bitmap(&BitmapHeader::compression, 4u),
         {fourcc_value("m4va"), 80, 64, 48, 25, 0, 4608, 40}},
        {"variant of MPEG-4",
         bitmap(&BitmapHeader::compression, tag("mp42")),
         {0x00FFFFFF, 80, 64, 48, 25, 0, 4608, 40}},
        {"unknown tag", bitmap(&BitmapHeader::compression, tag("ZZZZ")), {0, 80, 64, 48, 25, 0, 4608, 40}},
        {"top-down picture",
         bitmap(&BitmapHeader::height, uint32_t(-48)),
         {mjpg, 80, 64, 48, 25, 0, 4608, 40}},
        {"header size as stored",
         bitmap(&BitmapHeader::header_size, 1234u),
         {mjpg, 80, 64, 48, 25, 0, 4608, 1234}},
        {"picture beyond 32 bits",
         [](AviBuilder &b) {
             BitmapHeader header;
             header.width = header.height = 0x10000;
             b.streams[0].format = header.body();
         },
         {mjpg, 80, 0x10000, 0x10000, 25, 0, UINT32_MAX, 40}},
        {"duration beyond 32 bits",
         stream(&StreamHeader::length, UINT32_MAX),
         {mjpg, UINT32_MAX, 64, 48, 25, 0, 4608, 40}},
    };
    for (const VideoCase &c : cases) {
        SCOPED_TRACE(c.name);
        AviBuilder builder = one_video();
        c.change(builder);
        for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
            OpenedAvi avi(builder, kind);
            ASSERT_EQ(avi.file.open_code, 0u);
            const SplitterVideoInfo info = avi.file.video_info(1);
            EXPECT_EQ(info.codec, c.expected.codec);
            EXPECT_EQ(info.duration, c.expected.duration);
            EXPECT_EQ(info.width, c.expected.width);
            EXPECT_EQ(info.height, c.expected.height);
            EXPECT_EQ(info.frame_rate, c.expected.frame_rate);
            EXPECT_EQ(info.max_bitrate, 0u);
            EXPECT_EQ(info.max_frame_size, c.expected.max_frame_size);
            EXPECT_EQ(info.format_header_size, c.expected.format_header_size);
        }
    }
}

struct AudioCase {
    const char *name;
    WaveFormat wave;
    size_t size;
    uint32_t codec, channels, bits;
    Bytes codec_data;
};

TEST(AviHeader, WaveFormatsOfEverySize) {
    const Bytes extension = join({le16(20), le32(3), le32(1), Bytes(12, 0xEE)});  // 22 bytes
    const Bytes rest = {1, 2, 3, 4, 5};
    const AudioCase cases[] = {
        {"14 bytes", {}, 14, fourcc_value("pcm "), 2, 8, {}},
        {"16 bytes", {}, 16, fourcc_value("pcm "), 2, 16, {}},
        {"no bits stated", {.format_tag = 85, .bits_per_sample = 0}, 16, fourcc_value("mp3 "), 2, 16, {}},
        {"six channels", {.format_tag = 0x2000, .channels = 6}, 18, fourcc_value("ac3 "), 2, 16, {}},
        {"one channel", {.format_tag = 80, .channels = 1}, 18, fourcc_value("mp2 "), 1, 16, {}},
        {"extra bytes",
         {.format_tag = 255, .stated_extra = 5, .extra = rest},
         23,
         fourcc_value("aac "),
         2,
         16,
         rest},
        {"more extra bytes stated than there are",
         {.format_tag = 17, .stated_extra = 900, .extra = rest},
         23,
         fourcc_value("imaa"),
         2,
         16,
         rest},
        {"fewer extra bytes stated",
         {.format_tag = 2, .stated_extra = 2, .extra = rest},
         23,
         fourcc_value("imaa"),
         2,
         16,
         {1, 2}},
        {"extensible",
         {.format_tag = 0xFFFE, .bits_per_sample = 24, .stated_extra = 22, .extra = extension},
         40,
         0,
         2,
         20,
         {}},
        {"extensible with more",
         {.format_tag = 0xFFFE, .bits_per_sample = 24, .stated_extra = 27, .extra = join({extension, rest})},
         45,
         0,
         2,
         20,
         rest},
        {"extensible without valid bits",
         {.format_tag = 0xFFFE, .bits_per_sample = 24, .stated_extra = 22, .extra = Bytes(22)},
         40,
         0,
         2,
         24,
         {}},
        {"unknown format", {.format_tag = 0x7777}, 16, 0, 2, 16, {}},
    };
    for (const AudioCase &c : cases) {
        SCOPED_TRACE(c.name);
        OpenedAvi avi(one_audio(c.wave.body(c.size)));
        const SplitterAudioInfo info = avi.file.audio_info(1);
        EXPECT_EQ(info.codec, c.codec);
        EXPECT_EQ(info.channels, c.channels);
        EXPECT_EQ(info.bits_per_sample, c.bits);
        EXPECT_EQ(info.block_align, 4u);
        EXPECT_EQ(info.sample_rate, 8000u);
        EXPECT_EQ(info.bit_rate, 256000u);
        EXPECT_EQ(info.max_frame_size, c.channels * 16000);
        EXPECT_EQ(info.reserved, 0u);
        EXPECT_EQ(avi.file.codec_data(1), c.codec_data);
        expect_frames(avi.file, avi.builder, 0);
    }
}

TEST(AviHeader, WaveFormatTagsGiveTheirCodecs) {
    const std::pair<uint32_t, uint32_t> pairs[] = {{1, fourcc_value("pcm ")},
                                                   {2, fourcc_value("imaa")},
                                                   {17, fourcc_value("imaa")},
                                                   {80, fourcc_value("mp2 ")},
                                                   {85, fourcc_value("mp3 ")},
                                                   {255, fourcc_value("aac ")},
                                                   {352, fourcc_value("wmv1")},
                                                   {353, fourcc_value("wmv2")},
                                                   {8192, fourcc_value("ac3 ")},
                                                   {8193, fourcc_value("dts ")},
                                                   {3, 0},
                                                   {0x161 + 1, 0}};
    for (const auto &[format_tag, codec] : pairs) {
        OpenedAvi avi(one_audio(WaveFormat{.format_tag = format_tag}.body(18)));
        EXPECT_EQ(avi.file.audio_info(1).codec, codec) << format_tag;
    }
}

TEST(AviHeader, HandlerAxanHasNoCodec) {
    AviBuilder builder = one_audio(WaveFormat{}.body(16));
    builder.streams[0].header.handler = tag("Axan");
    EXPECT_EQ(OpenedAvi(builder).file.audio_info(1).codec, 0u);
}

// A sample size that contradicts the block align gives way to it.
TEST(AviHeader, BlockAlignOverrulesTheSampleSize) {
    AviBuilder builder = one_audio(WaveFormat{.block_align = 8}.body(16));
    builder.streams[0].header.sample_size = 2;
    OpenedAvi avi(builder);
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

TEST(AviHeader, HuffmanTablesAreKept) {
    const Bytes first = {0xFF, 0xC4, 0, 6, 1, 2, 3, 4}, second = {0xFF, 0xC4, 0, 3, 9};
    const std::pair<Bytes, Bytes> cases[] = {
        {join({text("AB"), first, second, Bytes{0xFF, 0xD9}, first}), join({first, second})},
        {join({first, Bytes{0}, second}), first},
        {join({first, Bytes{0xFF, 0xC4, 0, 9, 1}}), first},  // the second is cut off
        {text("no tables"), {}},
    };
    for (const auto &[data, expected] : cases) {
        AviBuilder builder = one_video();
        builder.streams[0].after_format = chunk(tag("strd"), data);
        OpenedAvi avi(builder);
        const AviTrack &track = *static_cast<const AviContext *>(avi.file.handle())->tracks[0];
        EXPECT_EQ(Bytes(track.huffman_data, track.huffman_data + track.huffman_length), expected);
    }
}

TEST(AviHeader, HuffmanTablesHaveALimit) {
    const auto tables = [](size_t count) {
        Bytes all = {0xFF, 0xD8};
        for (size_t i = 0; i < count; ++i)
            all = join({all, Bytes{0xFF, 0xC4, 0x03, 0xEA}, Bytes(1000, 3)});
        return all;
    };
    const std::pair<Bytes, uint32_t> cases[] = {
        {tables(2), 0},                                  // 2008 bytes
        {tables(3), SPLITER_ERR_BUFFER_TOO_SMALL},       // 3012 bytes
        {Bytes{0xFF, 0xC4}, 0},                          // no room for a length
        {Bytes{0xFF, 0xC4, 0, 0, 0xFF, 0xC4, 0, 1}, 0},  // lengths below their own size
        {Bytes{0xFF, 0xC4, 0xFF, 0xFF, 1}, 0},           // beyond the chunk
        {Bytes{}, 0},
    };
    for (const auto &[data, code] : cases) {
        AviBuilder builder = one_video();
        builder.streams[0].after_format = chunk(tag("strd"), data);
        EXPECT_EQ(OpenedAvi(builder).file.open_code, code);
        EXPECT_EQ(OpenedAvi(builder, SPLITER_SOURCE_PROGRESSIVE).file.open_code, code);
    }
}

}  // namespace
}  // namespace quorv::test
