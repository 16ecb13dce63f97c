// Writes H.264 sequence parameter sets and slice headers field by field and says what a parser must make of
// them.
#ifndef QUORV_TESTS_UNIT_VIDEOHEADER_H264WRITER_H
#define QUORV_TESTS_UNIT_VIDEOHEADER_H264WRITER_H

#include <quorv/video_header.h>

#include <cstdint>
#include <random>
#include <vector>

#include "support/BitWriter.h"

namespace quorv::test {

struct SpsFields {
    uint32_t nal_header = 0x67;
    uint32_t profile = 77;
    uint32_t flags = 0x40;  // six constraint flags and two reserved bits
    uint32_t id = 0;
    uint32_t log2_frame_num = 0;
    uint32_t poc_type = 2;
    uint32_t log2_poc_lsb = 0;
    std::vector<int32_t> poc_offsets = {};
    uint32_t ref_frames = 1;
    uint32_t width_mbs = 11, height_units = 9;
    bool frame_mbs_only = true;
    bool cropped = false;
    uint32_t left = 0, right = 0, top = 0, bottom = 0;
};

struct SpsTruth {
    uint32_t result;
    bool has_size;
    uint32_t width, height;
};

inline SpsTruth sps_truth(const SpsFields &sps) {
    const bool refused = (sps.nal_header & 0x1F) != 7 || (sps.profile != 66 && sps.profile != 77) ||
                         (sps.flags & 0x0F) != 0 || sps.id > 31 || sps.log2_frame_num > 12 ||
                         (sps.poc_type == 0 && sps.log2_poc_lsb > 12) ||
                         (sps.poc_type == 1 && sps.poc_offsets.size() > 255) || sps.ref_frames > 16;
    if (refused) return {VIDHDR_H264_ERR, false, 0, 0};
    uint32_t width = sps.width_mbs * 16, height = sps.height_units * (sps.frame_mbs_only ? 16 : 32);
    if (sps.cropped) {
        width -= 2 * (sps.left + sps.right);
        height -= 2 * (sps.top + sps.bottom);
    }
    return {width == 0 || height == 0 ? uint32_t{VIDHDR_H264_ERR} : 0, true, width, height};
}

inline void write_sps(BitWriter &out, const SpsFields &sps) {
    out.put(1, 24);
    out.put(sps.nal_header, 8);
    out.put(sps.profile, 8);
    out.put(sps.flags, 8);
    out.put(30, 8);
    out.ue(sps.id);
    out.ue(sps.log2_frame_num);
    out.ue(sps.poc_type);
    if (sps.poc_type == 0) {
        out.ue(sps.log2_poc_lsb);
    } else if (sps.poc_type == 1) {
        out.put(1, 1);
        out.se(-5);
        out.se(70000);
        out.ue(static_cast<uint32_t>(sps.poc_offsets.size()));
        for (const int32_t offset : sps.poc_offsets)
            out.se(offset);
    }
    out.ue(sps.ref_frames);
    out.put(1, 1);
    out.ue(sps.width_mbs - 1);
    out.ue(sps.height_units - 1);
    out.put(sps.frame_mbs_only, 1);
    if (!sps.frame_mbs_only) out.put(1, 1);
    out.put(1, 1);
    out.put(sps.cropped, 1);
    if (sps.cropped)
        for (const uint32_t offset : {sps.left, sps.right, sps.top, sps.bottom})
            out.ue(offset);
    out.put(3, 2);
}

inline SpsFields random_sps(std::mt19937 &random) {
    const auto up_to = [&random](uint32_t most) { return static_cast<uint32_t>(random() % (most + 1)); };
    const auto rarely = [&random] { return random() % 16 == 0; };
    SpsFields sps;
    sps.nal_header = up_to(7) << 5 | (rarely() ? up_to(31) : 7);
    sps.profile = rarely() ? up_to(255) : random() % 2 != 0 ? 66 : 77;
    sps.flags = rarely() ? up_to(255) : up_to(15) << 4;
    sps.id = up_to(rarely() ? 40 : 31);
    sps.log2_frame_num = up_to(rarely() ? 20 : 12);
    sps.poc_type = up_to(3);
    sps.log2_poc_lsb = up_to(rarely() ? 20 : 12);
    sps.poc_offsets.resize(up_to(rarely() ? 260 : 4));
    for (int32_t &offset : sps.poc_offsets)
        offset = static_cast<int32_t>(random()) >> random() % 32;
    sps.ref_frames = up_to(rarely() ? 20 : 16);
    sps.width_mbs = 1 + up_to(rarely() ? 1u << 28 : 500);
    sps.height_units = 1 + up_to(500);
    sps.frame_mbs_only = random() % 2 != 0;
    sps.cropped = random() % 2 != 0;
    for (uint32_t *offset : {&sps.left, &sps.right, &sps.top, &sps.bottom})
        *offset = up_to(rarely() ? 1u << 30 : 8);
    return sps;
}

// A NAL unit of a slice, without start code.
inline std::vector<uint8_t> slice_bytes(uint32_t nal_header, uint32_t first_mb, uint32_t slice_type) {
    BitWriter out;
    out.put(nal_header, 8);
    out.ue(first_mb);
    out.ue(slice_type);
    out.put(0xFFFF, 16);
    return out.data();
}

}  // namespace quorv::test

#endif
