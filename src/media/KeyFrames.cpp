// Picture types in frame headers; see the header.

#include "media/KeyFrames.h"

#include <quorv/video_header.h>
#include <stddef.h>

#include <algorithm>

#include "videoheader/Mpeg4Header.h"
#include "videoheader/StartCode.h"

namespace quorv {

namespace {

constexpr uint8_t kMpeg12Picture = 0x00;
constexpr uint32_t kMpeg12Intra = 1;

// The byte that many places behind the first start code of this value; -1 when there is none.
int byte_behind(const uint8_t *data, const uint8_t *end, uint8_t code, ptrdiff_t place) {
    constexpr ptrdiff_t kPrefix = kStartCodePrefixBytes;
    for (const uint8_t *at = find_start_code(data, end); end - at > kPrefix;
         at = find_start_code(at + kPrefix, end)) {
        if (at[kPrefix] == code) return end - at > kPrefix + place ? at[kPrefix + place] : -1;
    }
    return -1;
}

OwnWord word_of_h264(const uint8_t *data, uint32_t size) {
    switch (ZEV_H264_GetSliceType(data, size)) {
        case VIDHDR_H264_SLICE_IDR:
            return OwnWord::Key;
        case VIDHDR_H264_SLICE_P:
        case VIDHDR_H264_SLICE_B:
            return OwnWord::NoKey;
        default:
            // An intra picture may be a point to begin at all the same.
            return OwnWord::FileDecides;
    }
}

OwnWord word_of_type(int byte, uint32_t type, uint32_t intra) {
    if (byte < 0) return OwnWord::FileDecides;
    return type == intra ? OwnWord::Key : OwnWord::NoKey;
}

// A picture that is not coded repeats another, of whatever type it is.
bool is_not_coded(const QuorvTrack &track, const uint8_t *data, uint32_t size) {
    ZevVideoParam layer = {};
    uint32_t not_coded = 0;
    const auto *codec_data = static_cast<const uint8_t *>(track.codec_data);
    return ZEV_MPEG4_GetVideoParam(codec_data, static_cast<uint32_t>(track.codec_data_size), &layer) ==
               VIDHDR_OK &&
           ZEV_MPEG4_GetVopType(data, size, &layer, &not_coded) == VIDHDR_OK && not_coded != 0;
}

}  // namespace

OwnWord key_frame_word(const QuorvTrack &track, const uint8_t *data, size_t size) {
    const uint8_t *end = data + size;
    const auto length = static_cast<uint32_t>(std::min<size_t>(size, UINT32_MAX));
    switch (track.framing) {
        case QUORV_FRAMING_ANNEX_B:
            return word_of_h264(data, length);
        case QUORV_FRAMING_MPEG4_VISUAL: {
            const int byte = byte_behind(data, end, kMpeg4Vop, 1);
            const OwnWord word = word_of_type(byte, static_cast<uint32_t>(byte) >> 6, VIDHDR_VOP_I);
            return word == OwnWord::Key && is_not_coded(track, data, length) ? OwnWord::NoKey : word;
        }
        case QUORV_FRAMING_JPEG:
        case QUORV_FRAMING_RAW_PICTURE:
            return OwnWord::Key;
        default:
            break;
    }
    if (track.codec != QUORV_CODEC_MPEG1 && track.codec != QUORV_CODEC_MPEG2) return OwnWord::FileDecides;
    // Behind ten bits of temporal reference.
    const int byte = byte_behind(data, end, kMpeg12Picture, 2);
    return word_of_type(byte, static_cast<uint32_t>(byte) >> 3 & 7, kMpeg12Intra);
}

}  // namespace quorv
