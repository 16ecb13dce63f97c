// MPEG-4 Part 2 video object layer and video object plane headers (ISO/IEC 14496-2, 6.2.3 and 6.2.5).

#include "videoheader/Mpeg4Header.h"

#include <bit>

#include "videoheader/StartCode.h"

namespace quorv {

static_assert(sizeof(ZevVideoParam) == 12);

const uint16_t zigzag_scan_table_utitlity[64] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

namespace {

constexpr ptrdiff_t kStartCodeBytes = 4;
constexpr uint8_t kVolFirst = 0x20;
constexpr uint8_t kVolLast = 0x2F;
constexpr uint8_t kVop = 0xB6;

constexpr uint32_t kShapeRectangular = 0;
constexpr uint32_t kShapeBinaryOnly = 2;
constexpr uint32_t kSpriteStatic = 1;
constexpr uint32_t kSpriteGmc = 2;
constexpr uint32_t kExtendedAspectRatio = 15;

struct VopHeader {
    uint32_t coding_type;
    uint32_t coded;
};

// Opens the reader behind the first start code from `first` to `last` that begins within the first
// search_limit bytes. Start codes are passed over whole, all four bytes.
bool open_behind_start_code(bs_utility *bs, const uint8_t *data, uint32_t length, uint32_t search_limit,
                            uint8_t first, uint8_t last) {
    const uint8_t *const end = data + length;
    // The prefix of a code that begins on the last byte of the limit is still looked at in full.
    const uint32_t window = length < 2 || length - 2 < search_limit ? length : search_limit + 2;
    const uint8_t *const window_end = data + window;
    const uint8_t *p = data;
    while (p < window_end) {
        p = find_start_code(p, window_end);
        if (p == window_end || end - p < kStartCodeBytes) return false;
        const uint8_t code = p[3];
        p += kStartCodeBytes;
        if (code >= first && code <= last) {
            bs_open_utility(bs, p, static_cast<uint32_t>(end - p));
            return true;
        }
    }
    return false;
}

uint32_t time_increment_bits(uint32_t resolution) {
    return resolution < 2 ? 1 : static_cast<uint32_t>(std::bit_width(resolution - 1));
}

void skip_vol_control_parameters(bs_utility *bs) {
    bs_skip_bits_utility(bs, 3);  // chroma_format, low_delay
    if (bs_get_1bit_utility(bs) == 0) return;
    bs_skip_32bits_utility(bs);  // vbv_parameters: 79 bits
    bs_skip_32bits_utility(bs);
    bs_skip_bits_utility(bs, 15);
}

void skip_sprite(bs_utility *bs, uint32_t sprite_enable) {
    if (sprite_enable == kSpriteStatic) {
        // width, height, left and top, each with its marker
        for (int field = 0; field < 4; ++field)
            bs_skip_bits_utility(bs, 13 + 1);
    }
    if (sprite_enable == kSpriteStatic || sprite_enable == kSpriteGmc) {
        bs_skip_bits_utility(bs, 6 + 2 + 1);  // warping points, accuracy, brightness change
    }
    if (sprite_enable == kSpriteStatic) bs_skip_bits_utility(bs, 1);  // low_latency_sprite_enable
}

void skip_quantisation(bs_utility *bs) {
    if (bs_get_1bit_utility(bs) != 0) bs_skip_bits_utility(bs, 4 + 4);  // quant_precision, bits_per_pixel
    if (bs_get_1bit_utility(bs) == 0) return;                           // quant_type
    uint8_t matrix[64];
    if (bs_get_1bit_utility(bs) != 0) mpeg4_read_quant_matrix(bs, matrix);  // intra
    if (bs_get_1bit_utility(bs) != 0) mpeg4_read_quant_matrix(bs, matrix);  // nonintra
}

// The fields of a rectangular layer from the size on.
int32_t parse_rectangular(bs_utility *bs, uint32_t verid, ZevVideoParam *param) {
    bs_skip_bits_utility(bs, 1);
    param->width = bs_get_bits_utility(bs, 13);
    bs_skip_bits_utility(bs, 1);
    param->height = bs_get_bits_utility(bs, 13);
    bs_skip_bits_utility(bs, 1 + 1);                                  // marker, interlaced
    if (bs_get_1bit_utility(bs) == 0) return VIDHDR_ERR_UNSUPPORTED;  // obmc_disable
    skip_sprite(bs, bs_get_bits_utility(bs, verid == 1 ? 1 : 2));
    skip_quantisation(bs);
    if (verid != 1) bs_skip_bits_utility(bs, 1);                      // quarter_sample
    if (bs_get_1bit_utility(bs) == 0) return VIDHDR_ERR_UNSUPPORTED;  // complexity_estimation_disable
    bs_skip_bits_utility(bs, 1);                                      // resync_marker_disable
    if (bs_get_1bit_utility(bs) != 0) bs_skip_bits_utility(bs, 1);    // data_partitioned: reversible_vlc
    if (verid != 1) {
        if (bs_get_1bit_utility(bs) != 0) bs_skip_bits_utility(bs, 2 + 1);  // newpred_enable
        if (bs_get_1bit_utility(bs) != 0) return VIDHDR_ERR_UNSUPPORTED;    // reduced_resolution_vop_enable
    }
    return bs_get_1bit_utility(bs) != 0 ? VIDHDR_ERR_UNSUPPORTED : VIDHDR_OK;  // scalability
}

int32_t parse_vol(bs_utility *bs, ZevVideoParam *param) {
    bs_skip_bits_utility(bs, 1 + 8);  // random_accessible_vol, video_object_type_indication
    uint32_t verid = 1;
    if (bs_get_1bit_utility(bs) != 0) {
        verid = bs_get_bits_utility(bs, 4);
        bs_skip_bits_utility(bs, 3);  // video_object_layer_priority
    }
    if (bs_get_bits_utility(bs, 4) == kExtendedAspectRatio) bs_skip_bits_utility(bs, 8 + 8);
    if (bs_get_1bit_utility(bs) != 0) skip_vol_control_parameters(bs);
    const uint32_t shape = bs_get_bits_utility(bs, 2);
    if (shape != kShapeRectangular && shape != kShapeBinaryOnly) return VIDHDR_ERR_UNSUPPORTED;
    bs_skip_bits_utility(bs, 1);
    param->time_increment_bits = time_increment_bits(bs_get_16bits_utility(bs));
    bs_skip_bits_utility(bs, 1);
    if (bs_get_1bit_utility(bs) != 0) bs_skip_bits_utility(bs, param->time_increment_bits);  // fixed_vop_rate
    if (shape == kShapeRectangular) return parse_rectangular(bs, verid, param);
    const bool scalability = verid != 1 && bs_get_1bit_utility(bs) != 0;
    return scalability ? VIDHDR_ERR_UNSUPPORTED : VIDHDR_OK;
}

VopHeader parse_vop(bs_utility *bs, const ZevVideoParam &param) {
    const uint32_t coding_type = bs_get_bits_utility(bs, 2);
    while (bs_get_1bit_utility(bs) != 0) {
        // modulo_time_base: one bit a second; zeros follow the data, so this ends
    }
    bs_skip_bits_utility(bs, 1);
    bs_skip_bits_utility(bs, param.time_increment_bits < 16 ? param.time_increment_bits : 16);
    bs_skip_bits_utility(bs, 1);
    return {coding_type, bs_get_1bit_utility(bs)};
}

// Finds and reads the first VOP header; the arguments are those of the exported functions.
int32_t find_vop(const uint8_t *data, uint32_t length, const ZevVideoParam *param, const uint32_t *out,
                 VopHeader *vop) {
    if (data == nullptr || param == nullptr || out == nullptr) return VIDHDR_ERR_INVALID_ARG;
    bs_utility bs;
    if (!open_behind_start_code(&bs, data, length, length, kVop, kVop)) return VIDHDR_ERR_NO_VOP;
    *vop = parse_vop(&bs, *param);
    return VIDHDR_OK;
}

}  // namespace

void mpeg4_read_quant_matrix(bs_utility *bs, uint8_t (&matrix)[64]) {
    uint8_t last = 0;
    bool ended = false;
    for (const uint16_t raster : zigzag_scan_table_utitlity) {
        const uint32_t value = ended ? 0 : bs_get_bits_utility(bs, 8);
        if (value == 0) {
            ended = true;
        } else {
            last = static_cast<uint8_t>(value);
        }
        matrix[raster] = last;
    }
}

int32_t mpeg4_find_vol(const uint8_t *data, uint32_t length, uint32_t search_limit, ZevVideoParam *param) {
    *param = {};
    bs_utility bs;
    if (!open_behind_start_code(&bs, data, length, search_limit, kVolFirst, kVolLast)) {
        return VIDHDR_ERR_NO_VOL;
    }
    return parse_vol(&bs, param);
}

}  // namespace quorv

int32_t ZEV_MPEG4_GetVideoParam(const uint8_t *data, uint32_t length, ZevVideoParam *param) {
    if (data == nullptr || param == nullptr) return VIDHDR_ERR_INVALID_ARG;
    return quorv::mpeg4_find_vol(data, length, length, param);
}

int32_t ZEV_MPEG4_GetVopType(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                             uint32_t *not_coded) {
    quorv::VopHeader vop;
    const int32_t result = quorv::find_vop(data, length, param, not_coded, &vop);
    if (result == VIDHDR_OK) *not_coded = 1 - vop.coded;
    return result;
}

int32_t ZEV_MPEG4_GetVop_IPB(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                             uint32_t *coding_type) {
    quorv::VopHeader vop;
    const int32_t result = quorv::find_vop(data, length, param, coding_type, &vop);
    if (result != VIDHDR_OK) return result;
    *coding_type = VIDHDR_VOP_NOT_CODED;
    if (vop.coded != 0) *coding_type = vop.coding_type;
    return VIDHDR_OK;
}
