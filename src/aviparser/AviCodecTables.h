// Codec tag tables: what a stream's format tag means as a codec FourCC.
#ifndef QUORV_SRC_AVIPARSER_AVICODECTABLES_H
#define QUORV_SRC_AVIPARSER_AVICODECTABLES_H

#include <stdint.h>

namespace quorv {

struct AviCodecTag {
    uint32_t codec;  // FourCC, first character most significant; 0 ends a table
    uint32_t tag;    // as read from the file, little-endian
};

// Variants of MPEG-4 from before the standard.
inline constexpr uint32_t kAviCodecPreMpeg4 = 0x00FFFFFF;

extern const AviCodecTag avi_codec_bmp_tags[];  // compression tags of bitmap headers
// Wave format tags as the splitter reports them: what players of this library decode.
extern const AviCodecTag avi_wave_formats[];

// For lookups beyond what the splitter reports: all wave format tags, and sample description tags, which AVI
// files do not have.
extern const AviCodecTag avi_codec_wav_tags[];
extern const AviCodecTag avi_codec_movvideo_tags[];

}  // namespace quorv

#endif
