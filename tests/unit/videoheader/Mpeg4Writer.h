// Writes MPEG-4 Part 2 headers field by field and says what a parser must make of them.
#ifndef QUORV_TESTS_UNIT_VIDEOHEADER_MPEG4WRITER_H
#define QUORV_TESTS_UNIT_VIDEOHEADER_MPEG4WRITER_H

#include <quorv/video_header.h>

#include <cstdint>
#include <random>
#include <vector>

#include "support/BitWriter.h"

namespace quorv::test {

// The fields of a video object layer header that have a branch or a result behind them. The others are
// written as ones, so that a parser that misses a branch goes astray.
struct VolFields {
    uint32_t start_code = 0x120;
    bool has_identifier = false;
    uint32_t verid = 1;  // written only with an identifier
    uint32_t aspect_ratio = 1;
    bool control_parameters = false, vbv_parameters = false;
    uint32_t shape = 0;
    uint32_t resolution = 25;
    bool fixed_rate = false;
    uint32_t width = 176, height = 144;
    bool obmc_disable = true;
    uint32_t sprite_enable = 0;
    bool not_8_bit = false;
    bool quant_type = false;
    std::vector<uint8_t> intra_matrix = {}, nonintra_matrix = {};  // empty: not loaded
    bool complexity_estimation_disable = true;
    bool data_partitioned = false;
    bool newpred = false, reduced_resolution = false;
    bool scalability = false;

    bool later_version() const { return has_identifier && verid != 1; }
};

struct VolTruth {
    int32_t result;
    ZevVideoParam param;
};

// The bits needed for every value below the resolution, at least one.
inline uint32_t count_increment_bits(uint32_t resolution) {
    uint32_t bits = 1;
    while ((uint64_t{1} << bits) < resolution)
        ++bits;
    return bits;
}

inline VolTruth vol_truth(const VolFields &vol) {
    if (vol.shape == 1 || vol.shape == 3) return {VIDHDR_ERR_UNSUPPORTED, {0, 0, 0}};
    const uint32_t bits = count_increment_bits(vol.resolution);
    if (vol.shape == 2) {
        const bool refused = vol.later_version() && vol.scalability;
        return {refused ? VIDHDR_ERR_UNSUPPORTED : VIDHDR_OK, {0, 0, bits}};
    }
    const bool refused = !vol.obmc_disable || !vol.complexity_estimation_disable || vol.scalability ||
                         (vol.later_version() && vol.reduced_resolution);
    return {refused ? VIDHDR_ERR_UNSUPPORTED : VIDHDR_OK, {vol.width, vol.height, bits}};
}

// Up to 64 values in transmission order; a shorter list is ended by a 0.
inline void write_matrix(BitWriter &out, const std::vector<uint8_t> &values) {
    out.put(values.empty() ? 0 : 1, 1);
    if (values.empty()) return;
    out.bytes(values);
    if (values.size() < 64) out.put(0, 8);
}

// The fields behind the size of a rectangular layer.
inline void write_vol_tools(BitWriter &out, const VolFields &vol) {
    out.put(1, 1);  // interlaced
    out.put(vol.obmc_disable, 1);
    out.put(vol.sprite_enable, vol.later_version() ? 2 : 1);
    const bool is_static = vol.sprite_enable == 1, is_gmc = vol.sprite_enable == 2;
    if (is_static) out.put(UINT32_MAX, 26), out.put(UINT32_MAX, 30);
    if (is_static || is_gmc) out.put(UINT32_MAX, 6 + 2 + 1);
    if (is_static) out.put(1, 1);
    out.put(vol.not_8_bit, 1);
    if (vol.not_8_bit) out.put(UINT32_MAX, 8);
    out.put(vol.quant_type, 1);
    if (vol.quant_type) {
        write_matrix(out, vol.intra_matrix);
        write_matrix(out, vol.nonintra_matrix);
    }
    if (vol.later_version()) out.put(1, 1);  // quarter_sample
    out.put(vol.complexity_estimation_disable, 1);
    out.put(1, 1);  // resync_marker_disable
    out.put(vol.data_partitioned, 1);
    if (vol.data_partitioned) out.put(1, 1);
    if (vol.later_version()) {
        out.put(vol.newpred, 1);
        if (vol.newpred) out.put(7, 3);
        out.put(vol.reduced_resolution, 1);
    }
    out.put(vol.scalability, 1);
}

inline void write_vol(BitWriter &out, const VolFields &vol) {
    out.put(vol.start_code, 32);
    out.put(0x1FF, 9);
    out.put(vol.has_identifier, 1);
    if (vol.has_identifier) out.put(vol.verid << 3 | 7, 7);
    out.put(vol.aspect_ratio, 4);
    if (vol.aspect_ratio == 15) out.put(0xFFFF, 16);
    out.put(vol.control_parameters, 1);
    if (vol.control_parameters) {
        out.put(7, 3);
        out.put(vol.vbv_parameters, 1);
        if (vol.vbv_parameters) out.put(UINT32_MAX, 32), out.put(UINT32_MAX, 32), out.put(UINT32_MAX, 15);
    }
    out.put(vol.shape, 2);
    out.marker();
    out.put(vol.resolution, 16);
    out.marker();
    out.put(vol.fixed_rate, 1);
    if (vol.fixed_rate) out.put(UINT32_MAX, static_cast<int>(count_increment_bits(vol.resolution)));
    if (vol.shape == 0) {
        out.marker();
        out.put(vol.width, 13);
        out.marker();
        out.put(vol.height, 13);
        out.marker();
        write_vol_tools(out, vol);
    } else {
        if (vol.later_version()) out.put(vol.scalability, 1);
        out.put(1, 1);
    }
}

inline std::vector<uint8_t> random_matrix(std::mt19937 &random) {
    std::vector<uint8_t> values(random() % 65);
    for (uint8_t &value : values)
        value = static_cast<uint8_t>(1 + random() % 255);
    return values;
}

inline VolFields random_vol(std::mt19937 &random) {
    const auto flag = [&random] { return random() % 2 != 0; };
    const auto rarely = [&random] { return random() % 8 == 0; };
    VolFields vol;
    vol.start_code = 0x120 + static_cast<uint32_t>(random() % 16);
    vol.has_identifier = flag();
    vol.verid = static_cast<uint32_t>(flag() ? random() % 16 : 2);
    vol.aspect_ratio = static_cast<uint32_t>(flag() ? 15 : random() % 15);
    vol.control_parameters = flag();
    vol.vbv_parameters = flag();
    vol.shape = static_cast<uint32_t>(rarely() ? random() % 4 : 0);
    vol.resolution = static_cast<uint32_t>(random() % 65536) >> random() % 16;
    vol.fixed_rate = flag();
    vol.width = static_cast<uint32_t>(random() % 8192);
    vol.height = static_cast<uint32_t>(random() % 8192);
    vol.obmc_disable = !rarely();
    vol.sprite_enable = static_cast<uint32_t>(random() % (vol.later_version() ? 4 : 2));
    vol.not_8_bit = flag();
    vol.quant_type = flag();
    vol.intra_matrix = random_matrix(random);
    vol.nonintra_matrix = random_matrix(random);
    vol.complexity_estimation_disable = !rarely();
    vol.data_partitioned = flag();
    vol.newpred = flag();
    vol.reduced_resolution = rarely();
    vol.scalability = rarely();
    return vol;
}

struct VopFields {
    uint32_t coding_type = 0;
    uint32_t seconds = 0;  // modulo_time_base
    uint32_t increment_bits = 5;
    uint32_t increment = 0;
    bool coded = true;
};

inline void write_vop(BitWriter &out, const VopFields &vop) {
    out.put(0x1B6, 32);
    out.put(vop.coding_type, 2);
    for (uint32_t i = 0; i < vop.seconds; ++i)
        out.put(1, 1);
    out.put(0, 1);
    out.marker();
    out.put(vop.increment, static_cast<int>(vop.increment_bits));
    out.marker();
    out.put(vop.coded, 1);
}

}  // namespace quorv::test

#endif
