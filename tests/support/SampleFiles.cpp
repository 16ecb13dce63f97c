// The shapes of the sample files; see the header.

#include "support/SampleFiles.h"

#include "support/VideoHeaders.h"

namespace quorv::test {
namespace {

// Video with its headers in front of the first picture.
AviBuilder video_with_headers(const AviStream &video, const AviStream &audio, IndexKind index,
                              const Bytes &headers, const Bytes &key_start, const Bytes &start) {
    AviBuilder builder({video, audio}, index);
    for (size_t i = 0; i < 8; ++i) {
        const bool key = i % 4 == 0;
        builder.frame(0, join({i == 0 ? headers : Bytes{}, key ? key_start : start, payload(0, i, 30)}), key);
        builder.frame(1, 40 + 4 * i);
    }
    return builder;
}

// Motion JPEG with its Huffman tables in the header, and audio in packets of 48 bytes.
AviBuilder motion_jpeg_and_packets() {
    AviStream video = video_stream(tag("MJPG"));
    video.after_format = join({chunk(tag("strd"), join({text("AB"), Bytes{0xFF, 0xC4, 0, 6, 1, 2, 3, 4},
                                                        Bytes{0xFF, 0xC4, 0, 3, 9}, Bytes{0xFF, 0xD9}})),
                               chunk(tag("strn"), text("a name")), chunk(tag("vprp"), Bytes(68))});
    AviStream audio = pcm_stream(8000, 48);
    audio.header.scale = 6;  // milliseconds a packet
    audio.header.rate = 1000;
    AviBuilder builder({video, audio});
    builder.header_extra = list(tag("INFO"), chunk(tag("ISFT"), text("writer")));
    builder.between = chunk(tag("JUNK"), Bytes(31));
    for (size_t i = 0; i < 5; ++i)
        builder.frame(0, 50 + i).frame(1, size_t{144});
    return builder;
}

AviBuilder raw_video(IndexKind kind) {
    AviStream video = video_stream(0);
    video.chunk_type[1] = 'b';
    AviBuilder builder({video, pcm_stream()}, kind);
    builder.header_extra = list(tag("odml"), chunk(tag("dmlh"), Bytes(248)));
    for (size_t i = 0; i < 9; ++i) {
        builder.frame(0, 30 + i, i % 3 == 0).frame(1, size_t{32});
        if (i == 1) builder.frame(0, size_t{0});  // marked as key, and no picture
        if (i % 3 == 2 && i != 8) builder.segment();
    }
    return builder;
}

// Record lists, padding, odd sizes, empty frames, stray index chunks and garbage, and no index.
AviBuilder rough_media() {
    AviBuilder builder({video_stream(tag("MJPG")), mp3_stream(8000, 576, 0)}, IndexKind::None);
    builder.begin_rec().frame(0, size_t{33}).frame(1, size_t{21}).end_rec();
    builder.raw(payload(7, 1, 77)).junk(13).frame(0, size_t{0}).frame(0, size_t{41});
    builder.raw(chunk(tag("ix00"), Bytes(32))).raw(chunk(tag("00ix"), Bytes(8))).frame(1, size_t{22});
    builder.begin_rec().frame(1, size_t{0}).frame(1, size_t{1}).frame(0, size_t{2}).end_rec();
    builder.raw(text("00pq")).frame(0, size_t{5});
    builder.zero_movi_size = true;
    return builder;
}

AviBuilder amv() {
    AviStream video, audio = pcm_stream();
    video.header = audio.header = StreamHeader{0, 0, 0, 0, 0, 0, 0};
    video.format = Bytes(36);
    audio.block_align = 0;
    AviBuilder builder({video, audio}, IndexKind::None);
    builder.form = tag("AMV ");
    builder.main.microseconds_per_frame = 62500;
    for (size_t i = 0; i < 4; ++i)
        builder.frame(0, 30 + i).frame(1, size_t{25});
    return builder;
}

// At the start, in rows and at the end: they let time go on, for every kind of stream.
AviBuilder empty_chunks() {
    AviBuilder builder(
        {video_stream(tag("MJPG")), mp3_stream(8000, 576, 0), mp3_stream(8000, 576, 20), pcm_stream()},
        IndexKind::None);
    for (const size_t size : {0u, 40u, 0u, 0u, 44u, 48u, 0u}) {
        for (uint32_t stream = 0; stream < 4; ++stream)
            builder.frame(stream, size);
    }
    return builder;
}

// The second stream's entries are all key frames, whatever their flags say; those of others are not. Chunks
// of any kind may stand between the media data and the index.
AviBuilder three_videos() {
    AviBuilder builder(std::vector<AviStream>(3, video_stream(tag("MJPG"))));
    for (uint32_t i = 0; i < 12; ++i)
        builder.frame(i % 3, size_t{20} + i, false);
    builder.after = join({chunk(tag("JUNK"), Bytes(17)), list(tag("INFO"), chunk(tag("ISFT"), text("abc"))),
                          chunk(tag("idx2"), Bytes(64))});
    return builder;
}

// Of all entries, of the last one, of two in a row, and one too large for a palette.
AviBuilder palettes() {
    AviBuilder builder({video_stream(tag("MRLE"))});
    builder.frame(0, size_t{20}).palette(0, 0, payload(9, 9, 1024)).frame(0, size_t{21}, false);
    builder.palette(0, 255, Bytes{1, 2, 3, 4});
    builder.palette(0, 7, Bytes{5, 6, 7, 8, 9, 10, 11, 12}).frame(0, size_t{0}, false);
    builder.frame(0, size_t{22}, false).raw(chunk(tag("00pc"), Bytes(1029)));
    return builder.frame(0, size_t{23}, false);
}

AviBuilder audio_only() {
    AviBuilder builder({mp3_stream(44100, 1152, 1152)});
    for (size_t i = 0; i < 12; ++i)
        builder.frame(0, size_t{0}).frame(0, 60 + i % 3);
    return builder;
}

// Video every 40 ms with a key frame now and then, audio every 30 ms.
AsfBuilder two_tracks(const std::vector<AsfStream> &streams, AsfLayout layout, AsfIndex index,
                      uint32_t video = 0, uint32_t audio = 1) {
    AsfBuilder builder(streams, layout, index);
    uint32_t sound = 0;
    for (uint32_t i = 0; i < 9; ++i) {
        builder.frame(video, i * 40, 20 + i * 37 % 200, i % 4 == 0);
        for (; sound < (i + 1) * 40; sound += 30)
            builder.frame(audio, sound, 21);
    }
    return builder;
}

AsfBuilder falling_times() {
    AsfBuilder builder({asf_video(1), asf_audio(2)});
    uint32_t sound = 0;
    for (const uint32_t time : {40u, 160u, 80u, 120u, 280u, 200u, 200u, 240u}) {
        builder.frame(0, time, 50 + time, time % 120 == 40).frame(1, sound, 12).frame(1, sound, 13);
        sound += 30;
    }
    return builder;
}

// What is not taken: commands, a second audio stream, video of a codec that is not known.
AsfBuilder many_streams(const AsfStream &video, const AsfStream &audio) {
    const AsfStream commands = {4, asf_guid("59DACFC0-59E6-11D0-A3AC-00A0C90348F6"), {}};
    AsfBuilder builder =
        two_tracks({commands, asf_video(6, "XVID"), video, audio, asf_audio(8)}, {}, AsfIndex::None, 2, 3);
    for (uint32_t i = 0; i < 3; ++i)
        builder.frame(1, i * 40, 30).frame(4, i * 40, 20).frame(2, 400 + i * 40, 30);
    return builder;
}

void add(std::vector<SampleFile> &all, const std::string &name, AviBuilder builder, size_t cut_at_first = 0) {
    const bool has_open_dml = builder.index >= IndexKind::OpenDml;
    const bool has_index = builder.index != IndexKind::None && builder.index <= IndexKind::OpenDml;
    const MemoryStore bytes = builder.build();
    SampleFile file = {kAviSplitter, name, bytes, builder.media_start() + 100, 0, has_index, has_open_dml};
    for (uint32_t i = 0; i < builder.streams.size(); ++i) {
        const uint32_t type = builder.streams[i].is_video ? SPLITER_TRACK_VIDEO : SPLITER_TRACK_AUDIO;
        file.tracks.push_back({{i + 1, type}, builder.truth(i), builder.unit(i), i == 0 ? cut_at_first : 0});
        file.media_bytes = std::max(file.media_bytes, builder.truth(i).back().position + 9);
    }
    all.push_back(file);
}

// The numbers are of the streams that are taken.
void add(std::vector<SampleFile> &all, const std::string &name, AsfBuilder builder, uint32_t video = 0,
         uint32_t audio = 1) {
    const bool has_index = builder.index != AsfIndex::None && builder.index != AsfIndex::CutShort;
    const MemoryStore bytes(builder.build());
    SampleFile file = {kAsfSplitter, "asf_" + name, bytes, builder.data_start(),
                       bytes.size(), has_index,     false};
    for (const auto &[stream, type] :
         {std::pair{video, SPLITER_TRACK_VIDEO}, std::pair{audio, SPLITER_TRACK_AUDIO}})
        file.tracks.push_back(
            {{builder.track(stream), type}, builder.truth(stream), 0, 0, builder.streams[stream].prefix});
    all.push_back(file);
}

void add_avi_files(std::vector<SampleFile> &all) {
    const Bytes vol = mpeg4_vol(64, 48), parameters = join({h264_sps(64, 48), h264_pps()});
    add(all, "mpeg4_mp3",
        video_with_headers(video_stream(tag("XVID"), 1001, 30000), mp3_stream(), IndexKind::Legacy, vol,
                           {0, 0, 1, 0xB6, 0x10}, {0, 0, 1, 0xB6, 0x50}),
        vol.size());
    add(all, "h264_pcm_absolute_index",
        video_with_headers(video_stream(tag("H264")), pcm_stream(), IndexKind::LegacyAbsolute, parameters,
                           {0, 0, 0, 1, 0x65, 0x88}, {0, 0, 0, 1, 0x41, 0x88}),
        parameters.size());
    add(all, "mjpeg_packets", motion_jpeg_and_packets());
    add(all, "open_dml", raw_video(IndexKind::OpenDml));
    add(all, "open_dml_two_fields", raw_video(IndexKind::OpenDmlFields));
    add(all, "open_dml_direct", raw_video(IndexKind::OpenDmlDirect));
    add(all, "rough_media_without_index", rough_media());
    add(all, "palettes", palettes());
    add(all, "empty_chunks", empty_chunks());
    add(all, "three_videos", three_videos());
    add(all, "amv", amv());
    add(all, "mp3_only", audio_only());
}

void add_asf_files(std::vector<SampleFile> &all) {
    AsfStream video = asf_video(1), audio = asf_audio(2), mp3 = asf_audio(3, 0x55, Bytes(12, 0xC3));
    video.frame_interval = 40;
    audio.frame_interval = 30;
    AsfStream runs = audio;
    runs.compressed = true;
    const AsfLayout wide = {.packet_size = 300,
                            .error_correction = false,
                            .widths = {3, 3, 3, 3, 3, 3, 3},
                            .replicated_length = 17};
    const AsfLayout narrow = {.packet_size = 90, .multiple = false, .widths = {2, 1, 2, 2, 2, 0, 2}};
    const AsfLayout bare = {.packet_size = 120,
                            .error_correction = false,
                            .widths = {.padding = 0, .payload_length = 1},
                            .preroll = 0};
    add(all, "wmv_wma", two_tracks({video, audio}, {}, AsfIndex::Right));
    add(all, "no_intervals", two_tracks({asf_video(1), asf_audio(2)}, {}, AsfIndex::None));
    add(all, "wide_fields", two_tracks({asf_audio(7), asf_video(9)}, wide, AsfIndex::Right, 1, 0), 1, 0);
    add(all, "single_payloads", two_tracks({asf_video(127), asf_audio(5)}, narrow, AsfIndex::None));
    add(all, "runs", two_tracks({video, runs}, {}, AsfIndex::Right));
    add(all, "single_runs", two_tracks({video, runs}, {.multiple = false}, AsfIndex::Early));
    add(all, "replicated_once", two_tracks({video, audio}, {.replicated_once = true}, AsfIndex::Late));
    add(all, "live", two_tracks({video, audio}, {.live = true}, AsfIndex::CutShort));
    add(all, "bare", two_tracks({asf_video(1, "MP4S", Bytes(20, 9)), mp3}, bare, AsfIndex::None));
    add(all, "falling_times", falling_times());
    add(all, "many_streams", many_streams(video, mp3), 2, 3);
}

}  // namespace

const std::vector<SampleFile> &sample_files() {
    static const std::vector<SampleFile> all = [] {
        std::vector<SampleFile> files;
        add_avi_files(files);
        add_asf_files(files);
        return files;
    }();
    return all;
}

const SampleFile &sample_file(const std::string &name) {
    return *std::find_if(sample_files().begin(), sample_files().end(),
                         [&name](const SampleFile &file) { return file.name == name; });
}

}  // namespace quorv::test
