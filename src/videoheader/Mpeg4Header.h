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

// Raster position of each coefficient of an 8x8 block in transmission order.
extern const uint16_t zigzag_scan_table_utitlity[64];

// Reads a quantiser matrix of a VOL header into raster order. A 0 ends the list: the positions that are left
// take the last value read.
void mpeg4_read_quant_matrix(bs_utility *bs, uint8_t (&matrix)[64]);

}  // namespace quorv

#endif
