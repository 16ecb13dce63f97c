// Names and framings of codecs; see the header.

#include "media/CodecNames.h"

#include <stdio.h>

#include <algorithm>
#include <iterator>

#include "splitter/Splitter.h"

namespace quorv {

namespace {

struct CodecRow {
    uint32_t codec;
    QuorvFraming framing;
    bool with_tag;  // several things have this codec; the tag tells them apart
    char name[40];
};

constexpr CodecRow kCodecs[] = {
    {QUORV_CODEC_H264, QUORV_FRAMING_ANNEX_B, false, "H.264"},
    {QUORV_CODEC_H263, QUORV_FRAMING_UNKNOWN, true, "H.263"},
    {QUORV_CODEC_MPEG4, QUORV_FRAMING_MPEG4_VISUAL, true, "MPEG-4 Part 2"},
    {QUORV_CODEC_MPEG4_SIMPLE, QUORV_FRAMING_MPEG4_VISUAL, true, "MPEG-4 Part 2"},
    {QUORV_CODEC_XVID, QUORV_FRAMING_MPEG4_VISUAL, true, "MPEG-4 Part 2"},
    {QUORV_CODEC_DIVX, QUORV_FRAMING_MPEG4_VISUAL, true, "MPEG-4 Part 2"},
    {QUORV_CODEC_DX50, QUORV_FRAMING_MPEG4_VISUAL, true, "MPEG-4 Part 2"},
    {QUORV_CODEC_DIV3, QUORV_FRAMING_UNKNOWN, true, "MPEG-4 draft, version 3"},
    {QUORV_CODEC_DIV4, QUORV_FRAMING_UNKNOWN, true, "MPEG-4 draft, version 3"},
    {QUORV_CODEC_DRAFT_MPEG4, QUORV_FRAMING_UNKNOWN, true, "MPEG-4 draft, version 1 or 2"},
    {QUORV_CODEC_WMV7, QUORV_FRAMING_WMV, false, "Windows Media Video 7"},
    {QUORV_CODEC_WMV8, QUORV_FRAMING_WMV, false, "Windows Media Video 8"},
    {QUORV_CODEC_WMV9, QUORV_FRAMING_WMV, false, "Windows Media Video 9"},
    {QUORV_CODEC_MPEG1, QUORV_FRAMING_UNKNOWN, false, "MPEG-1 video"},
    {QUORV_CODEC_MPEG2, QUORV_FRAMING_UNKNOWN, false, "MPEG-2 video"},
    {QUORV_CODEC_MJPEG, QUORV_FRAMING_JPEG, false, "motion JPEG"},
    {QUORV_CODEC_PCM, QUORV_FRAMING_PCM, false, "PCM"},
    {QUORV_CODEC_ADPCM, QUORV_FRAMING_BLOCKS, true, "ADPCM"},
    {QUORV_CODEC_MP1, QUORV_FRAMING_MPEG_AUDIO, false, "MPEG audio Layer I"},
    {QUORV_CODEC_MP2, QUORV_FRAMING_MPEG_AUDIO, false, "MPEG audio Layer II"},
    {QUORV_CODEC_MP3, QUORV_FRAMING_MPEG_AUDIO, false, "MP3"},
    {QUORV_CODEC_AAC, QUORV_FRAMING_UNKNOWN, false, "AAC"},
    {QUORV_CODEC_WMA1, QUORV_FRAMING_BLOCKS, false, "Windows Media Audio 1"},
    {QUORV_CODEC_WMA2, QUORV_FRAMING_BLOCKS, false, "Windows Media Audio 2"},
    {QUORV_CODEC_WMA_PRO, QUORV_FRAMING_BLOCKS, false, "Windows Media Audio 9 Professional"},
    {QUORV_CODEC_WMA_LOSSLESS, QUORV_FRAMING_BLOCKS, false, "Windows Media Audio 9 Lossless"},
    {QUORV_CODEC_AC3, QUORV_FRAMING_UNKNOWN, false, "AC-3"},
    {QUORV_CODEC_DTS, QUORV_FRAMING_UNKNOWN, false, "DTS"},
    {QUORV_CODEC_AMR_NB, QUORV_FRAMING_UNKNOWN, false, "AMR narrowband"},
    {QUORV_CODEC_AMR_WB, QUORV_FRAMING_UNKNOWN, false, "AMR wideband"},
    {QUORV_CODEC_SIPR, QUORV_FRAMING_UNKNOWN, false, "ACELP.net"},
    {QUORV_CODEC_REAL_AUDIO, QUORV_FRAMING_UNKNOWN, false, "RealAudio"},
    {QUORV_CODEC_VORBIS, QUORV_FRAMING_UNKNOWN, false, "Vorbis"},
};

// Pictures without compression, which have no codec here. Tag 0 is RGB from the bottom up.
constexpr uint32_t kRawTags[] = {
    0,
    fourcc("RGB "),
    fourcc("RAW "),
    fourcc("DIB "),
    fourcc("YUY2"),
    fourcc("YUYV"),
    fourcc("YVYU"),
    fourcc("UYVY"),
    fourcc("I420"),
    fourcc("IYUV"),
    fourcc("YV12"),
    fourcc("YV16"),
    fourcc("YV24"),
    fourcc("YVU9"),
    fourcc("NV12"),
    fourcc("Y800"),
    fourcc("GREY"),
    fourcc("v210"),
};

const CodecRow *find_row(uint32_t codec) {
    const CodecRow *row = std::find_if(std::begin(kCodecs), std::end(kCodecs),
                                       [&](const CodecRow &r) { return r.codec == codec; });
    return row != std::end(kCodecs) ? row : nullptr;
}

bool is_raw(const QuorvTrack &track) {
    return track.type == QUORV_TRACK_VIDEO && track.codec == 0 &&
           std::find(std::begin(kRawTags), std::end(kRawTags), track.tag) != std::end(kRawTags);
}

struct TagText {
    char text[12];
};

// Four characters, where that is what they are; else a number, which has four digits for sound.
TagText tag_text(const QuorvTrack &track) {
    TagText tag = {};
    bool printable = true;
    for (int i = 0; i < 4; ++i) {
        tag.text[i] = static_cast<char>(track.tag >> (24 - 8 * i) & 0xFF);
        printable = printable && tag.text[i] >= ' ' && tag.text[i] <= '~';
    }
    if (printable) return tag;
    snprintf(tag.text, sizeof(tag.text), track.type == QUORV_TRACK_AUDIO ? "0x%04X" : "0x%08X",
             static_cast<unsigned>(track.tag));
    return tag;
}

const char *pcm_kind(QuorvSampleFormat format) {
    switch (format) {
        case QUORV_SAMPLES_F32LE:
        case QUORV_SAMPLES_F64LE:
            return "floating-point PCM";
        case QUORV_SAMPLES_ALAW:
            return "A-law";
        case QUORV_SAMPLES_MULAW:
            return "mu-law";
        default:
            return "PCM";
    }
}

}  // namespace

CodecName codec_name(const QuorvTrack &track) {
    CodecName name = {};
    char *to = name.text;
    constexpr size_t kRoom = sizeof(name.text);
    const CodecRow *row = find_row(track.codec);
    const TagText tag = tag_text(track);
    if (track.codec == QUORV_CODEC_PCM) {
        snprintf(to, kRoom, "%s, %u bits", pcm_kind(track.sample_format),
                 static_cast<unsigned>(track.bits_per_sample));
    } else if (row != nullptr) {
        snprintf(to, kRoom, row->with_tag ? "%s (%s)" : "%s", row->name, tag.text);
    } else if (is_raw(track)) {
        snprintf(to, kRoom, "uncompressed (%s)", track.tag == 0 ? "RGB" : tag.text);
    } else if (track.type == QUORV_TRACK_TEXT) {
        snprintf(to, kRoom, "text");
    } else {
        snprintf(to, kRoom, "unknown (%s)", tag.text);
    }
    return name;
}

QuorvFraming codec_framing(const QuorvTrack &track) {
    if (is_raw(track)) return QUORV_FRAMING_RAW_PICTURE;
    const CodecRow *row = find_row(track.codec);
    if (row == nullptr) return QUORV_FRAMING_UNKNOWN;
    // A decoder configuration record, as other containers have it, stands for units behind lengths.
    const auto *codec_data = static_cast<const uint8_t *>(track.codec_data);
    const bool has_lengths =
        track.codec == QUORV_CODEC_H264 && track.codec_data_size >= 7 && codec_data[0] == 1;
    return has_lengths ? QUORV_FRAMING_UNKNOWN : row->framing;
}

}  // namespace quorv
