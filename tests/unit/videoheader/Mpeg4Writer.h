// Writes MPEG-4 Part 2 headers field by field and says what a parser must make of them.
#ifndef QUORV_TESTS_UNIT_VIDEOHEADER_MPEG4WRITER_H
#define QUORV_TESTS_UNIT_VIDEOHEADER_MPEG4WRITER_H

#include <quorv/video_header.h>

#include <random>

#include "support/BitWriter.h"
#include "support/VideoHeaders.h"

namespace quorv::test {

struct VolTruth {
    int32_t result;
    ZevVideoParam param;
};

// A loaded matrix has up to 64 values in transmission order; a shorter list is ended by a 0.
inline void write_random_matrix(BitWriter &out, std::mt19937 &random) {
    const size_t count = random() % 65;
    out.put(count != 0, 1);
    for (size_t i = 0; i < count; ++i)
        out.put(static_cast<uint32_t>(1 + random() % 255), 8);
    if (count != 0 && count < 64) out.put(0, 8);
}

// A video object layer of any shape and version. The fields that have neither a branch nor a result behind
// them are ones, so that a parser that misses a branch goes astray.
inline VolTruth write_random_vol(BitWriter &out, std::mt19937 &random, uint32_t resolution) {
    const auto rarely = [&] { return random() % 8 == 0; };
    const auto flag = [&out](bool set) {
        out.put(set, 1);
        return set;
    };
    const auto any = [&] { return flag(random() % 2 != 0); };
    const auto field = [&](uint32_t limit, int bits) {
        const uint32_t value = static_cast<uint32_t>(random() % limit);
        out.put(value, bits);
        return value;
    };
    out.put(0x120 + static_cast<uint32_t>(random() % 16), 32);
    out.put(0x1FF, 9);
    bool later_version = false;
    if (any()) {
        later_version = field(rarely() ? 2 : 16, 4) != 1;
        out.put(7, 3);
    }
    const uint32_t aspect_ratio = field(16, 4);
    if (aspect_ratio == 15) out.put(0xFFFF, 16);
    if (any()) {  // control parameters
        out.put(7, 3);
        if (any()) out.put(UINT32_MAX, 32), out.put(UINT32_MAX, 32), out.put(UINT32_MAX, 15);
    }
    const uint32_t shape = field(rarely() ? 4 : 1, 2);
    out.marker();
    out.put(resolution, 16);
    out.marker();
    // The bits needed for every value below the resolution, at least one.
    const int increment_bits = resolution > 2 ? static_cast<int>(std::bit_width(resolution - 1)) : 1;
    if (any()) out.put(UINT32_MAX, increment_bits);
    VolTruth truth = {VIDHDR_OK, {0, 0, static_cast<uint32_t>(increment_bits)}};
    const auto refuse_if = [&truth](bool condition) {
        if (condition) truth.result = VIDHDR_ERR_UNSUPPORTED;
    };
    if (shape != 0) {
        refuse_if(later_version && flag(rarely()));  // scalability
        out.put(1, 1);
        return shape == 2 ? truth : VolTruth{VIDHDR_ERR_UNSUPPORTED, {0, 0, 0}};
    }
    out.marker();
    truth.param.width = field(8192, 13);
    out.marker();
    truth.param.height = field(8192, 13);
    out.marker();
    out.put(1, 1);                // interlaced
    refuse_if(!flag(!rarely()));  // obmc_disable
    const uint32_t sprite = field(later_version ? 4 : 2, later_version ? 2 : 1);
    if (sprite == 1) out.put(UINT32_MAX, 26), out.put(UINT32_MAX, 30);
    if (sprite == 1 || sprite == 2) out.put(UINT32_MAX, 6 + 2 + 1);
    if (sprite == 1) out.put(1, 1);
    if (any()) out.put(UINT32_MAX, 8);  // not_8_bit
    if (any()) {                        // quant_type
        write_random_matrix(out, random);
        write_random_matrix(out, random);
    }
    if (later_version) out.put(1, 1);  // quarter_sample
    refuse_if(!flag(!rarely()));       // complexity_estimation_disable
    out.put(1, 1);                     // resync_marker_disable
    if (any()) out.put(1, 1);          // data_partitioned
    if (later_version) {
        if (any()) out.put(7, 3);   // newpred
        refuse_if(flag(rarely()));  // reduced resolution
    }
    refuse_if(flag(rarely()));  // scalability
    return truth;
}

struct VopFields {
    uint32_t coding_type = 0;
    uint32_t seconds = 0;  // modulo_time_base
    uint32_t increment_bits = 5;
    uint32_t increment = 0;
    bool coded = true;
};

inline Bytes vop_bytes(const VopFields &vop) {
    BitWriter out;
    out.put(0x1B6, 32);
    out.put(vop.coding_type, 2);
    for (uint32_t i = 0; i < vop.seconds; ++i)
        out.put(1, 1);
    out.put(0, 1);
    out.marker();
    out.put(vop.increment, static_cast<int>(vop.increment_bits));
    out.marker();
    out.put(vop.coded, 1);
    return out.data();
}

}  // namespace quorv::test

#endif
