// H.264 NAL unit headers, sequence parameter sets and slice headers (ITU-T H.264, 7.3). Emulation prevention
// bytes are not removed.

#include "videoheader/H264Header.h"

#include <quorv/video_header.h>
#include <stddef.h>

#include <bit>

#include "videoheader/StartCode.h"

namespace quorv {
namespace {

constexpr uint32_t kMinLength = 4;
constexpr ptrdiff_t kNalBytes = 4;  // start code prefix and NAL header

constexpr uint32_t kProfileBaseline = 66;
constexpr uint32_t kProfileMain = 77;
constexpr uint32_t kProfileExtended = 88;
constexpr uint32_t kProfileHigh = 100;
constexpr uint32_t kProfileHigh10 = 110;
constexpr uint32_t kProfileHigh422 = 122;
constexpr uint32_t kProfileHigh444 = 144;

constexpr uint32_t kMaxSpsId = 31;
constexpr uint32_t kMaxLog2Minus4 = 12;
constexpr uint32_t kMaxPocCycle = 255;
constexpr uint32_t kMaxRefFrames = 16;

constexpr uint32_t kMacroblock = 16;
constexpr uint32_t kCropUnit = 2;

constexpr uint32_t kSliceI = 2;
constexpr uint32_t kSliceTypes = 5;  // slice_type 5 to 9 repeat 0 to 4 for pictures of one kind

// Opens the reader behind the NAL header of the first NAL unit, which must be a sequence parameter set.
bool open_sps(bs_utility *bs, const uint8_t *data, uint32_t length) {
    const uint8_t *const end = data + length;
    const uint8_t *nal = find_start_code(data, end);
    if (end - nal < kNalBytes || nal_unit_type(nal[3]) != kNalSps) return false;
    nal += kNalBytes;
    bs_open_utility(bs, nal, static_cast<uint32_t>(end - nal));
    return true;
}

// The fields from profile_idc to the one in front of pic_order_cnt_type.
bool read_sps_head(bs_utility *bs) {
    const uint32_t profile = bs_get_bits_utility(bs, 8);
    if (profile != kProfileBaseline && profile != kProfileMain) return false;
    bs_skip_bits_utility(bs, 4);  // constraint_set0_flag to constraint_set3_flag
    if (bs_get_bits_utility(bs, 4) != 0) return false;
    bs_skip_bits_utility(bs, 8);  // level_idc
    return ue_utility(bs) <= kMaxSpsId && ue_utility(bs) <= kMaxLog2Minus4;
}

bool read_pic_order_cnt(bs_utility *bs) {
    const uint32_t type = ue_utility(bs);
    if (type == 0) return ue_utility(bs) <= kMaxLog2Minus4;
    if (type != 1) return true;
    bs_skip_bits_utility(bs, 1);  // delta_pic_order_always_zero_flag
    se_utility(bs);               // offset_for_non_ref_pic
    se_utility(bs);               // offset_for_top_to_bottom_field
    const uint32_t cycle = ue_utility(bs);
    if (cycle > kMaxPocCycle) return false;
    for (uint32_t i = 0; i < cycle; ++i)
        se_utility(bs);  // offset_for_ref_frame
    return true;
}

// The picture size, from pic_width_in_mbs_minus1 on. Sums of impossible values may wrap.
void read_picture_size(bs_utility *bs, ZevVideoParam *param) {
    const uint32_t width_in_mbs = ue_utility(bs) + 1;
    const uint32_t height_in_map_units = ue_utility(bs) + 1;
    const uint32_t frame_mbs_only = bs_get_1bit_utility(bs);
    if (frame_mbs_only == 0) bs_skip_bits_utility(bs, 1);  // mb_adaptive_frame_field_flag
    bs_skip_bits_utility(bs, 1);                           // direct_8x8_inference_flag
    uint32_t crop_x = 0;
    uint32_t crop_y = 0;
    if (bs_get_1bit_utility(bs) != 0) {
        crop_x = ue_utility(bs);
        crop_x += ue_utility(bs);
        crop_y = ue_utility(bs);
        crop_y += ue_utility(bs);
    }
    param->width = width_in_mbs * kMacroblock - kCropUnit * crop_x;
    param->height = (2 - frame_mbs_only) * height_in_map_units * kMacroblock - kCropUnit * crop_y;
}

uint32_t read_slice_type(const uint8_t *header, uint32_t length) {
    // A picture's first slice has both numbers in its first byte: a bit of 1, which is macroblock 0, and
    // seven bits or less that begin with three zeros at most.
    const uint32_t rest = length != 0 && header[0] >= 0x80 ? header[0] & 0x7Fu : 0;
    if (rest >= 8) {
        const int zeros = std::countl_zero(rest << 25);
        return (rest >> (6 - 2 * zeros)) - 1;
    }
    bs_utility bs;
    bs_open_utility(&bs, header, length);
    ue_utility(&bs);  // first_mb_in_slice
    return ue_utility(&bs);
}

// The kind of the slice with this header: 0 to 4 in a valid stream.
uint32_t read_slice_kind(const uint8_t *header, uint32_t length) {
    const uint32_t slice_type = read_slice_type(header, length);
    return slice_type >= kSliceTypes ? slice_type - kSliceTypes : slice_type;
}

}  // namespace

uint32_t ue_utility(bs_utility *bs) {
    const uint32_t zeros = static_cast<uint32_t>(std::countl_zero(bs_show_32bits_utility(bs)));
    if (zeros == 32) return UINT32_MAX;
    // The zeros, the marker and as many bits again, in pieces that the reader can take.
    const uint32_t high_bits = zeros / 2;
    bs_skip_bits_utility(bs, zeros - high_bits);
    bs_skip_bits_utility(bs, high_bits);
    bs_skip_bits_utility(bs, 1);
    const uint32_t high = bs_get_bits_utility(bs, high_bits);
    const uint32_t info = high << (zeros - high_bits) | bs_get_bits_utility(bs, zeros - high_bits);
    return (uint32_t{1} << zeros) - 1 + info;
}

int32_t se_utility(bs_utility *bs) {
    const uint32_t code = ue_utility(bs);
    const uint32_t magnitude = code / 2 + code % 2;
    return static_cast<int32_t>(code % 2 != 0 ? magnitude : 0 - magnitude);
}

}  // namespace quorv

uint32_t ZEV_H264_GetNALHdr(const uint8_t *data, uint32_t length, uint32_t *offsets, uint32_t capacity) {
    if (data == nullptr || offsets == nullptr) return VIDHDR_H264_ERR;
    const uint8_t *const end = data + length;
    uint32_t count = 0;
    const uint8_t *p = quorv::find_start_code(data, end);
    while (p != end) {
        if (count == capacity) return VIDHDR_H264_ERR;
        offsets[count++] = static_cast<uint32_t>(p - data);
        p = quorv::find_start_code(p + quorv::kStartCodePrefixBytes, end);
    }
    return count;
}

uint32_t ZEV_H264_GetVideoParam(ZevVideoParam *param, const uint8_t *data, uint32_t length) {
    using namespace quorv;
    if (param == nullptr || data == nullptr || length < kMinLength) return VIDHDR_H264_ERR;
    bs_utility bs;
    if (!open_sps(&bs, data, length) || !read_sps_head(&bs) || !read_pic_order_cnt(&bs))
        return VIDHDR_H264_ERR;
    if (ue_utility(&bs) > kMaxRefFrames) return VIDHDR_H264_ERR;
    bs_skip_bits_utility(&bs, 1);  // gaps_in_frame_num_value_allowed_flag
    read_picture_size(&bs, param);
    return param->width == 0 || param->height == 0 ? VIDHDR_H264_ERR : VIDHDR_OK;
}

uint32_t ZEV_H264_GetProfileID(uint32_t *profile_idc, const uint8_t *data, uint32_t length) {
    using namespace quorv;
    bs_utility bs;
    if (profile_idc == nullptr || data == nullptr || length < kMinLength || !open_sps(&bs, data, length))
        return VIDHDR_H264_ERR;
    *profile_idc = bs_get_bits_utility(&bs, 8);
    switch (*profile_idc) {
        case kProfileBaseline:
        case kProfileMain:
        case kProfileExtended:
        case kProfileHigh:
        case kProfileHigh10:
        case kProfileHigh422:
        case kProfileHigh444:
            return VIDHDR_OK;
        default:
            *profile_idc = 0;
            return VIDHDR_H264_ERR;
    }
}

uint32_t ZEV_H264_GetSliceType(const uint8_t *data, uint32_t length) {
    using namespace quorv;
    if (data == nullptr || length < kMinLength) return VIDHDR_H264_ERR;
    const uint8_t *const end = data + length;
    const uint8_t *nal = find_start_code(data, end);
    for (; end - nal >= kNalBytes; nal = find_start_code(nal + kStartCodePrefixBytes, end)) {
        const uint32_t type = nal_unit_type(nal[3]);
        if (type == kNalIdrSlice) return VIDHDR_H264_SLICE_IDR;
        if (type != kNalSlice) continue;
        nal += kNalBytes;
        const uint32_t kind = read_slice_kind(nal, static_cast<uint32_t>(end - nal));
        return kind <= kSliceI ? kind : uint32_t{VIDHDR_H264_ERR};
    }
    return VIDHDR_H264_ERR;
}

uint32_t ZEV_H264_GetSliceType_WithoutStartCode(const uint8_t *data, uint32_t length) {
    using namespace quorv;
    if (data == nullptr || length < kMinLength) return VIDHDR_H264_ERR;
    const uint32_t type = nal_unit_type(data[0]);
    if (type != kNalSlice && type != kNalIdrSlice) return VIDHDR_H264_ERR;
    const uint32_t kind = read_slice_kind(data + 1, length - 1);
    return kind <= kSliceI ? kind : 0;
}
