// Exponential-Golomb codes of H.264 headers (ITU-T H.264, 9.1); what else the H.264 header parser offers is
// exported.
#ifndef QUORV_SRC_VIDEOHEADER_H264HEADER_H
#define QUORV_SRC_VIDEOHEADER_H264HEADER_H

#include "videoheader/BitReader.h"

namespace quorv {

// Reads ue(v). 32 zero bits begin no code of any stream: they give UINT32_MAX, which every limit refuses, and
// are not consumed.
uint32_t ue_utility(bs_utility *bs);

// Reads se(v).
int32_t se_utility(bs_utility *bs);

}  // namespace quorv

#endif
