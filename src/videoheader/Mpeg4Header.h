// What the library itself uses of the MPEG-4 Part 2 header parser beside the exported functions.
#ifndef QUORV_SRC_VIDEOHEADER_MPEG4HEADER_H
#define QUORV_SRC_VIDEOHEADER_MPEG4HEADER_H

#include <quorv/video_header.h>

#include "videoheader/BitReader.h"

namespace quorv {

// Start code values (ISO/IEC 14496-2, table 6-3). Those of layers are a range.
inline constexpr uint8_t kMpeg4FirstVol = 0x20, kMpeg4LastVol = 0x2F;
inline constexpr uint8_t kMpeg4GroupOfVop = 0xB3, kMpeg4Vop = 0xB6;

// ZEV_MPEG4_GetVideoParam for a start code that must begin within the first search_limit bytes, while the
// header behind it is read up to the end of the data. `data` may be null only when length is 0.
int32_t mpeg4_find_vol(const uint8_t *data, uint32_t length, uint32_t search_limit, ZevVideoParam *param);

// What a layer's header tells of its pictures.
struct Mpeg4Layer {
    uint32_t increment_bits;  // of vop_time_increment; 0 when not known
    bool reorders;            // there may be B-VOPs
    bool interlaced;
    bool global_motion;                  // global motion compensation
    bool quarter_sample;                 // motion in quarters of a pixel
    bool matrices;                       // quantised by matrices, those of the standard or its own
    uint32_t pixel_width, pixel_height;  // a pixel's; 0 when not told
};

// A picture: coding_type 0 to 3 for I, P, B and S. One that is not coded repeats the one before, or only
// fills the place of one that was packed with another.
struct Mpeg4Vop {
    uint32_t coding_type;
    bool coded;
};
inline constexpr uint32_t kMpeg4BVop = 2;

// Read the header behind a start code.
Mpeg4Layer mpeg4_read_layer(const uint8_t *begin, const uint8_t *end);
Mpeg4Vop mpeg4_read_vop(const uint8_t *begin, const uint8_t *end, uint32_t increment_bits);

// Raster position of each coefficient of an 8x8 block in transmission order.
extern const uint16_t zigzag_scan_table_utitlity[64];

// Reads a quantiser matrix of a VOL header into raster order. A 0 ends the list: the positions that are left
// take the last value read.
void mpeg4_read_quant_matrix(bs_utility *bs, uint8_t (&matrix)[64]);

}  // namespace quorv

#endif
