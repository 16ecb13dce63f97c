// MPEG-4 Part 2 video object layer and video object plane headers (ISO/IEC 14496-2, 6.2.3 and 6.2.5).

#include "videoheader/Mpeg4Header.h"

#include <stddef.h>

#include <algorithm>
#include <bit>
#include <iterator>

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

constexpr uint32_t kShapeRectangular = 0;
constexpr uint32_t kShapeBinaryOnly = 2;
constexpr uint32_t kSpriteStatic = 1;
constexpr uint32_t kSpriteGmc = 2;
constexpr uint32_t kSimpleObject = 1;
constexpr uint32_t kExtendedAspectRatio = 15;
// Pixels' widths and heights by aspect_ratio_info (table 6-12).
constexpr uint8_t kPixelShapes[][2] = {{0, 0}, {1, 1}, {12, 11}, {10, 11}, {16, 11}, {40, 33}};
constexpr uint32_t kMaxIncrementBits = 16;

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

bool read_flag(bs_utility *bs) {
    return bs_get_1bit_utility(bs) != 0;
}

void skip_marker(bs_utility *bs) {
    bs_skip_bits_utility(bs, 1);
}

uint32_t time_increment_bits(uint32_t resolution) {
    return resolution < 2 ? 1 : static_cast<uint32_t>(std::bit_width(resolution - 1));
}

// The head of a layer, up to vol_control_parameters.
struct LayerHead {
    uint32_t verid = 1;
    bool low_delay;
    uint32_t pixel_width = 0, pixel_height = 0;
};

// Returns low_delay.
bool read_vol_control_parameters(bs_utility *bs) {
    bs_skip_bits_utility(bs, 2);  // chroma_format
    const bool low_delay = read_flag(bs);
    const bool vbv_parameters = read_flag(bs);
    if (!vbv_parameters) return low_delay;
    bs_skip_32bits_utility(bs);
    bs_skip_32bits_utility(bs);
    bs_skip_bits_utility(bs, 79 - 64);
    return low_delay;
}

LayerHead read_layer_head(bs_utility *bs) {
    LayerHead head;
    bs_skip_bits_utility(bs, 1);  // random_accessible_vol
    // Simple objects have no B-VOPs; others may have them unless they say that they do not.
    head.low_delay = bs_get_bits_utility(bs, 8) == kSimpleObject;
    const bool is_object_layer_identifier = read_flag(bs);
    if (is_object_layer_identifier) {
        head.verid = bs_get_bits_utility(bs, 4);
        bs_skip_bits_utility(bs, 3);  // video_object_layer_priority
    }
    const uint32_t aspect_ratio_info = bs_get_bits_utility(bs, 4);
    if (aspect_ratio_info == kExtendedAspectRatio) {
        head.pixel_width = bs_get_bits_utility(bs, 8);
        head.pixel_height = bs_get_bits_utility(bs, 8);
    } else if (aspect_ratio_info < std::size(kPixelShapes)) {
        head.pixel_width = kPixelShapes[aspect_ratio_info][0];
        head.pixel_height = kPixelShapes[aspect_ratio_info][1];
    }
    const bool vol_control_parameters = read_flag(bs);
    if (vol_control_parameters) head.low_delay = read_vol_control_parameters(bs);
    return head;
}

void skip_sprite(bs_utility *bs, uint32_t sprite_enable) {
    if (sprite_enable == kSpriteStatic) {
        // width, height, left and top, each with its marker
        for (int field = 0; field < 4; ++field)
            bs_skip_bits_utility(bs, 13 + 1);
    }
    if (sprite_enable == kSpriteStatic || sprite_enable == kSpriteGmc)
        bs_skip_bits_utility(bs, 6 + 2 + 1);  // warping points, accuracy, brightness change
    if (sprite_enable == kSpriteStatic) bs_skip_bits_utility(bs, 1);  // low_latency_sprite_enable
}

// Returns whether there are matrices.
bool read_quantisation(bs_utility *bs) {
    const bool not_8_bit = read_flag(bs);
    if (not_8_bit) bs_skip_bits_utility(bs, 4 + 4);  // quant_precision, bits_per_pixel
    const bool quant_type = read_flag(bs);
    if (!quant_type) return false;
    uint8_t matrix[64];
    for (int kind = 0; kind < 2; ++kind) {  // intra, nonintra
        const bool load_matrix = read_flag(bs);
        if (load_matrix) mpeg4_read_quant_matrix(bs, matrix);
    }
    return true;
}

// The size of a rectangular layer and, behind it, the tools, of which some are refused.
int32_t parse_rectangular(bs_utility *bs, uint32_t verid, ZevVideoParam *param, Mpeg4Layer *layer) {
    skip_marker(bs);
    param->width = bs_get_bits_utility(bs, 13);
    skip_marker(bs);
    param->height = bs_get_bits_utility(bs, 13);
    skip_marker(bs);
    layer->interlaced = read_flag(bs);
    const bool obmc_disable = read_flag(bs);
    if (!obmc_disable) return VIDHDR_ERR_UNSUPPORTED;
    const uint32_t sprite_enable = bs_get_bits_utility(bs, verid == 1 ? 1 : 2);
    skip_sprite(bs, sprite_enable);
    layer->global_motion = sprite_enable == kSpriteGmc;
    layer->matrices = read_quantisation(bs);
    if (verid != 1) layer->quarter_sample = read_flag(bs);
    const bool complexity_estimation_disable = read_flag(bs);
    if (!complexity_estimation_disable) return VIDHDR_ERR_UNSUPPORTED;
    bs_skip_bits_utility(bs, 1);  // resync_marker_disable
    const bool data_partitioned = read_flag(bs);
    if (data_partitioned) bs_skip_bits_utility(bs, 1);  // reversible_vlc
    if (verid != 1) {
        const bool newpred_enable = read_flag(bs);
        if (newpred_enable)
            bs_skip_bits_utility(bs, 2 + 1);  // requested_upstream_message_type, newpred_segment_type
        const bool reduced_resolution_vop_enable = read_flag(bs);
        if (reduced_resolution_vop_enable) return VIDHDR_ERR_UNSUPPORTED;
    }
    const bool scalability = read_flag(bs);
    return scalability ? VIDHDR_ERR_UNSUPPORTED : VIDHDR_OK;
}

int32_t parse_vol(bs_utility *bs, const LayerHead &head, ZevVideoParam *param, Mpeg4Layer *layer) {
    const uint32_t shape = bs_get_bits_utility(bs, 2);
    if (shape != kShapeRectangular && shape != kShapeBinaryOnly) return VIDHDR_ERR_UNSUPPORTED;
    skip_marker(bs);
    param->time_increment_bits = time_increment_bits(bs_get_16bits_utility(bs));
    skip_marker(bs);
    const bool fixed_vop_rate = read_flag(bs);
    if (fixed_vop_rate) bs_skip_bits_utility(bs, param->time_increment_bits);
    if (shape == kShapeRectangular) return parse_rectangular(bs, head.verid, param, layer);
    const bool scalability = head.verid != 1 && read_flag(bs);
    return scalability ? VIDHDR_ERR_UNSUPPORTED : VIDHDR_OK;
}

Mpeg4Vop parse_vop(bs_utility *bs, uint32_t increment_bits) {
    const uint32_t coding_type = bs_get_bits_utility(bs, 2);
    // modulo_time_base, one bit a second; zeros follow the data, so this ends.
    bool more = true;
    while (more)
        more = read_flag(bs);
    skip_marker(bs);
    bs_skip_bits_utility(bs, std::min(increment_bits, kMaxIncrementBits));
    skip_marker(bs);
    const bool coded = read_flag(bs);
    return {coding_type, coded};
}

// Finds and reads the first VOP header; the arguments are those of the exported functions.
int32_t find_vop(const uint8_t *data, uint32_t length, const ZevVideoParam *param, const uint32_t *out,
                 Mpeg4Vop *vop) {
    if (data == nullptr || param == nullptr || out == nullptr) return VIDHDR_ERR_INVALID_ARG;
    bs_utility bs;
    if (!open_behind_start_code(&bs, data, length, length, kMpeg4Vop, kMpeg4Vop)) return VIDHDR_ERR_NO_VOP;
    *vop = parse_vop(&bs, param->time_increment_bits);
    return VIDHDR_OK;
}

}  // namespace

Mpeg4Layer mpeg4_read_layer(const uint8_t *begin, const uint8_t *end) {
    bs_utility bs;
    bs_open_utility(&bs, begin, static_cast<uint32_t>(end - begin));
    const LayerHead head = read_layer_head(&bs);
    ZevVideoParam param = {};
    Mpeg4Layer layer = {};
    // What this library has no use for is of no consequence: what it needs stands in front of that.
    static_cast<void>(parse_vol(&bs, head, &param, &layer));
    layer.increment_bits = param.time_increment_bits;
    layer.reorders = !head.low_delay;
    layer.pixel_width = head.pixel_width;
    layer.pixel_height = head.pixel_height;
    return layer;
}

Mpeg4Vop mpeg4_read_vop(const uint8_t *begin, const uint8_t *end, uint32_t increment_bits) {
    bs_utility bs;
    bs_open_utility(&bs, begin, static_cast<uint32_t>(end - begin));
    return parse_vop(&bs, increment_bits);
}

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
    if (!open_behind_start_code(&bs, data, length, search_limit, kMpeg4FirstVol, kMpeg4LastVol)) {
        return VIDHDR_ERR_NO_VOL;
    }
    const LayerHead head = read_layer_head(&bs);
    Mpeg4Layer unused = {};
    return parse_vol(&bs, head, param, &unused);
}

}  // namespace quorv

int32_t ZEV_MPEG4_GetVideoParam(const uint8_t *data, uint32_t length, ZevVideoParam *param) {
    if (data == nullptr || param == nullptr) return VIDHDR_ERR_INVALID_ARG;
    return quorv::mpeg4_find_vol(data, length, length, param);
}

int32_t ZEV_MPEG4_GetVopType(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                             uint32_t *not_coded) {
    quorv::Mpeg4Vop vop;
    const int32_t result = quorv::find_vop(data, length, param, not_coded, &vop);
    if (result == VIDHDR_OK) *not_coded = vop.coded ? 0 : 1;
    return result;
}

int32_t ZEV_MPEG4_GetVop_IPB(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                             uint32_t *coding_type) {
    quorv::Mpeg4Vop vop;
    const int32_t result = quorv::find_vop(data, length, param, coding_type, &vop);
    if (result != VIDHDR_OK) return result;
    *coding_type = VIDHDR_VOP_NOT_CODED;
    if (vop.coded) *coding_type = vop.coding_type;
    return VIDHDR_OK;
}
