// Parameter sets of H.264; see the header.

#include "videoheader/H264ParameterSets.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "videoheader/H264Header.h"

namespace quorv {
namespace {

constexpr uint32_t kMaxLog2Minus4 = 12;
constexpr uint32_t kMaxFrames = 16;
constexpr uint32_t kMaxPictureMbs = 1 << 15;  // in each direction; far beyond every level
constexpr uint32_t kMaxCpbCount = 32;
constexpr uint32_t kExtendedSar = 255;

constexpr uint32_t kProfileBaseline = 66, kProfileExtended = 88;
// profile_idc of those whose sequences tell their chroma format.
constexpr uint8_t kProfilesWithChroma[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
// Those that have only intra pictures when constraint_set3_flag says so (E.2.1, max_num_reorder_frames).
constexpr uint8_t kProfilesOfIntra[] = {44, 86, 100, 110, 122, 244};

// The largest level_idc and how many macroblocks the decoded picture buffer then holds (table A-1).
constexpr struct {
    uint32_t level, macroblocks;
} kBufferSizes[] = {{10, 396},   {11, 900},   {20, 2376},  {21, 4752},   {30, 8100},   {31, 18000},
                    {32, 20480}, {41, 32768}, {42, 34816}, {50, 110400}, {52, 184320}, {62, 696320}};

// Pixels' widths and heights by aspect_ratio_idc (table E-1).
constexpr uint8_t kPixelShapes[][2] = {{0, 0},   {1, 1},    {12, 11}, {10, 11}, {16, 11}, {40, 33},
                                       {24, 11}, {20, 11},  {32, 11}, {80, 33}, {18, 11}, {15, 11},
                                       {64, 33}, {160, 99}, {4, 3},   {3, 2},   {2, 1}};

struct Profile {
    uint32_t idc, constraints, level;

    bool is_one_of(const auto &list) const {
        return std::find(std::begin(list), std::end(list), idc) != std::end(list);
    }
    bool constraint_set3() const { return (constraints & 0x10) != 0; }
};

uint8_t take_byte(bs_utility *bs) {
    return static_cast<uint8_t>(bs_get_bits_utility(bs, 8));
}

bool read_flag(bs_utility *bs) {
    return bs_get_1bit_utility(bs) != 0;
}

void skip_scaling_list(bs_utility *bs, uint32_t size) {
    uint32_t last = 8, next = 8;
    for (uint32_t i = 0; i < size && next != 0; ++i) {
        next = (last + static_cast<uint32_t>(se_utility(bs))) % 256;
        if (next != 0) last = next;
    }
}

void read_chroma(bs_utility *bs, H264Sps *sps) {
    sps->chroma_format = static_cast<uint8_t>(ue_utility(bs) & 3);
    if (sps->chroma_format == 3) sps->separate_planes = read_flag(bs);
    sps->luma_bits = static_cast<uint8_t>(8 + std::min(ue_utility(bs), 6u));
    ue_utility(bs);               // bit_depth_chroma_minus8
    bs_skip_bits_utility(bs, 1);  // qpprime_y_zero_transform_bypass_flag
    const bool scaling_matrix = read_flag(bs);
    if (!scaling_matrix) return;
    const uint32_t lists = sps->chroma_format == 3 ? 12 : 8;
    for (uint32_t i = 0; i < lists; ++i) {
        const bool present = read_flag(bs);
        if (present) skip_scaling_list(bs, i < 6 ? 16 : 64);
    }
}

bool read_order_count(bs_utility *bs, H264Sps *sps) {
    const uint32_t type = ue_utility(bs);
    if (type > 2) return false;
    sps->order_type = static_cast<uint8_t>(type);
    if (type == 0) {
        const uint32_t log2_minus4 = ue_utility(bs);
        sps->order_lsb_bits = static_cast<uint8_t>(log2_minus4 + 4);
        return log2_minus4 <= kMaxLog2Minus4;
    }
    if (type == 2) return true;
    sps->delta_always_zero = read_flag(bs);
    sps->offset_for_non_ref_pic = se_utility(bs);
    sps->offset_for_top_to_bottom_field = se_utility(bs);
    sps->cycle = ue_utility(bs);
    if (sps->cycle > H264Sps::kMaxCycle) return false;
    for (uint32_t i = 0; i < sps->cycle; ++i)
        sps->offset_for_ref_frame[i] = se_utility(bs);
    return true;
}

void skip_hrd(bs_utility *bs) {
    const uint32_t count = std::min(ue_utility(bs), kMaxCpbCount - 1) + 1;
    bs_skip_bits_utility(bs, 4 + 4);  // bit_rate_scale, cpb_size_scale
    for (uint32_t i = 0; i < count; ++i) {
        ue_utility(bs);               // bit_rate_value_minus1
        ue_utility(bs);               // cpb_size_value_minus1
        bs_skip_bits_utility(bs, 1);  // cbr_flag
    }
    bs_skip_bits_utility(bs, 5 + 5);  // initial_cpb_removal_delay_length_minus1, and that of the output's
    bs_skip_bits_utility(bs, 5 + 5);  // dpb_output_delay_length_minus1, time_offset_length
}

void read_pixel_shape(bs_utility *bs, H264Sps *sps) {
    const uint32_t shape = take_byte(bs);
    if (shape == kExtendedSar) {
        sps->pixel_width = static_cast<uint16_t>(bs_get_16bits_utility(bs));
        sps->pixel_height = static_cast<uint16_t>(bs_get_16bits_utility(bs));
    } else if (shape < std::size(kPixelShapes)) {
        sps->pixel_width = kPixelShapes[shape][0];
        sps->pixel_height = kPixelShapes[shape][1];
    }
}

void read_signal_type(bs_utility *bs, H264Sps *sps) {
    bs_skip_bits_utility(bs, 3);  // video_format
    sps->full_range = read_flag(bs);
    const bool colours = read_flag(bs);
    if (!colours) return;
    sps->primaries = take_byte(bs);
    sps->transfer = take_byte(bs);
    sps->matrix = take_byte(bs);
}

// The usability information up to pic_struct_present_flag (E.1.1).
void read_vui_head(bs_utility *bs, H264Sps *sps) {
    const bool aspect_ratio = read_flag(bs);
    if (aspect_ratio) read_pixel_shape(bs, sps);
    const bool overscan = read_flag(bs);
    if (overscan) bs_skip_bits_utility(bs, 1);
    const bool signal_type = read_flag(bs);
    if (signal_type) read_signal_type(bs, sps);
    const bool chroma_location = read_flag(bs);
    if (chroma_location) {
        ue_utility(bs);
        ue_utility(bs);
    }
    const bool timing = read_flag(bs);
    if (timing) {
        bs_skip_32bits_utility(bs);
        bs_skip_32bits_utility(bs);
        bs_skip_bits_utility(bs, 1);  // fixed_frame_rate_flag
    }
    const bool nal_hrd = read_flag(bs);
    if (nal_hrd) skip_hrd(bs);
    const bool vcl_hrd = read_flag(bs);
    if (vcl_hrd) skip_hrd(bs);
    if (nal_hrd || vcl_hrd) bs_skip_bits_utility(bs, 1);  // low_delay_hrd_flag
    bs_skip_bits_utility(bs, 1);                          // pic_struct_present_flag
}

// Returns max_num_reorder_frames; UINT32_MAX when it is not there.
uint32_t read_vui(bs_utility *bs, H264Sps *sps) {
    read_vui_head(bs, sps);
    const bool restriction = read_flag(bs);
    if (!restriction) return UINT32_MAX;
    bs_skip_bits_utility(bs, 1);  // motion_vectors_over_pic_boundaries_flag
    for (int field = 0; field < 4; ++field)
        ue_utility(bs);  // bytes of a picture, bits of a macroblock, lengths of motion vectors
    return ue_utility(bs);
}

uint32_t buffered_frames(const Profile &profile, uint32_t frame_mbs) {
    const bool level_1b = profile.level == 11 && profile.constraint_set3() && profile.idc <= kProfileExtended;
    const uint32_t level = level_1b ? 10 : profile.level;
    for (const auto &size : kBufferSizes) {
        if (level <= size.level) return std::clamp(size.macroblocks / frame_mbs, 1u, kMaxFrames);
    }
    return kMaxFrames;
}

// What a sequence that does not tell may reorder at most. The baseline profile could in theory, too; but it
// has no B slices, and its encoders are those that hold nothing back.
uint32_t inferred_reorder_depth(const Profile &profile, uint32_t frame_mbs) {
    if (profile.idc == kProfileBaseline) return 0;
    if (profile.constraint_set3() && profile.is_one_of(kProfilesOfIntra)) return 0;
    return buffered_frames(profile, frame_mbs);
}

// From max_num_ref_frames on.
bool read_sps_tail(bs_utility *bs, const Profile &profile, H264Sps *sps) {
    const uint32_t references = ue_utility(bs);
    if (references > kMaxFrames) return false;
    sps->reference_frames = static_cast<uint8_t>(references);
    bs_skip_bits_utility(bs, 1);  // gaps_in_frame_num_value_allowed_flag
    const uint32_t width = ue_utility(bs), height = ue_utility(bs);
    if (width >= kMaxPictureMbs || height >= kMaxPictureMbs) return false;
    sps->frames_only = read_flag(bs);
    if (!sps->frames_only) bs_skip_bits_utility(bs, 1);  // mb_adaptive_frame_field_flag
    bs_skip_bits_utility(bs, 1);                         // direct_8x8_inference_flag
    const bool cropping = read_flag(bs);
    for (int side = 0; cropping && side < 4; ++side)
        ue_utility(bs);
    const bool vui = read_flag(bs);
    uint32_t depth = vui ? read_vui(bs, sps) : UINT32_MAX;
    if (depth > kMaxFrames) {
        const uint32_t frame_mbs = (width + 1) * (height + 1) * (sps->frames_only ? 1 : 2);
        depth = inferred_reorder_depth(profile, frame_mbs);
    }
    // With pic_order_cnt_type 2 pictures are shown in the order in which they come (8.2.1.3).
    sps->reorder_depth = sps->order_type == 2 ? 0 : static_cast<uint8_t>(depth);
    return true;
}

// Skips the map of slice groups. False when it makes no sense; payload_bits are all that it can have.
bool skip_slice_groups(bs_utility *bs, uint32_t groups, uint64_t payload_bits) {
    const uint32_t type = ue_utility(bs);
    if (type > 6) return false;
    if (type == 0) {
        for (uint32_t i = 0; i < groups; ++i)
            ue_utility(bs);  // run_length_minus1
    } else if (type == 2) {
        for (uint32_t i = 0; i < groups - 1; ++i) {
            ue_utility(bs);  // top_left
            ue_utility(bs);  // bottom_right
        }
    } else if (type == 6) {
        const uint64_t units = uint64_t{ue_utility(bs)} + 1;
        const auto bits = static_cast<uint32_t>(std::bit_width(groups - 1));
        if (units * bits > payload_bits) return false;
        for (uint64_t i = 0; i < units; ++i)
            bs_skip_bits_utility(bs, bits);
    } else if (type != 1) {
        bs_skip_bits_utility(bs, 1);  // slice_group_change_direction_flag
        ue_utility(bs);               // slice_group_change_rate_minus1
    }
    return true;
}

}  // namespace

void H264ParameterSets::take(const H264NalUnit &unit) {
    const uint32_t type = nal_unit_type(*unit.begin);
    if (type == kNalSps) take_sps(H264Payload(unit));
    if (type == kNalPps) take_pps(H264Payload(unit));
}

void H264ParameterSets::take_sps(const H264Payload &payload) {
    bs_utility bs = payload.reader();
    H264Sps sps = {};
    sps.known = true;
    sps.profile_idc = take_byte(&bs);
    sps.constraints = take_byte(&bs);
    sps.level_idc = take_byte(&bs);
    sps.chroma_format = 1;
    sps.luma_bits = 8;
    const Profile profile = {sps.profile_idc, sps.constraints, sps.level_idc};
    const uint32_t id = ue_utility(&bs);
    if (id >= kSpsIds) return;
    if (profile.is_one_of(kProfilesWithChroma)) read_chroma(&bs, &sps);
    const uint32_t frame_num = ue_utility(&bs);
    if (frame_num > kMaxLog2Minus4) return;
    sps.frame_num_bits = static_cast<uint8_t>(frame_num + 4);
    if (read_order_count(&bs, &sps) && read_sps_tail(&bs, profile, &sps)) sps_[id] = sps;
}

void H264ParameterSets::take_pps(const H264Payload &payload) {
    bs_utility bs = payload.reader();
    const uint32_t id = ue_utility(&bs), sps_id = ue_utility(&bs);
    if (id >= kPpsIds || sps_id >= kSpsIds) return;
    H264Pps pps = {};
    pps.known = true;
    pps.sps_id = static_cast<uint8_t>(sps_id);
    pps.cabac = read_flag(&bs);
    pps.bottom_field_order_present = read_flag(&bs);
    const uint32_t groups_minus1 = ue_utility(&bs);
    if (groups_minus1 >= 8) return;
    if (groups_minus1 > 0 && !skip_slice_groups(&bs, groups_minus1 + 1, uint64_t{payload.size()} * 8)) return;
    for (uint32_t &count : pps.num_ref_idx) {
        const uint32_t minus1 = ue_utility(&bs);
        if (minus1 >= 32) return;
        count = minus1 + 1;
    }
    pps.weighted_pred = read_flag(&bs);
    pps.weighted_bipred = static_cast<uint8_t>(bs_get_bits_utility(&bs, 2));
    for (int field = 0; field < 3; ++field)
        se_utility(&bs);               // pic_init_qp_minus26, pic_init_qs_minus26, chroma_qp_index_offset
    bs_skip_bits_utility(&bs, 1 + 1);  // deblocking_filter_control_present_flag, constrained_intra_pred_flag
    pps.redundant_count_present = read_flag(&bs);
    pps_[id] = pps;
}

const H264Pps *H264ParameterSets::pps(uint32_t id) const {
    return id < kPpsIds && pps_[id].known ? &pps_[id] : nullptr;
}

const H264Pps *H264ParameterSets::first_pps() const {
    const H264Pps *found = std::find_if(pps_, pps_ + kPpsIds, [](const H264Pps &pps) { return pps.known; });
    return found != pps_ + kPpsIds ? found : nullptr;
}

const H264Sps *H264ParameterSets::sps(const H264Pps &pps) const {
    const H264Sps &sps = sps_[pps.sps_id];
    return sps.known ? &sps : nullptr;
}

uint32_t H264ParameterSets::reorder_depth() const {
    uint32_t depth = 0;
    for (const H264Sps &sps : sps_)
        if (sps.known) depth = std::max<uint32_t>(depth, sps.reorder_depth);
    return depth;
}

}  // namespace quorv
