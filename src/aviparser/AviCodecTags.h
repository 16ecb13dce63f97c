// Codec tag tables: what a stream's format tag means as a codec FourCC.
#ifndef QUORV_SRC_AVIPARSER_AVICODECTAGS_H
#define QUORV_SRC_AVIPARSER_AVICODECTAGS_H

#include <stdint.h>

namespace quorv {

struct AviCodecTag {
    uint32_t codec;  // FourCC, first character most significant; 0 ends a table
    uint32_t tag;    // as read from the file, little-endian
};

extern const AviCodecTag avi_codec_bmp_tags[];  // compression tags of bitmap headers
// For lookups beyond what the splitter reports: wave format tags, of which avi_wave_format_codec knows fewer,
// and sample description tags, which AVI files do not have.
extern const AviCodecTag avi_codec_wav_tags[];
extern const AviCodecTag avi_codec_movvideo_tags[];

// Variants of MPEG-4 from before the standard.
inline constexpr uint32_t kAviCodecPreMpeg4 = 0x00FFFFFF;

// Upper-cases each of the four bytes of a tag.
uint32_t avi_toupper4(uint32_t tag);

// The codec of the first row with exactly this tag, else of the first that is equal in upper case, else 0.
uint32_t avi_codec_get_id(const AviCodecTag *table, uint32_t tag);

// Whether the codec is MPEG-4 Part 2, whose first frame must carry a video object layer header.
bool avi_is_mpeg4(uint32_t codec);

// The codec of a wave format tag as this splitter reports it; 0 when it is not known.
uint32_t avi_wave_format_codec(uint32_t format_tag);

}  // namespace quorv

#endif
