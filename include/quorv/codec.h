/**
 * @file
 * The codecs that the splitters know: their FourCC values and what their frames look like.
 */
#ifndef QUORV_CODEC_H
#define QUORV_CODEC_H

#include <stdint.h>

/**
 * @defgroup codec Codecs
 * FourCC values of SplitterVideoInfo, SplitterAudioInfo and QuorvTrack.
 * @{
 */

/** A FourCC: four characters, the first one most significant. */
#define QUORV_FOURCC(a, b, c, d)                                               \
    ((uint32_t)(unsigned char)(a) << 24 | (uint32_t)(unsigned char)(b) << 16 | \
     (uint32_t)(unsigned char)(c) << 8 | (uint32_t)(unsigned char)(d))

/** @} */

#endif
