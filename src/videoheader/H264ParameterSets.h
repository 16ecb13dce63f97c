// Sequence and picture parameter sets of H.264: what slice headers and the order of pictures need of them
// (ITU-T H.264, 7.3.2).
#ifndef QUORV_SRC_VIDEOHEADER_H264PARAMETERSETS_H
#define QUORV_SRC_VIDEOHEADER_H264PARAMETERSETS_H

#include <stdint.h>

#include "videoheader/H264Nal.h"

namespace quorv {

struct H264Sps {
    static constexpr uint32_t kMaxCycle = 255;

    bool known =
        false;  // only then is the rest set: clearing whole tables would cost more than opening a file
    bool separate_planes;
    bool frames_only;
    bool delta_always_zero;
    uint8_t chroma_format;
    uint8_t frame_num_bits;
    uint8_t order_type;  // pic_order_cnt_type
    uint8_t order_lsb_bits;
    // How many frames may come before one that is shown before them; 16 at most.
    uint8_t reorder_depth;
    uint8_t profile_idc, constraints, level_idc;
    uint8_t luma_bits;
    uint8_t reference_frames;
    bool full_range;
    // A pixel's width and height; 0 when not told.
    uint16_t pixel_width, pixel_height;
    // Of table E-3 to E-5; 0 when not told.
    uint8_t primaries, transfer, matrix;
    // pic_order_cnt_type 1
    int32_t offset_for_non_ref_pic;
    int32_t offset_for_top_to_bottom_field;
    uint32_t cycle;
    int32_t offset_for_ref_frame[kMaxCycle];
};

struct H264Pps {
    bool known = false;
    bool bottom_field_order_present;
    bool weighted_pred;
    bool redundant_count_present;
    bool cabac;
    uint8_t weighted_bipred;
    uint8_t sps_id;
    uint32_t num_ref_idx[2];  // of list 0 and 1, by default
};

// The parameter sets of a stream by their ids.
class H264ParameterSets {
public:
    // Takes the unit when it is a parameter set that makes sense; a set of the same id is replaced.
    void take(const H264NalUnit &unit);
    // Null when the slice refers to a set that is not there.
    const H264Pps *pps(uint32_t id) const;
    const H264Sps *sps(const H264Pps &pps) const;
    // Of the first picture parameter set that is there; null when there is none.
    const H264Pps *first_pps() const;
    // The largest of all sequences.
    uint32_t reorder_depth() const;

private:
    static constexpr uint32_t kSpsIds = 32, kPpsIds = 256;

    void take_sps(const H264Payload &payload);
    void take_pps(const H264Payload &payload);

    H264Sps sps_[kSpsIds];
    H264Pps pps_[kPpsIds];
};

}  // namespace quorv

#endif
