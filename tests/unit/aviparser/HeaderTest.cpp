// The header walk on files that stretch the format: what each track is reported to be, and how a file that
// cannot be opened fails for either kind of source.

#include "support/ExpectFrames.h"

namespace quorv::test {
namespace {

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
        for (const uint32_t kind : kKinds)
            OpenedAvi(builder, kind).expect_frames(0);
    }
    for (const Bytes &bytes : {join({text("RIFF"), le32(4), text("WAVE")}), text("not a media file at all"),
                               join({text("ON2 "), le32(100), text("AVI ")}), Bytes{}, text("RIFF")}) {
        AviBytes local(bytes), progressive(bytes, SPLITER_SOURCE_PROGRESSIVE);
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
        {M, 64, 48, any, 1, 1, 2, 0, {m, any, 64, 48, 0, 0, 4608, 40}},
        {M, 64, 48, 1, any, 1, 2, 0, {m, 0, 64, 48, any, 0, 4608, 40}},  // a time base of 0
        {M, 64, 48, any, any - 1, 1, 2, 0, {m, 2000, 64, 48, 0, 0, 4608, 40}},
    };
    for (const auto &c : cases) {
        AviStream video = video_stream(c.compression, c.scale, c.rate);
        video.header.length = c.length;
        video.header.suggested_buffer = c.suggested;
        video.format = BitmapHeader{c.width, c.height, c.compression}.body();
        AviBuilder builder = one_stream(video);
        builder.main.microseconds_per_frame = c.microseconds;
        OpenedAvi avi(builder);
        EXPECT_EQ(words(avi.file.video_info(1)), words(c.expected)) << "case " << &c - cases;
        const bool all_is_time_0 = c.rate == any || (c.scale == any && c.rate == 1);
        EXPECT_EQ(avi.file.seek(1, 5000, 0), 0u);
        EXPECT_EQ(avi.file.read_all(1).frames.size(), all_is_time_0 ? 2u : 1u);
    }
}

TEST(AviHeader, WaveFormatsOfEverySize) {
    const Bytes extension = join({le16(20), le32(3), le32(1), Bytes(12, 0xEE)});  // 22 bytes
    const Bytes rest = {1, 2, 3, 4, 5};
    const uint32_t pcm = fourcc_value("pcm "), aac = fourcc_value("aac "), ima = fourcc_value("imaa");
    const struct {
        WaveFormat wave;
        size_t size;
        uint32_t codec, channels, bits;
        Bytes codec_data;
    } cases[] = {
        {{1, 2, 8000, 32000, 4, 16, 0, {}}, 14, pcm, 2, 8, {}},
        {{1, 2, 8000, 32000, 4, 16, 0, {}}, 16, pcm, 2, 16, {}},
        {{85, 1, 8000, 32000, 4, 0, 0, {}}, 16, fourcc_value("mp3 "), 1, 16, {}},
        {{0x2000, 6, 8000, 32000, 4, 16, 0, {}}, 18, fourcc_value("ac3 "), 2, 16, {}},
        {{255, 2, 8000, 32000, 4, 16, 5, rest}, 23, aac, 2, 16, rest},
        {{17, 2, 8000, 32000, 4, 16, 900, rest}, 23, ima, 2, 16, rest},  // more extra stated than there is
        {{2, 2, 8000, 32000, 4, 16, 2, rest}, 23, ima, 2, 16, {1, 2}},
        {{0xFFFE, 2, 8000, 32000, 4, 24, 27, join({extension, rest})}, 45, 0, 2, 20, rest},
        {{0xFFFE, 2, 8000, 32000, 4, 24, 22, Bytes(22)}, 40, 0, 2, 24, {}},
        {{0x7777, 2, 8000, 32000, 4, 16, 0, {}}, 16, 0, 2, 16, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        OpenedAvi avi(one_stream(pcm_stream(), c.wave.body(c.size)));
        EXPECT_EQ(words(avi.file.audio_info(1)),
                  (Numbers{c.codec, 2, c.channels, c.bits, 4, 8000, 256000, c.channels * 16000, 0}));
        EXPECT_EQ(avi.file.codec_data(1), c.codec_data);
        avi.expect_frames(0);
    }
    // A sample size that contradicts the block align gives way to it.
    AviStream stream = pcm_stream(8000, 2);
    stream.format = WaveFormat{.block_align = 8}.body(16);
    stream.header.handler = tag("Axan");  // whose codec is not known
    OpenedAvi avi(AviBuilder({stream}).frame(0, size_t{16000}));
    EXPECT_EQ(avi.file.audio_info(1).codec, 0u);
    EXPECT_EQ(avi.file.read(1).info.size, 8192u);  // 1024 samples of 8 bytes
}

TEST(AviHeader, CodecDataOfVideoFormats) {
    const Bytes bottom_up = join({text("BottomUp"), Bytes{0}}), odd = {7, 8, 9};
    Bytes avrn = join({Bytes(28, 0x20), text("1:1")});
    const Bytes short_avrn(avrn.begin(), avrn.end() - 1);
    const struct {
        BitmapHeader bitmap;
        uint32_t codec;
        Bytes expected;
    } cases[] = {
        {{64, 48, tag("MJPG"), odd}, fourcc_value("mjpg"), odd},
        {{64, 48, 0, {}}, 0, bottom_up},
        {{64, 48, 0, odd}, 0, join({odd, bottom_up})},
        {{64, 0, 0, odd}, 0, odd},
        {{64, 48, tag("AVRn"), avrn}, 0, avrn},
        {{64, 48, tag("AVRn"), short_avrn}, fourcc_value("mjpg"), short_avrn},
    };
    for (const auto &c : cases) {
        OpenedAvi avi(one_stream(video_stream(c.bitmap.compression), c.bitmap.body()));
        EXPECT_EQ(avi.file.video_info(1).codec, c.codec);
        EXPECT_EQ(avi.file.codec_data(1), c.expected);
        avi.expect_frames(0);
    }
}

TEST(AviHeader, StreamTypesThatCannotBeRead) {
    const uint32_t bad = SPLITER_ERR_BAD_FORMAT;
    const uint32_t vide = SPLITER_TRACK_VIDEO, soun = SPLITER_TRACK_AUDIO, text = SPLITER_TRACK_TEXT;
    const struct {
        Numbers types;
        uint32_t handler, progressive_code;
        Numbers local_types;
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
        AviBuilder builder({});
        for (const uint32_t type : c.types) {
            AviStream stream = type == tag("auds") ? pcm_stream() : video_stream(tag("MJPG"));
            if (c.handler != 0 && type == tag("vids")) stream = video_stream(c.handler);
            stream.header.type = type;
            stream.header.handler = c.handler;
            builder.streams.push_back(stream);
        }
        builder.frame(0, size_t{32});
        EXPECT_EQ(OpenedAvi(builder, SPLITER_SOURCE_PROGRESSIVE).file.open_code, c.progressive_code);
        OpenedAvi local(builder);
        Numbers types;
        for (const SplitterTrackEntry &entry : local.file.tracks()) {
            types.push_back(entry.type);
            EXPECT_EQ(entry.track, types.size());
            const bool is_media = entry.type == vide || entry.type == soun;
            EXPECT_EQ(local.file.read(entry.track).code,
                      is_media ? kEnd : uint32_t{SPLITER_ERR_INVALID_PARAM});
        }
        EXPECT_EQ(types, c.local_types);
    }
}

TEST(AviHeader, AHundredStreamsAndNotOneMore) {
    for (const uint32_t kind : kKinds) {
        AviBuilder builder(std::vector<AviStream>(100, pcm_stream()));
        builder.frame(99, size_t{32});
        OpenedAvi(builder, kind).expect_frames(99);
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
        for (int place = 0; place < 3; ++place) {
            SCOPED_TRACE(testing::Message() << "chunk " << &odd - chunks << " at place " << place);
            AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
            builder.frame(0, size_t{30}).frame(1, size_t{32}).frame(0, size_t{31});
            (place == 0   ? builder.streams[0].after_format
             : place == 1 ? builder.header_extra
                          : builder.between) = odd;
            for (const uint32_t kind : kKinds) {
                OpenedAvi avi(builder, kind);
                ASSERT_EQ(avi.file.tracks().size(), 2u);
                EXPECT_EQ(avi.file.video_info(1).codec, fourcc_value("mjpg"));
                for (uint32_t i = 0; i < 2; ++i)
                    avi.expect_frames(i);
            }
        }
    }
}

// A file of one video stream, from the bodies of its header chunks and the chunk that holds its media.
Bytes bare_file(const Bytes &main, const Bytes &stream, const Bytes &format, const Bytes &media) {
    const Bytes strl = join({chunk(tag("strh"), stream), chunk(tag("strf"), format)});
    const Bytes headers = list(tag("hdrl"), join({chunk(tag("avih"), main), list(tag("strl"), strl)}));
    return chunk(tag("RIFF"), join({text("AVI "), headers, media}));
}

// Fields that a chunk is too short for are zero; what follows the chunk is read as ever.
TEST(AviHeader, ShortHeaderChunks) {
    const Bytes media = list(tag("movi"), chunk(tag("00dc"), Bytes(10, 0x88)));
    const auto cut = [](Bytes body, size_t size) {
        body.resize(size);
        return body;
    };
    for (const size_t main : {56u, 37u, 20u, 4u, 0u}) {
        for (const size_t stream : {56u, 44u, 31u, 20u, 8u}) {
            for (const size_t format : {40u, 19u, 11u, 4u, 0u}) {
                SCOPED_TRACE(testing::Message() << main << " " << stream << " " << format);
                AviBytes avi(bare_file(cut(MainHeader{.microseconds_per_frame = 50000}.body(), main),
                                       cut(StreamHeader{.length = 10}.body(), stream),
                                       cut(BitmapHeader{}.body(), format), media));
                const uint32_t rate = stream >= 28 || main < 4 ? 25 : 20;
                const uint32_t width = format >= 8 ? 64 : 0, height = format >= 12 ? 48 : 0;
                EXPECT_EQ(words(avi.file.video_info(1)),
                          (Numbers{format >= 20 ? fourcc_value("mjpg") : 0, stream >= 36 ? 10000 / rate : 0,
                                   width, height, rate, 0, width * height * 3 / 2, format >= 4 ? 40u : 0}));
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
        AviBytes local(file), progressive(file, SPLITER_SOURCE_PROGRESSIVE);
        const FrameRun run = local.file.read_all(1);
        EXPECT_EQ(run.frames.size(), padding > 9 ? 2u : 0u);
        EXPECT_EQ(run.end_code, kEnd);
        EXPECT_EQ(progressive.file.open_code, kEnd);
    }
}

// Tables of up to 2048 bytes.
TEST(AviHeader, HuffmanTablesOfMotionJpeg) {
    const Bytes large = join({Bytes{0xFF, 0xC4, 0x03, 0xEA}, Bytes(1000, 3)});
    const std::pair<Bytes, uint32_t> cases[] = {
        {join({text("AB"), large, Bytes{0xFF, 0xD9}, large, large}), 0},
        {join({large, large}), 0},
        {join({large, large, Bytes{0xFF, 0xC4, 0x03, 0xEA, 9}}), 0},  // cut
        {join({large, large, large}), SPLITER_ERR_BUFFER_TOO_SMALL}};
    for (const auto &[data, code] : cases) {
        AviBuilder builder = one_stream(video_stream(tag("MJPG")));
        builder.streams[0].after_format = chunk(tag("strd"), data);
        EXPECT_EQ(OpenedAvi(builder).file.open_code, code) << data.size() << " bytes";
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
        avi.expect_frames(0);
    }
    OpenedAvi unknown(builder, SPLITER_SOURCE_LOCAL, {.size = SizeAnswer::Zero});
    EXPECT_LT(unknown.source.bytes_read, 150000u);
    EXPECT_EQ(unknown.file.read(1).code, uint32_t{SPLITER_ERR_END_OF_STREAM});
    MemoryStore sparse;
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
        EXPECT_EQ(AviBytes(bytes).file.audio_info(2).sample_rate, form == tag("AMV ") ? 8000u : 0u);
    }
}

}  // namespace
}  // namespace quorv::test
