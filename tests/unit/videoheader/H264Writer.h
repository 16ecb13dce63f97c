// Writes H.264 sequence parameter sets and slice headers field by field and says what a parser must make of
// them.
#ifndef QUORV_TESTS_UNIT_VIDEOHEADER_H264WRITER_H
#define QUORV_TESTS_UNIT_VIDEOHEADER_H264WRITER_H

#include <quorv/video_header.h>

#include <random>

#include "support/BitWriter.h"
#include "support/VideoHeaders.h"

namespace quorv::test {

struct SpsTruth {
    uint32_t result = VIDHDR_OK;
    bool has_size = true;
    uint32_t width = 0, height = 0;
};

// A sequence parameter set, now and then with a value that is refused.
inline SpsTruth write_random_sps(BitWriter &out, std::mt19937 &random) {
    const auto up_to = [&random](uint32_t most) { return static_cast<uint32_t>(random() % (most + 1)); };
    const auto rarely = [&random] { return random() % 16 == 0; };
    SpsTruth truth;
    const auto refuse_if = [&truth](bool condition) {
        if (condition) truth = {VIDHDR_H264_ERR, false};
    };
    const auto limited = [&](uint32_t limit) {
        const uint32_t value = up_to(rarely() ? limit + 8 : limit);
        out.ue(value);
        refuse_if(value > limit);
    };
    const uint32_t kind = rarely() ? up_to(31) : 7, flags = rarely() ? up_to(255) : up_to(15) << 4;
    const uint32_t profile = rarely() ? up_to(255) : random() % 2 != 0 ? 66 : 77;
    out.put(1, 24);
    out.put(up_to(7) << 5 | kind, 8);
    out.put(profile, 8);
    out.put(flags, 8);  // six constraints and two reserved bits
    out.put(30, 8);
    refuse_if(kind != 7 || (profile != 66 && profile != 77) || (flags & 0x0F) != 0);
    limited(31);  // id
    limited(12);  // frame number bits
    const uint32_t order_count_type = up_to(3);
    out.ue(order_count_type);
    if (order_count_type == 0) limited(12);
    if (order_count_type == 1) {
        const uint32_t count = up_to(rarely() ? 260 : 4);
        out.put(1, 1);
        out.se(-5);
        out.se(70000);
        out.ue(count);
        for (uint32_t i = 0; i < count; ++i)
            out.se(static_cast<int32_t>(random()) >> random() % 32);
        refuse_if(count > 255);
    }
    limited(16);  // reference frames
    out.put(1, 1);
    const uint32_t width_mbs = 1 + up_to(rarely() ? 1u << 28 : 500), height_units = 1 + up_to(500);
    const bool frames_only = random() % 2 != 0, cropped = random() % 2 != 0;
    out.ue(width_mbs - 1);
    out.ue(height_units - 1);
    out.put(frames_only, 1);
    if (!frames_only) out.put(1, 1);
    out.put(1, 1);
    out.put(cropped, 1);
    uint32_t width = width_mbs * 16, height = height_units * (frames_only ? 16 : 32);
    for (int side = 0; cropped && side < 4; ++side) {
        uint32_t &size = side < 2 ? width : height;
        const uint32_t all = size / 2;  // nothing left: stored, then refused
        const uint32_t crop = rarely() ? all : up_to(rarely() ? 1u << 30 : 8);
        out.ue(crop);
        size -= 2 * crop;
    }
    out.put(3, 2);
    if (!truth.has_size) return truth;
    return {width == 0 || height == 0 ? uint32_t{VIDHDR_H264_ERR} : 0, true, width, height};
}

// A NAL unit of a slice, without start code.
inline Bytes slice_bytes(uint32_t nal_header, uint32_t first_mb, uint32_t slice_type) {
    BitWriter out;
    out.put(nal_header, 8);
    out.ue(first_mb);
    out.ue(slice_type);
    out.put(0xFFFF, 16);
    return out.data();
}

}  // namespace quorv::test

#endif
