// The side information of a Layer III frame (ISO/IEC 11172-3, 2.4.1.7; ISO/IEC 13818-3, 2.4.1.7).
#ifndef QUORV_SRC_MP3DEC_MP3SIDEINFO_H
#define QUORV_SRC_MP3DEC_MP3SIDEINFO_H

#include <quorv/mp3_decoder.h>

#include "mp3dec/Mp3BitReader.h"
#include "mp3dec/Mp3Error.h"

namespace quorv {

inline constexpr uint8_t kMp3ShortBlocks = 2;  // block type

// Bits of Mp3Granule.flags.
enum {
    kMp3Count1TableB = 1,
    kMp3ScaleFactorScale = 2,
    kMp3Preflag = 4,
    kMp3MixedBlock = 8,
};

struct Mp3Granule {
    uint16_t part2_3_length;
    uint16_t big_values;
    uint16_t global_gain;
    uint16_t scalefac_compress;
    uint32_t window_switching;
    uint8_t block_type;
    uint8_t flags;
    uint8_t table_select[3];
    uint8_t subblock_gain[3];
    uint32_t region0_count;
    uint32_t region1_count;
};

struct Mp3SideInfo {
    uint32_t main_data_begin;
    uint8_t scfsi[2];  // by channel, band group 0 in bit 3
    Mp3Granule granules[2][2];
};

constexpr bool mp3_is_short(const Mp3Granule &granule) {
    return granule.block_type == kMp3ShortBlocks;
}

constexpr bool mp3_is_mixed(const Mp3Granule &granule) {
    return (granule.flags & kMp3MixedBlock) != 0;
}

// Bands of a short or mixed block that are long ones, and the first short band behind them.
constexpr uint32_t mp3_mixed_long_bands(const Mp3FrameHeader &header) {
    return (header.flags & MP3_FLAG_LOW_SAMPLING_RATE) != 0 ? 6 : 8;
}
inline constexpr uint32_t kMp3MixedFirstShortBand = 3;

constexpr uint32_t mp3_granules(const Mp3FrameHeader &header) {
    return (header.flags & MP3_FLAG_LOW_SAMPLING_RATE) != 0 ? 1 : 2;
}

// Bytes of the side information.
uint32_t mp3_side_info_size(const Mp3FrameHeader &header);

// Reads the side information, which must be there in full. The private bits go to the header. The first
// error is told, with everything read all the same.
Mp3Error mp3_read_side_info(Mp3FrameHeader *header, Mp3BitReader *reader, Mp3SideInfo *side);

}  // namespace quorv

#endif
