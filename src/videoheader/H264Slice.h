// Headers of H.264 slices: what the order of pictures needs of them (ITU-T H.264, 7.3.3).
#ifndef QUORV_SRC_VIDEOHEADER_H264SLICE_H
#define QUORV_SRC_VIDEOHEADER_H264SLICE_H

#include "videoheader/H264ParameterSets.h"

namespace quorv {

struct H264Slice {
    const H264Sps *sps;  // one of the parameter sets'
    bool idr;
    bool reference;  // nal_ref_idc is not 0
    bool field;
    bool bottom_field;
    // memory_management_control_operation 5: the picture ends its sequence as an IDR picture does.
    bool resets_order;
    uint32_t frame_num;
    uint32_t order_lsb;
    int32_t delta_order_bottom;
    int32_t delta_order[2];
};

// Reads the header when the unit is a slice of a primary picture. False for all others, for slices that refer
// to unknown parameter sets, and for headers that make no sense.
bool h264_read_slice(const H264NalUnit &unit, const H264ParameterSets &sets, H264Slice *slice);

}  // namespace quorv

#endif
