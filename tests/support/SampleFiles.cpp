// The shapes of the sample files; see the header.

#include "support/SampleFiles.h"

#include <utility>

#include "support/VideoHeaders.h"

namespace quorv::test {
namespace {

Bytes mpeg4_vop(size_t number) {
    return join(
        {Bytes{0, 0, 1, 0xB6, static_cast<uint8_t>(number == 0 ? 0x10 : 0x50)}, payload(0, number, 30)});
}

Bytes h264_slice(size_t number, bool key) {
    return join({Bytes{0, 0, 0, 1, static_cast<uint8_t>(key ? 0x65 : 0x41), 0x88}, payload(0, number, 28)});
}

SampleFile finish(std::string name, AviBuilder builder) {
    SparseStore bytes = builder.build();
    return {std::move(name), std::move(builder), std::move(bytes)};
}

SampleFile mpeg4_and_mp3() {
    AviBuilder builder({video_stream(tag("XVID"), 1001, 30000), mp3_stream()});
    const Bytes header = mpeg4_vol(64, 48);
    for (size_t i = 0; i < 8; ++i) {
        const Bytes vop = mpeg4_vop(i);
        builder.frame(0, i == 0 ? join({header, vop}) : vop, i % 4 == 0);
        builder.frame(1, 40 + i, true);
    }
    SampleFile sample = finish("mpeg4_mp3", std::move(builder));
    sample.first_frame_header = header.size();
    return sample;
}

SampleFile h264_and_pcm() {
    AviBuilder builder({video_stream(tag("H264")), pcm_stream()}, IndexKind::LegacyAbsolute);
    const Bytes header = join({h264_sps(64, 48), h264_pps()});
    for (size_t i = 0; i < 6; ++i) {
        const Bytes slice = h264_slice(i, i % 3 == 0);
        builder.frame(0, i == 0 ? join({header, slice}) : slice, i % 3 == 0).frame(1, size_t{64}, true);
    }
    SampleFile sample = finish("h264_pcm_absolute_index", std::move(builder));
    sample.first_frame_header = header.size();
    return sample;
}

// Motion JPEG with its Huffman tables in the header, and audio in packets of 48 bytes.
SampleFile motion_jpeg_and_packets() {
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
    return finish("mjpeg_packets", std::move(builder));
}

SampleFile raw_video_open_dml(IndexKind kind, const char *name) {
    AviStream video = video_stream(0);
    video.chunk_type[1] = 'b';
    AviBuilder builder({video, pcm_stream()}, kind);
    builder.header_extra = list(tag("odml"), chunk(tag("dmlh"), Bytes(248)));
    builder.also_legacy = kind == IndexKind::OpenDml;
    for (size_t i = 0; i < 9; ++i) {
        builder.frame(0, 30 + i, i % 3 == 0).frame(1, size_t{32});
        if (i % 3 == 2 && i != 8) builder.segment();
    }
    return finish(name, std::move(builder));
}

// Record lists, padding, odd sizes, empty frames, stray index chunks and garbage, and no index.
SampleFile rough_media() {
    AviBuilder builder({video_stream(tag("MJPG")), mp3_stream(8000, 576, 0)}, IndexKind::None);
    builder.begin_rec().frame(0, size_t{33}).frame(1, size_t{21}).end_rec();
    builder.raw(payload(7, 1, 77)).junk(13).frame(0, size_t{0}).frame(0, size_t{41});
    builder.raw(chunk(tag("ix00"), Bytes(32))).raw(chunk(tag("00ix"), Bytes(8))).frame(1, size_t{22});
    builder.begin_rec().frame(1, size_t{0}).frame(1, size_t{1}).frame(0, size_t{2}).end_rec();
    builder.raw(text("00pq")).frame(0, size_t{5});
    builder.zero_movi_size = true;
    return finish("rough_media_without_index", std::move(builder));
}

SampleFile palette_changes() {
    AviStream video = video_stream(tag("MRLE"));
    AviBuilder builder({video});
    builder.frame(0, size_t{20}).frame(0, size_t{21}, false);
    builder.palette(0, 2, Bytes{1, 2, 3, 0, 4, 5, 6, 0});
    builder.frame(0, size_t{22}, false).frame(0, size_t{23}, false);
    return finish("palette", std::move(builder));
}

SampleFile amv() {
    AviStream video, audio = pcm_stream();
    video.header = audio.header = StreamHeader{0, 0, 0, 0, 0, 0, 0};
    video.format = Bytes(36);
    audio.block_align = 0;
    AviBuilder builder({video, audio}, IndexKind::None);
    builder.form = tag("AMV ");
    builder.main.microseconds_per_frame = 62500;
    for (size_t i = 0; i < 4; ++i)
        builder.frame(0, 30 + i).frame(1, size_t{25});
    return finish("amv", std::move(builder));
}

SampleFile audio_only() {
    AviBuilder builder({mp3_stream(44100, 1152, 1152)});
    for (size_t i = 0; i < 12; ++i)
        builder.frame(0, 60 + i % 3);
    return finish("mp3_only", std::move(builder));
}

}  // namespace

std::vector<SampleFile> avi_sample_files() {
    std::vector<SampleFile> all = {mpeg4_and_mp3(), h264_and_pcm(), motion_jpeg_and_packets()};
    all.push_back(raw_video_open_dml(IndexKind::OpenDml, "open_dml"));
    all.push_back(raw_video_open_dml(IndexKind::OpenDmlFields, "open_dml_two_fields"));
    all.push_back(raw_video_open_dml(IndexKind::OpenDmlDirect, "open_dml_direct"));
    all.insert(all.end(), {rough_media(), palette_changes(), amv(), audio_only()});
    return all;
}

}  // namespace quorv::test
