// Names and framings of codecs; see the header.

#include "media/CodecNames.h"

#include <algorithm>
#include <iterator>

#include "media/TrackTexts.h"
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

// What the library takes for unknown and people have names for: by FourCC in capitals, or format tag.
constexpr struct {
    uint32_t tag;
    char name[40];
} kNamedTags[] = {
    {fourcc("MPG4"), "MPEG-4 draft, version 1"},
    {fourcc("MP41"), "MPEG-4 draft, version 1"},
    {fourcc("MP42"), "MPEG-4 draft, version 2"},
    {fourcc("MP43"), "MPEG-4 draft, version 3"},
    {fourcc("WVC1"), "VC-1 Advanced"},
    {fourcc("WMVA"), "VC-1 Advanced"},
    {fourcc("MSS1"), "Windows Media Screen 7"},
    {fourcc("MSS2"), "Windows Media Screen 9"},
    {fourcc("DVSD"), "DV"},
    {fourcc("DV25"), "DV"},
    {fourcc("DV50"), "DV"},
    {fourcc("CVID"), "Cinepak"},
    {fourcc("MSVC"), "Microsoft Video 1"},
    {fourcc("CRAM"), "Microsoft Video 1"},
    {fourcc("MRLE"), "Microsoft RLE"},
    {fourcc("IV31"), "Indeo 3"},
    {fourcc("IV32"), "Indeo 3"},
    {fourcc("IV41"), "Indeo 4"},
    {fourcc("IV50"), "Indeo 5"},
    {fourcc("HFYU"), "Huffyuv"},
    {fourcc("FFVH"), "Huffyuv"},
    {fourcc("FFV1"), "FFV1"},
    {fourcc("LAGS"), "Lagarith"},
    {fourcc("ULY0"), "Ut Video"},
    {fourcc("VP60"), "VP6"},
    {fourcc("VP61"), "VP6"},
    {fourcc("VP62"), "VP6"},
    {fourcc("VP80"), "VP8"},
    {fourcc("VP90"), "VP9"},
    {fourcc("THEO"), "Theora"},
    {fourcc("HEVC"), "H.265"},
    {fourcc("HEV1"), "H.265"},
    {fourcc("H265"), "H.265"},
    {fourcc("MJ2C"), "motion JPEG 2000"},
    {fourcc("TSCC"), "TechSmith screen capture"},
    {0x000A, "Windows Media Audio 9 Voice"},
    {0x0022, "TrueSpeech"},
    {0x0031, "GSM 6.10"},
    {0x0042, "G.723.1"},
    {0x0075, "Voxware"},
    {0x0092, "AC-3 in S/PDIF frames"},
    {0x0164, "Windows Media Audio in S/PDIF frames"},
    {0xF1AC, "FLAC"},
};

uint32_t in_capitals(uint32_t tag) {
    uint32_t result = 0;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const uint32_t c = tag >> shift & 0xFF;
        result |= (c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c) << shift;
    }
    return result;
}

// Null for one without a name.
const char *name_of_tag(const QuorvTrack &track) {
    const uint32_t tag = track.type == QUORV_TRACK_VIDEO ? in_capitals(track.tag) : track.tag;
    const auto *row = std::find_if(std::begin(kNamedTags), std::end(kNamedTags),
                                   [&](const auto &named) { return named.tag == tag; });
    return row != std::end(kNamedTags) ? row->name : nullptr;
}

const CodecRow *find_row(uint32_t codec) {
    const CodecRow *row = std::find_if(std::begin(kCodecs), std::end(kCodecs),
                                       [&](const CodecRow &r) { return r.codec == codec; });
    return row != std::end(kCodecs) ? row : nullptr;
}

bool is_raw(const QuorvTrack &track) {
    return track.type == QUORV_TRACK_VIDEO && track.codec == 0 &&
           std::find(std::begin(kRawTags), std::end(kRawTags), track.tag) != std::end(kRawTags);
}

// Four characters, where that is what they are; else a number, which has four digits for sound.
void append_tag(CodecName *name, const QuorvTrack &track) {
    char text[5] = {};
    bool printable = true;
    for (int i = 0; i < 4; ++i) {
        text[i] = static_cast<char>(track.tag >> (24 - 8 * i) & 0xFF);
        printable = printable && text[i] >= ' ' && text[i] <= '~';
    }
    if (printable) return append(name->text, text);
    append(name->text, "0x");
    append_number(name->text, track.tag, 16, track.type == QUORV_TRACK_AUDIO ? 4 : 8);
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
    const CodecRow *row = find_row(track.codec);
    if (track.codec == QUORV_CODEC_PCM) {
        append(name.text, pcm_kind(track.sample_format));
        append(name.text, ", ");
        append_number(name.text, track.bits_per_sample, 10, 1);
        append(name.text, " bits");
        return name;
    }
    if (row == nullptr && !is_raw(track) && track.type == QUORV_TRACK_TEXT) {
        append(name.text, "text");
        return name;
    }
    const char *known = name_of_tag(track);
    append(name.text, row != nullptr     ? row->name
                      : is_raw(track)    ? "uncompressed"
                      : known != nullptr ? known
                                         : "unknown");
    if (row != nullptr && !row->with_tag) return name;
    append(name.text, " (");
    if (row == nullptr && is_raw(track) && track.tag == 0)
        append(name.text, "RGB");
    else
        append_tag(&name, track);
    append(name.text, ")");
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
