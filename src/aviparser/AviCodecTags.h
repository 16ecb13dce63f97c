// Codecs of a stream's format tags.
#ifndef QUORV_SRC_AVIPARSER_AVICODECTAGS_H
#define QUORV_SRC_AVIPARSER_AVICODECTAGS_H

#include "aviparser/AviCodecTables.h"

namespace quorv {

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
