// NAL unit types and Exponential-Golomb codes of H.264 headers (ITU-T H.264, 7.3.1 and 9.1); what else the
// H.264 header parser offers is exported.
#ifndef QUORV_SRC_VIDEOHEADER_H264HEADER_H
#define QUORV_SRC_VIDEOHEADER_H264HEADER_H

#include "videoheader/BitReader.h"

namespace quorv {

// nal_unit_type (table 7-1). Types 1 to 5 are slices, or partitions of one.
enum H264NalType : uint32_t {
    kNalSlice = 1,
    kNalPartitionA = 2,
    kNalIdrSlice = 5,
    kNalSei = 6,
    kNalSps = 7,
    kNalPps = 8,
    kNalDelimiter = 9,
};

// nal_ref_idc in the byte behind a start code: not 0 for pictures that others refer to.
inline constexpr uint8_t kNalRefIdcMask = 0x60;

// The type in the byte behind a start code.
constexpr uint32_t nal_unit_type(uint8_t header) {
    return header & 0x1F;
}

// Reads ue(v). 32 zero bits begin no code of any stream: they give UINT32_MAX, which every limit refuses, and
// are not consumed.
uint32_t ue_utility(bs_utility *bs);

// Reads se(v).
int32_t se_utility(bs_utility *bs);

}  // namespace quorv

#endif
