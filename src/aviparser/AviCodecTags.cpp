// Codec tag tables and their lookup. Duplicate rows are part of the tables: the first match wins.

#include "aviparser/AviCodecTags.h"

#include "aviparser/AviRiff.h"
#include "splitter/Splitter.h"

namespace quorv {

// clang-format off
const AviCodecTag avi_codec_bmp_tags[] = {
    {fourcc("264 "), avi_tag("H264")},
    {fourcc("264 "), avi_tag("h264")},
    {fourcc("264 "), avi_tag("X264")},
    {fourcc("264 "), avi_tag("x264")},
    {fourcc("264 "), avi_tag("avc1")},
    {fourcc("264 "), avi_tag("VSSH")},
    {fourcc("263 "), avi_tag("H263")},
    {fourcc("263 "), avi_tag("X263")},
    {fourcc("263 "), avi_tag("T263")},
    {fourcc("263 "), avi_tag("L263")},
    {fourcc("263 "), avi_tag("VX1K")},
    {fourcc("263 "), avi_tag("ZyGo")},
    {fourcc("263 "), avi_tag("H263")},
    {fourcc("263 "), avi_tag("I263")},
    {fourcc("263 "), avi_tag("H261")},
    {fourcc("263 "), avi_tag("U263")},
    {fourcc("263 "), avi_tag("viv1")},
    {fourcc("m4va"), avi_tag("FMP4")},
    {fourcc("divx"), avi_tag("DIVX")},
    {fourcc("dx50"), avi_tag("DX50")},
    {fourcc("xvid"), avi_tag("XVID")},
    {fourcc("m4vs"), avi_tag("MP4S")},
    {fourcc("m4vs"), avi_tag("M4S2")},
    {fourcc("m4va"), 0x00000004},
    {fourcc("m4va"), avi_tag("DIV1")},
    {fourcc("m4va"), avi_tag("BLZ0")},
    {fourcc("m4va"), avi_tag("mp4v")},
    {fourcc("m4va"), avi_tag("UMP4")},
    {fourcc("m4va"), avi_tag("WV1F")},
    {fourcc("m4va"), avi_tag("SEDG")},
    {fourcc("m4va"), avi_tag("RMP4")},
    {fourcc("m4va"), avi_tag("3IV2")},
    {fourcc("m4va"), avi_tag("FFDS")},
    {fourcc("m4va"), avi_tag("FVFW")},
    {fourcc("m4va"), avi_tag("DCOD")},
    {fourcc("m4va"), avi_tag("MVXM")},
    {fourcc("m4va"), avi_tag("PM4V")},
    {fourcc("m4va"), avi_tag("SMP4")},
    {fourcc("m4va"), avi_tag("DXGM")},
    {fourcc("m4va"), avi_tag("VIDM")},
    {fourcc("m4va"), avi_tag("M4T3")},
    {fourcc("m4va"), avi_tag("GEOX")},
    {fourcc("m4va"), avi_tag("HDX4")},
    {fourcc("m4va"), avi_tag("DMK2")},
    {fourcc("m4va"), avi_tag("DIGI")},
    {fourcc("m4va"), avi_tag("INMC")},
    {fourcc("m4va"), avi_tag("EPHV")},
    {fourcc("m4va"), avi_tag("EM4A")},
    {fourcc("m4va"), avi_tag("M4CC")},
    {fourcc("m4va"), avi_tag("SN40")},
    {fourcc("m4va"), avi_tag("VSPX")},
    {fourcc("m4va"), avi_tag("ULDX")},
    {fourcc("m4va"), avi_tag("GEOV")},
    {fourcc("m4va"), avi_tag("SIPP")},
    {fourcc("div3"), avi_tag("DIV3")},
    {fourcc("m4va"), avi_tag("MP43")},
    {fourcc("m4va"), avi_tag("MPG3")},
    {fourcc("dx50"), avi_tag("DIV5")},
    {fourcc("m4va"), avi_tag("DIV6")},
    {fourcc("div4"), avi_tag("DIV4")},
    {fourcc("div3"), avi_tag("DVX3")},
    {fourcc("m4va"), avi_tag("AP41")},
    {fourcc("m4va"), avi_tag("COL1")},
    {fourcc("m4va"), avi_tag("COL0")},
    {kAviCodecPreMpeg4, avi_tag("MP42")},
    {kAviCodecPreMpeg4, avi_tag("DIV2")},
    {kAviCodecPreMpeg4, avi_tag("MPG4")},
    {kAviCodecPreMpeg4, avi_tag("MP41")},
    {fourcc("wmv7"), avi_tag("WMV1")},
    {fourcc("wmv8"), avi_tag("WMV2")},
    {fourcc("wmv9"), avi_tag("WMV3")},
    {fourcc("mpg1"), avi_tag("mpg1")},
    {fourcc("mpg1"), avi_tag("mpg2")},
    {fourcc("mpg2"), avi_tag("mpg2")},
    {fourcc("mpg2"), avi_tag("MPEG")},
    {fourcc("mpg1"), avi_tag("PIM1")},
    {fourcc("mpg2"), avi_tag("PIM2")},
    {fourcc("mpg1"), avi_tag("VCR2")},
    {fourcc("mpg1"), 0x10000001},
    {fourcc("mpg2"), 0x10000002},
    {fourcc("m4va"), 0x10000004},
    {fourcc("mpg2"), avi_tag("DVR ")},
    {fourcc("mpg2"), avi_tag("MMES")},
    {fourcc("mpg2"), avi_tag("LMP2")},
    {fourcc("mpg2"), avi_tag("slif")},
    {fourcc("mpg2"), avi_tag("EM2V")},
    {fourcc("mpg2"), avi_tag("M701")},
    {fourcc("mjpg"), avi_tag("MJPG")},
    {fourcc("mjpg"), avi_tag("LJPG")},
    {fourcc("mjpg"), avi_tag("dmb1")},
    {fourcc("mjpg"), avi_tag("mjpa")},
    {fourcc("mjpg"), avi_tag("LJPG")},
    {fourcc("mjpg"), avi_tag("JPGL")},
    {fourcc("mjpg"), avi_tag("MJLS")},
    {fourcc("mjpg"), avi_tag("MJPG")},
    {fourcc("mjpg"), avi_tag("MJLS")},
    {fourcc("mjpg"), avi_tag("jpeg")},
    {fourcc("mjpg"), avi_tag("IJPG")},
    {fourcc("mjpg"), avi_tag("AVRn")},
    {fourcc("mjpg"), avi_tag("ACDV")},
    {fourcc("mjpg"), avi_tag("QIVG")},
    {fourcc("mjpg"), avi_tag("SLMJ")},
    {fourcc("mjpg"), avi_tag("CJPG")},
    {fourcc("mjpg"), avi_tag("IJLV")},
    {fourcc("mjpg"), avi_tag("MVJP")},
    {fourcc("mjpg"), avi_tag("AVI1")},
    {fourcc("mjpg"), avi_tag("AVI2")},
    {fourcc("mjpg"), avi_tag("MTSJ")},
    {fourcc("mjpg"), avi_tag("ZJPG")},
    {0, 0},
};

const AviCodecTag avi_codec_wav_tags[] = {
    {fourcc("pcm "), 0x0001},
    {fourcc("pcm "), 0x0001},
    {fourcc("pcm "), 0x0001},
    {fourcc("pcm "), 0x0001},
    {fourcc("pcm "), 0x0003},
    {fourcc("pcm "), 0x0003},
    {fourcc("pcm "), 0x0006},
    {fourcc("pcm "), 0x0007},
    {fourcc("pcm "), 0x000A},
    {fourcc("pcm "), 0x0011},
    {fourcc("pcm "), 0x6C75},
    {fourcc("pcm "), 0x5346},
    {fourcc("imaa"), 0x0002},
    {fourcc("imaa"), 0x0011},
    {fourcc("imaa"), 0x0020},
    {fourcc("imaa"), 0x0045},
    {fourcc("imaa"), 0x0061},
    {fourcc("imaa"), 0x0062},
    {fourcc("imaa"), 0x0069},
    {fourcc("imaa"), 0x0200},
    {fourcc("mp2 "), 0x0050},
    {fourcc("mp3 "), 0x0055},
    {fourcc("mp3 "), avi_tag("LAME")},
    {fourcc("mp3 "), avi_tag("MP3 ")},
    {fourcc("amrn"), 0x0057},
    {fourcc("amrw"), 0x0058},
    {fourcc("aac "), 0x00FF},
    {fourcc("aac "), 0x706D},
    {fourcc("aac "), 0x4143},
    {fourcc("sipr"), 0x0130},
    {fourcc("wmv1"), 0x0160},
    {fourcc("wmv2"), 0x0161},
    {fourcc("wm9p"), 0x0162},
    {fourcc("wm9l"), 0x0163},
    {fourcc("raac"), 0x0270},
    {fourcc("ac3 "), 0x2000},
    {fourcc("dts "), 0x2001},
    {fourcc("ogg "), 0x566F},
    {0, 0},
};

const AviCodecTag avi_codec_movvideo_tags[] = {
    {fourcc("mjpg"), avi_tag("jpeg")},
    {fourcc("mjpg"), avi_tag("mjpa")},
    {fourcc("mjpg"), avi_tag("AVDJ")},
    {fourcc("mjpg"), avi_tag("AVRn")},
    {fourcc("mjpg"), avi_tag("dmb1")},
    {fourcc("mjpg"), avi_tag("mjpb")},
    {fourcc("mjpg"), avi_tag("mjp2")},
    {fourcc("m4vs"), avi_tag("mp4v")},
    {fourcc("divx"), avi_tag("DIVX")},
    {fourcc("xvid"), avi_tag("XVID")},
    {fourcc("m4va"), avi_tag("3IV2")},
    {fourcc("263 "), avi_tag("h263")},
    {fourcc("s263"), avi_tag("s263")},
    {fourcc("264 "), avi_tag("avc1")},
    {fourcc("mpg1"), avi_tag("mpeg")},
    {fourcc("mpg1"), avi_tag("m1v1")},
    {fourcc("mpg2"), avi_tag("hdv1")},
    {fourcc("mpg2"), avi_tag("hdv2")},
    {fourcc("mpg2"), avi_tag("hdv3")},
    {fourcc("mpg2"), avi_tag("hdv5")},
    {fourcc("mpg2"), avi_tag("hdv6")},
    {fourcc("mpg2"), avi_tag("hdv7")},
    {fourcc("mpg2"), avi_tag("hdv8")},
    {fourcc("mpg2"), avi_tag("mx5n")},
    {fourcc("mpg2"), avi_tag("mx5p")},
    {fourcc("mpg2"), avi_tag("mx4n")},
    {fourcc("mpg2"), avi_tag("mx4p")},
    {fourcc("mpg2"), avi_tag("mx3n")},
    {fourcc("mpg2"), avi_tag("mx3p")},
    {fourcc("mpg2"), avi_tag("xd59")},
    {fourcc("mpg2"), avi_tag("xd5a")},
    {fourcc("mpg2"), avi_tag("xd5b")},
    {fourcc("mpg2"), avi_tag("xd5c")},
    {fourcc("mpg2"), avi_tag("xd5d")},
    {fourcc("mpg2"), avi_tag("xd5e")},
    {fourcc("mpg2"), avi_tag("xd5f")},
    {fourcc("mpg2"), avi_tag("xdv1")},
    {fourcc("mpg2"), avi_tag("xdv2")},
    {fourcc("mpg2"), avi_tag("xdv3")},
    {fourcc("mpg2"), avi_tag("xdv4")},
    {fourcc("mpg2"), avi_tag("xdv5")},
    {fourcc("mpg2"), avi_tag("xdv6")},
    {fourcc("mpg2"), avi_tag("xdv7")},
    {fourcc("mpg2"), avi_tag("xdv8")},
    {fourcc("mpg2"), avi_tag("xdv9")},
    {fourcc("mpg2"), avi_tag("xdva")},
    {fourcc("mpg2"), avi_tag("xdvb")},
    {fourcc("mpg2"), avi_tag("xdvc")},
    {fourcc("mpg2"), avi_tag("xdvd")},
    {fourcc("mpg2"), avi_tag("xdve")},
    {fourcc("mpg2"), avi_tag("xdvf")},
    {fourcc("mpg2"), avi_tag("AVmp")},
    {fourcc("mpg2"), avi_tag("m2v1")},
    {0, 0},
};

// clang-format on

namespace {

// Fewer formats than avi_codec_wav_tags has: what players of this library decode.
const AviCodecTag kWaveFormats[] = {
    {fourcc("pcm "), 0x0001},
    {fourcc("imaa"), 0x0002},
    {fourcc("imaa"), 0x0011},
    {fourcc("mp2 "), 0x0050},
    {fourcc("mp3 "), 0x0055},
    {fourcc("aac "), 0x00FF},
    {fourcc("wmv1"), 0x0160},
    {fourcc("wmv2"), 0x0161},
    {fourcc("ac3 "), 0x2000},
    {fourcc("dts "), 0x2001},
    {0, 0},
};

constexpr uint32_t upper(uint32_t byte) {
    return byte >= 'a' && byte <= 'z' ? byte - 32 : byte;
}

uint32_t find_exact(const AviCodecTag *table, uint32_t tag) {
    const AviCodecTag *row = table;
    while (row->codec != 0 && row->tag != tag)
        ++row;
    return row->codec;
}

}  // namespace

uint32_t avi_toupper4(uint32_t tag) {
    return upper(tag & 0xFF) | upper(tag >> 8 & 0xFF) << 8 | upper(tag >> 16 & 0xFF) << 16 |
           upper(tag >> 24) << 24;
}

uint32_t avi_codec_get_id(const AviCodecTag *table, uint32_t tag) {
    if (const uint32_t codec = find_exact(table, tag); codec != 0) return codec;
    const uint32_t wanted = avi_toupper4(tag);
    const AviCodecTag *row = table;
    while (row->codec != 0 && avi_toupper4(row->tag) != wanted)
        ++row;
    return row->codec;
}

bool avi_is_mpeg4(uint32_t codec) {
    return codec == fourcc("m4vs") || codec == fourcc("m4va") || codec == fourcc("dx50") ||
           codec == fourcc("xvid") || codec == fourcc("divx");
}

uint32_t avi_wave_format_codec(uint32_t format_tag) {
    return find_exact(kWaveFormats, format_tag);
}

}  // namespace quorv
