// Headers of H.264 slices; see the header.

#include "videoheader/H264Slice.h"

#include "videoheader/H264Header.h"

namespace quorv {
namespace {

// slice_type modulo 5 (table 7-6).
enum SliceKind : uint32_t { kSliceP, kSliceB, kSliceI, kSliceSp, kSliceSi };
constexpr uint32_t kSliceTypes = 10, kSliceKinds = 5;
constexpr uint32_t kMaxReferences = 32;

// modification_of_pic_nums_idc and memory_management_control_operation that end their lists, and the largest.
constexpr uint32_t kModificationEnd = 3;
constexpr uint32_t kMarkingEnd = 0, kMarkingTwoOperands = 3, kMarkingReset = 5, kMarkingLast = 6;

bool read_flag(bs_utility *bs) {
    return bs_get_1bit_utility(bs) != 0;
}

bool has_lists(uint32_t kind) {
    return kind != kSliceI && kind != kSliceSi;
}

// frame_num to delta_pic_order_cnt.
void read_order(bs_utility *bs, const H264Pps &pps, H264Slice *slice) {
    const H264Sps &sps = *slice->sps;
    if (sps.separate_planes) bs_skip_bits_utility(bs, 2);  // colour_plane_id
    slice->frame_num = bs_get_bits_utility(bs, sps.frame_num_bits);
    if (!sps.frames_only) slice->field = read_flag(bs);
    if (slice->field) slice->bottom_field = read_flag(bs);
    if (slice->idr) ue_utility(bs);  // idr_pic_id
    const bool has_bottom = pps.bottom_field_order_present && !slice->field;
    if (sps.order_type == 0) {
        slice->order_lsb = bs_get_bits_utility(bs, sps.order_lsb_bits);
        if (has_bottom) slice->delta_order_bottom = se_utility(bs);
    } else if (sps.order_type == 1 && !sps.delta_always_zero) {
        slice->delta_order[0] = se_utility(bs);
        if (has_bottom) slice->delta_order[1] = se_utility(bs);
    }
}

// How many references each list has. False when that is impossible.
bool read_reference_counts(bs_utility *bs, const H264Pps &pps, uint32_t kind, uint32_t (&counts)[2]) {
    counts[0] = pps.num_ref_idx[0];
    counts[1] = kind == kSliceB ? pps.num_ref_idx[1] : 0;
    const bool override = read_flag(bs);
    for (int list = 0; override && list < (kind == kSliceB ? 2 : 1); ++list) {
        const uint32_t minus1 = ue_utility(bs);
        if (minus1 >= kMaxReferences) return false;
        counts[list] = minus1 + 1;
    }
    return true;
}

bool skip_list_modification(bs_utility *bs) {
    const bool present = read_flag(bs);
    if (!present) return true;
    for (;;) {
        const uint32_t operation = ue_utility(bs);
        if (operation == kModificationEnd) return true;
        if (operation > kModificationEnd) return false;
        ue_utility(bs);  // a picture number, as a difference or as it is
    }
}

void skip_weights(bs_utility *bs, bool has_chroma, const uint32_t (&counts)[2]) {
    ue_utility(bs);                  // luma_log2_weight_denom
    if (has_chroma) ue_utility(bs);  // chroma_log2_weight_denom
    for (uint32_t i = 0; i < counts[0] + counts[1]; ++i) {
        const bool luma = read_flag(bs);
        for (int field = 0; luma && field < 2; ++field)
            se_utility(bs);
        const bool chroma = has_chroma && read_flag(bs);
        for (int field = 0; chroma && field < 4; ++field)
            se_utility(bs);
    }
}

// Everything between the order counts and the marking of references.
bool skip_prediction(bs_utility *bs, const H264Slice &slice, const H264Pps &pps, uint32_t kind) {
    if (kind == kSliceB) bs_skip_bits_utility(bs, 1);  // direct_spatial_mv_pred_flag
    if (!has_lists(kind)) return true;
    uint32_t counts[2];
    if (!read_reference_counts(bs, pps, kind, counts) || !skip_list_modification(bs)) return false;
    if (kind == kSliceB && !skip_list_modification(bs)) return false;
    const bool weights = kind == kSliceB ? pps.weighted_bipred == 1 : pps.weighted_pred;
    const bool has_chroma = !slice.sps->separate_planes && slice.sps->chroma_format != 0;
    if (weights) skip_weights(bs, has_chroma, counts);
    return true;
}

// Whether the marking of reference pictures resets the order (7.3.3.3).
bool read_marking(bs_utility *bs) {
    const bool adaptive = read_flag(bs);
    while (adaptive) {
        const uint32_t operation = ue_utility(bs);
        if (operation == kMarkingReset) return true;
        if (operation == kMarkingEnd || operation > kMarkingLast) break;
        ue_utility(bs);
        if (operation == kMarkingTwoOperands) ue_utility(bs);
    }
    return false;
}

bool is_slice(uint32_t type) {
    return type == kNalSlice || type == kNalIdrSlice || type == kNalPartitionA;
}

}  // namespace

bool h264_read_slice(const H264NalUnit &unit, const H264ParameterSets &sets, H264Slice *slice) {
    const uint32_t type = nal_unit_type(*unit.begin);
    if (!is_slice(type)) return false;
    const H264Payload payload(unit);
    bs_utility bs = payload.reader();
    ue_utility(&bs);  // first_mb_in_slice
    const uint32_t slice_type = ue_utility(&bs), kind = slice_type % kSliceKinds;
    const H264Pps *pps = sets.pps(ue_utility(&bs));
    if (slice_type >= kSliceTypes || pps == nullptr) return false;
    *slice = {};
    slice->sps = sets.sps(*pps);
    if (slice->sps == nullptr) return false;
    slice->idr = type == kNalIdrSlice;
    slice->reference = (*unit.begin & kNalRefIdcMask) != 0;
    read_order(&bs, *pps, slice);
    if (pps->redundant_count_present && ue_utility(&bs) != 0) return false;
    if (!slice->reference || slice->idr) return true;
    if (!skip_prediction(&bs, *slice, *pps, kind)) return false;
    slice->resets_order = read_marking(&bs);
    return true;
}

}  // namespace quorv
