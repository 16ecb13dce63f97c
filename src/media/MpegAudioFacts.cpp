// Facts of MPEG audio; see the header.

#include "media/MpegAudioFacts.h"

#include <iterator>

#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {
namespace {

const char *version_name(const Mp3FrameHeader &header) {
    if (mp3_has_flag(header, MP3_FLAG_MPEG25)) return "MPEG-2.5";
    return mp3_is_low_rate(header) ? "MPEG-2" : "MPEG-1";
}

void add_mode(const Mp3FrameHeader &header, TrackTexts *texts) {
    constexpr const char *kModes[] = {"mono", "two separate channels", "joint stereo", "stereo"};
    add_fact(texts->coding, kModes[header.channel_code & 3]);
    if (mp3_has_middle_side(header) && header.layer == 3) add_fact(texts->coding, "middle and side");
    if (mp3_has_intensity(header) && header.layer == 3) add_fact(texts->coding, "intensity");
}

// How an encoder chose bit rates, by the numbers in its header.
const char *method_name(uint32_t method) {
    constexpr const char *kMethods[] = {nullptr, "CBR", "ABR",   "VBR", "VBR",
                                        "VBR",   "VBR", nullptr, "CBR", "ABR"};
    return method < std::size(kMethods) ? kMethods[method] : nullptr;
}

void add_settings(const XingHeader &xing, TrackTexts *texts) {
    add_fact(texts->encoder, xing.encoder);
    const char *method = method_name(xing.method);
    if (method != nullptr) add_fact(texts->encoder, method);
    if (xing.quality != 0 && xing.quality <= 100)
        add_fact(texts->encoder, "quality ", xing.quality, " of 100");
    if (xing.lowpass != 0) add_fact(texts->encoder, "up to ", xing.lowpass, " Hz");
}

}  // namespace

void describe_mpeg_audio(const Mp3FrameHeader &header, const XingHeader *xing, TrackTexts *texts) {
    constexpr const char *kLayers[] = {"I", "II", "III"},
                         *kEmphases[] = {nullptr, "50/15 us", nullptr, "CCITT J.17"};
    add_fact(texts->profile, version_name(header), " Layer ", kLayers[header.layer - 1]);
    add_mode(header, texts);
    if (mp3_has_flag(header, MP3_FLAG_FREE_FORMAT)) add_fact(texts->coding, "free format");
    if (mp3_has_flag(header, MP3_FLAG_CRC)) add_fact(texts->coding, "check words");
    if (mp3_has_flag(header, MP3_FLAG_COPYRIGHT)) add_fact(texts->coding, "copyrighted");
    if (mp3_has_flag(header, MP3_FLAG_ORIGINAL)) add_fact(texts->coding, "original");
    const char *emphasis = kEmphases[header.emphasis & 3];
    if (emphasis != nullptr) add_fact(texts->coding, "emphasis ", emphasis);
    if (xing != nullptr && xing->encoder[0] != 0) add_settings(*xing, texts);
}

}  // namespace quorv
