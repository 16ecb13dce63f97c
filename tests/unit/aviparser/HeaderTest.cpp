// The header walk on files that stretch the format: what each track is reported to be, and how a file that
// cannot be opened fails for either kind of source.

#include <string.h>

#include "aviparser/AviContext.h"
#include "unit/aviparser/OpenedAvi.h"

namespace quorv::test {
namespace {

constexpr uint32_t kKinds[] = {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE};

AviBuilder one_stream(AviStream stream, const Bytes &format = {}) {
    if (!format.empty()) stream.format = format;
    AviBuilder builder({stream});
    builder.frame(0, size_t{40}).frame(0, size_t{41});
    return builder;
}

TEST(AviHeader, FiveSignaturesAreAcceptedAndOthersOpenWithoutTracksOrNotAtAll) {
    for (const uint32_t form : {tag("AVI "), tag("AVIX"), tag("AVI\x19"), tag("ON2f"), tag("AMV ")}) {
        AviBuilder builder = one_stream(video_stream(tag("MJPG")));
        builder.form = form;
        for (const uint32_t kind : kKinds) {
            OpenedAvi avi(builder, kind);
            expect_frames(avi.file, avi.builder, 0);
        }
    }
    for (const Bytes &bytes : {join({text("RIFF"), le32(4), text("WAVE")}), text("not a media file at all"),
                               join({text("ON2 "), le32(100), text("AVI ")}), Bytes{}, text("RIFF")}) {
        OpenedBytes local(bytes), progressive(bytes, SPLITER_SOURCE_PROGRESSIVE);
        EXPECT_EQ(local.file.open_code, 0u);
        EXPECT_EQ(local.file.tracks().size(), 0u);
        EXPECT_EQ(progressive.file.open_code, uint32_t{SPLITER_ERR_IO});
        EXPECT_EQ(progressive.file.handle(), nullptr);
    }
}

TEST(AviHeader, VideoTracksAreReportedAsTheFileSays) {
    const uint32_t M = tag("MJPG"), m = fourcc_value("mjpg"), any = UINT32_MAX;
    const struct {
        uint32_t compression, width, height, scale, rate, microseconds, length, suggested;
        SplitterVideoInfo expected;
    } cases[] = {
        {M, 64, 48, 1, 25, 40000, 2, 999, {m, 80, 64, 48, 25, 0, 999, 40}},
        {M, 64, 48, 0, 25, 50000, 2, 0, {m, 100, 64, 48, 20, 0, 4608, 40}},  // the main header's rate
        {M, 64, 48, 1, 0, 50000, 2, 0, {m, 100, 64, 48, 20, 0, 4608, 40}},
        {M, 64, 48, 1, 0, 0, 2, 0, {m, 80, 64, 48, 25, 0, 4608, 40}},
        {M, 64, 48, 1001, 30000, 1, 2, 0, {m, 66, 64, 48, 29, 0, 4608, 40}},
        {tag("ZZZZ"), 64, 48, 1, 25, 1, 2, 0, {0, 80, 64, 48, 25, 0, 4608, 40}},
        {M, 64, 0u - 48, 1, 25, 1, 2, 0, {m, 80, 64, 48, 25, 0, 4608, 40}},  // top-down
        {M, 65536, 65536, 1, 25, 1, any, 0, {m, any, 65536, 65536, 25, 0, any, 40}},
    };
    for (const auto &c : cases) {
        AviStream video = video_stream(c.compression, c.scale, c.rate);
        video.header.length = c.length;
        video.header.suggested_buffer = c.suggested;
        video.format =
            BitmapHeader{.width = c.width, .height = c.height, .compression = c.compression}.body();
        AviBuilder builder = one_stream(video);
        builder.main.microseconds_per_frame = c.microseconds;
        const SplitterVideoInfo info = OpenedAvi(builder).file.video_info(1);
        EXPECT_EQ(memcmp(&info, &c.expected, sizeof info), 0)
            << &c - cases << ": " << info.codec << ", " << info.duration << " ms, " << info.width << "x"
            << info.height << ", " << info.frame_rate << ", " << info.max_frame_size;
    }
}

TEST(AviHeader, WaveFormatsOfEverySize) {
    const Bytes extension = join({le16(20), le32(3), le32(1), Bytes(12, 0xEE)});  // 22 bytes
    const Bytes rest = {1, 2, 3, 4, 5};
    const uint32_t pcm = fourcc_value("pcm "), aac = fourcc_value("aac "), ima = fourcc_value("imaa");
    const struct {
        uint32_t format_tag, channels_in, bits_in, stated_extra;
        Bytes extra;
        size_t size;
        uint32_t codec, channels, bits;
        Bytes codec_data;
    } cases[] = {
        {1, 2, 16, 0, {}, 14, pcm, 2, 8, {}},
        {1, 2, 16, 0, {}, 16, pcm, 2, 16, {}},
        {85, 1, 0, 0, {}, 16, fourcc_value("mp3 "), 1, 16, {}},
        {0x2000, 6, 16, 0, {}, 18, fourcc_value("ac3 "), 2, 16, {}},
        {255, 2, 16, 5, rest, 23, aac, 2, 16, rest},
        {17, 2, 16, 900, rest, 23, ima, 2, 16, rest},  // more extra bytes stated than there are
        {2, 2, 16, 2, rest, 23, ima, 2, 16, {1, 2}},
        {0xFFFE, 2, 24, 27, join({extension, rest}), 45, 0, 2, 20, rest},
        {0xFFFE, 2, 24, 22, Bytes(22), 40, 0, 2, 24, {}},
        {0x7777, 2, 16, 0, {}, 16, 0, 2, 16, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const WaveFormat wave = {.format_tag = c.format_tag,
                                 .channels = c.channels_in,
                                 .bits_per_sample = c.bits_in,
                                 .stated_extra = c.stated_extra,
                                 .extra = c.extra};
        OpenedAvi avi(one_stream(pcm_stream(), wave.body(c.size)));
        const SplitterAudioInfo info = avi.file.audio_info(1);
        const SplitterAudioInfo right = {c.codec, 2,      c.channels,         c.bits, 4,
                                         8000,    256000, c.channels * 16000, 0};
        EXPECT_EQ(memcmp(&info, &right, sizeof info), 0)
            << info.codec << ", " << info.duration << " ms, " << info.channels << ", " << info.bits_per_sample
            << ", " << info.bit_rate << ", " << info.max_frame_size;
        EXPECT_EQ(avi.file.codec_data(1), c.codec_data);
        expect_frames(avi.file, avi.builder, 0);
    }
    // A sample size that contradicts the block align gives way to it.
    AviStream stream = pcm_stream(8000, 2);
    stream.format = WaveFormat{.block_align = 8}.body(16);
    stream.header.handler = tag("Axan");  // whose codec is not known
    AviBuilder builder({stream});
    OpenedAvi avi(builder.frame(0, size_t{16000}));
    EXPECT_EQ(avi.file.audio_info(1).codec, 0u);
    EXPECT_EQ(avi.file.read(1).info.size, 8192u);  // 1024 samples of 8 bytes
}

TEST(AviHeader, CodecDataOfVideoFormats) {
    const Bytes bottom_up = join({text("BottomUp"), Bytes{0}}), odd = {7, 8, 9};
    Bytes avrn = join({Bytes(28, 0x20), text("1:1")});
    const Bytes short_avrn(avrn.begin(), avrn.end() - 1);
    const struct {
        uint32_t compression, height;
        Bytes extra;
        uint32_t codec;
        Bytes expected;
    } cases[] = {
        {tag("MJPG"), 48, odd, fourcc_value("mjpg"), odd},
        {0, 48, {}, 0, bottom_up},
        {0, 48, odd, 0, join({odd, bottom_up})},
        {0, 0, odd, 0, odd},
        {tag("AVRn"), 48, avrn, 0, avrn},
        {tag("AVRn"), 48, short_avrn, fourcc_value("mjpg"), short_avrn},
    };
    for (const auto &c : cases) {
        const BitmapHeader bitmap = {.height = c.height, .compression = c.compression, .extra = c.extra};
        OpenedAvi avi(one_stream(video_stream(c.compression), bitmap.body()));
        EXPECT_EQ(avi.file.video_info(1).codec, c.codec);
        EXPECT_EQ(avi.file.codec_data(1), c.expected);
        expect_frames(avi.file, avi.builder, 0);
    }
}

TEST(AviHeader, StreamTypesThatCannotBeRead) {
    const uint32_t bad = SPLITER_ERR_BAD_FORMAT, vide = SPLITER_TRACK_VIDEO, soun = SPLITER_TRACK_AUDIO;
    const uint32_t text = SPLITER_TRACK_TEXT;
    const struct {
        std::vector<uint32_t> types;
        uint32_t handler;
        uint32_t progressive_code;
        std::vector<uint32_t> local_types;
    } cases[] = {
        {{tag("txts"), tag("dats")}, 0, 0, {text, text}},
        {{tag("vids"), tag("vids")}, tag("DXSB"), 0, {text, text}},
        {{tag("vids")}, tag("DXSA"), 0, {text}},
        {{tag("vids"), tag("auds"), tag("mids")}, 0, bad, {vide, soun, 0}},
        {{tag("iavs")}, tag("dvsd"), 0, {0}},
        {{tag("ivas")}, tag("dvsl"), 0, {0}},
        {{tag("iavs")}, tag("XVID"), bad, {0}},
        {{tag("auds"), tag("iavs")}, tag("dvsd"), bad, {soun, 0}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<AviStream> streams;
        for (const uint32_t type : c.types) {
            streams.push_back(type == tag("auds") ? pcm_stream() : video_stream(tag("MJPG")));
            if (c.handler != 0 && type == tag("vids")) streams.back() = video_stream(c.handler);
            streams.back().header.type = type;
            streams.back().header.handler = c.handler;
        }
        AviBuilder builder(streams);
        builder.frame(0, size_t{32});
        EXPECT_EQ(OpenedAvi(builder, SPLITER_SOURCE_PROGRESSIVE).file.open_code, c.progressive_code);
        OpenedAvi local(builder);
        const std::vector<SplitterTrackEntry> tracks = local.file.tracks();
        ASSERT_EQ(tracks.size(), c.local_types.size());
        for (uint32_t i = 0; i < tracks.size(); ++i) {
            EXPECT_EQ(tracks[i].track, i + 1);
            EXPECT_EQ(tracks[i].type, c.local_types[i]);
            const bool is_media = tracks[i].type == vide || tracks[i].type == soun;
            EXPECT_EQ(local.file.read(i + 1).code,
                      uint32_t{is_media ? SPLITER_ERR_END_OF_STREAM : SPLITER_ERR_INVALID_PARAM});
        }
    }
}

TEST(AviHeader, AHundredStreamsAndNotOneMore) {
    for (const uint32_t kind : kKinds) {
        AviBuilder builder(std::vector<AviStream>(100, pcm_stream()));
        builder.frame(99, size_t{32});
        OpenedAvi avi(builder, kind);
        expect_frames(avi.file, avi.builder, 99);
        builder.streams.push_back(pcm_stream());
        EXPECT_EQ(OpenedAvi(builder, kind).file.open_code, uint32_t{SPLITER_ERR_BAD_FORMAT});
    }
}

// Chunks of odd sizes, of nonsense or at odd places, and a "pads" stream, which takes no track number: what
// follows them must still be found, and nothing of the track before may change.
TEST(AviHeader, OddChunksAroundTheStreamHeaders) {
    AviStream pads = video_stream(tag("XVID"));
    pads.header.type = tag("pads");
    const Bytes chunks[] = {
        chunk(tag("strn"), text("abc")),
        chunk(tag("vprp"), Bytes(37)),
        chunk(tag("vprp"), Bytes(5)),
        chunk(tag("indx"), Bytes(33, 0xFF)),
        chunk(tag("strd"), Bytes(99)),
        chunk(tag("zzzz"), Bytes(3)),
        list(tag("INFO"), join({chunk(tag("ISFT"), text("odd")), Bytes{0}})),
        list(tag("odml"), chunk(tag("dmlh"), Bytes(5))),
        list(tag("aaaa"), list(tag("bbbb"), list(tag("cccc"), chunk(tag("dddd"), Bytes(1))))),
        join({list(tag("aaaa"), {}), list(tag("INFO"), {})}),
        list(tag("strl"), join({chunk(tag("strh"), pads.header.body()), chunk(tag("strf"), pads.format),
                                chunk(tag("strd"), Bytes(7)), chunk(tag("indx"), Bytes(24))})),
    };
    for (const Bytes &odd : chunks) {
        for (int place = 0; place < 4; ++place) {
            SCOPED_TRACE(testing::Message() << "chunk " << &odd - chunks << " at place " << place);
            AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
            builder.frame(0, size_t{30}).frame(1, size_t{32}).frame(0, size_t{31});
            if (place == 0 && odd[0] == 'L') continue;  // the end of a list in front of the format hides it
            AviStream &stream = builder.streams[0];
            (place == 0   ? stream.before_format
             : place == 1 ? stream.after_format
             : place == 2 ? builder.header_extra
                          : builder.between) = odd;
            for (const uint32_t kind : kKinds) {
                OpenedAvi avi(builder, kind);
                ASSERT_EQ(avi.file.tracks().size(), 2u);
                EXPECT_EQ(avi.file.video_info(1).codec, fourcc_value("mjpg"));
                for (uint32_t i = 0; i < 2; ++i)
                    expect_frames(avi.file, avi.builder, i);
            }
        }
    }
}

// A file of one video stream, from the bodies of its header chunks and the chunk that holds its media.
Bytes bare_file(Bytes main, Bytes stream, Bytes format, const Bytes &media) {
    const Bytes strl = join({chunk(tag("strh"), stream), chunk(tag("strf"), format)});
    const Bytes headers = list(tag("hdrl"), join({chunk(tag("avih"), main), list(tag("strl"), strl)}));
    return chunk(tag("RIFF"), join({text("AVI "), headers, media}));
}

// Fields that a chunk is too short for are zero; what follows the chunk is read as ever.
TEST(AviHeader, ShortHeaderChunks) {
    const Bytes media = list(tag("movi"), chunk(tag("00dc"), Bytes(10, 0x88)));
    Bytes main = MainHeader{.microseconds_per_frame = 50000}.body(),
          stream = StreamHeader{.length = 10}.body(), format = BitmapHeader{}.body();
    for (const size_t main_size : {56u, 37u, 20u, 4u, 0u}) {
        main.resize(main_size);
        for (const size_t stream_size : {56u, 44u, 31u, 20u, 8u}) {
            for (const size_t format_size : {40u, 19u, 11u, 4u, 0u}) {
                stream = StreamHeader{.length = 10}.body();
                stream.resize(stream_size);
                format = BitmapHeader{}.body();
                format.resize(format_size);
                SCOPED_TRACE(testing::Message() << main_size << " " << stream_size << " " << format_size);
                OpenedBytes avi(bare_file(main, stream, format, media));
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

// Without a "movi" list a large chunk of any name is taken as the media data; without that there is none.
TEST(AviHeader, LargeUnknownChunkIsMediaData) {
    const Bytes frames = join({chunk(tag("00dc"), Bytes(11, 0x81)), chunk(tag("00dc"), Bytes(12, 0x82))});
    for (const size_t padding : {size_t{1000000}, size_t{9}}) {
        const Bytes media = chunk(tag("mvoi"), join({frames, chunk(tag("JUNK"), Bytes(padding))}));
        const Bytes file =
            bare_file(MainHeader{}.body(), StreamHeader{}.body(), BitmapHeader{}.body(), media);
        OpenedBytes local(file), progressive(file, SPLITER_SOURCE_PROGRESSIVE);
        const FrameRun run = local.file.read_all(1);
        EXPECT_EQ(run.frames.size(), padding > 9 ? 2u : 0u);
        EXPECT_EQ(run.end_code, uint32_t{SPLITER_ERR_END_OF_STREAM});
        EXPECT_EQ(progressive.file.open_code, uint32_t{SPLITER_ERR_END_OF_STREAM});
    }
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
        {join({large, large}), 0, join({large, large})},
        {join({large, large, large}), SPLITER_ERR_BUFFER_TOO_SMALL, {}},
    };
    for (const auto &[data, code, kept] : cases) {
        AviBuilder builder = one_stream(video_stream(tag("MJPG")));
        builder.streams[0].after_format = chunk(tag("strd"), data);
        OpenedAvi avi(builder);
        ASSERT_EQ(avi.file.open_code, code);
        if (code != 0) continue;
        const AviTrack &track = *static_cast<const AviContext *>(avi.file.handle())->tracks[0];
        EXPECT_EQ(Bytes(track.huffman_data, track.huffman_data + track.huffman_length), kept);
    }
}

// Tracks whose first frame lies behind thousands of chunks: opening the file does not read them all.
TEST(AviHeader, FirstFramesAreNotSoughtForEver) {
    for (const size_t tracks : {1u, 50u}) {
        AviBuilder builder(std::vector<AviStream>(tracks, video_stream(tag("XVID"))), IndexKind::None);
        Bytes empty;
        for (int i = 0; i < 60000; ++i)
            empty.insert(empty.end(), {'0', '0', 'd', 'c', 0, 0, 0, 0});
        OpenedAvi avi(builder.raw(empty).frame(0, size_t{40}));
        EXPECT_EQ(avi.file.open_code, 0u);
        EXPECT_LT(avi.source.calls(), tracks == 1 ? 10000u : 50000u);
        EXPECT_EQ(avi.file.read(1).info.time_stamp, 60000u * 40);
    }
}

// Zeros between two chunks are stepped over in large reads. What may hold nothing else is given up: a sparse
// file after 64 MB, a source of unknown size after 128 KB.
TEST(AviHeader, RunsOfZeros) {
    AviBuilder builder = one_stream(video_stream(tag("MJPG")));
    builder.between = builder.after = Bytes(300004);
    for (const uint32_t kind : kKinds) {
        OpenedAvi avi(builder, kind);
        EXPECT_LT(avi.source.calls(), 1000u);
        expect_frames(avi.file, avi.builder, 0);
    }
    OpenedAvi unknown(builder, SPLITER_SOURCE_LOCAL, {.size = SizeAnswer::Zero});
    EXPECT_LT(unknown.source.bytes_read, 140000u);
    EXPECT_EQ(unknown.file.read(1).code, uint32_t{SPLITER_ERR_END_OF_STREAM});
    SparseStore sparse;
    sparse.append(join({text("RIFF"), le32(0), text("AVI ")}));
    sparse.append_zeros(uint64_t{1} << 40);
    TestSource source(sparse);
    EXPECT_EQ(SplitterFile(kAviSplitter, source.record()).open_code, 0u);
    EXPECT_LT(source.bytes_read, 68000000u);
}

// What lies behind the end of its list is not read; only in AMV files a list of size 0 has no end.
TEST(AviHeader, ListsWithoutSizes) {
    const Bytes type = text("strl");
    for (const uint32_t form : {tag("AVI "), tag("AMV ")}) {
        AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
        builder.form = form;
        Bytes bytes = builder.build().flatten();
        for (auto at = bytes.begin();
             (at = std::search(at, bytes.end(), type.begin(), type.end())) != bytes.end(); ++at)
            std::fill(at - 4, at, uint8_t{0});
        EXPECT_EQ(OpenedBytes(bytes).file.audio_info(2).sample_rate, form == tag("AMV ") ? 8000u : 0u);
    }
}

}  // namespace
}  // namespace quorv::test
