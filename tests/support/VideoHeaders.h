// The few video headers that container tests need in their frames.
#ifndef QUORV_TESTS_SUPPORT_VIDEOHEADERS_H
#define QUORV_TESTS_SUPPORT_VIDEOHEADERS_H

#include "support/BitWriter.h"
#include "support/ByteStores.h"

namespace quorv::test {

// A video object layer of MPEG-4 Part 2, simple profile, as ISO/IEC 14496-2 6.2.3 writes it, with its start
// code and the stuffing that ends it.
inline Bytes mpeg4_vol(uint32_t width, uint32_t height) {
    BitWriter bits;
    bits.put(0x120, 32);
    // Simple object, no identifier, square pixels, no control parameters, rectangular, marker.
    bits.put(0b0'00000001'0'0001'0'00'1, 18);
    bits.put(25, 16);
    bits.put(0b1'0'1, 3);  // no fixed rate
    bits.put(width, 13);
    bits.marker();
    bits.put(height, 13);
    bits.marker();
    // obmc_disable, complexity_estimation_disable, resync_marker_disable; neither partitioned nor scalable.
    bits.put(0b0100011'00'0, 10);
    while (bits.bit_count() % 8 != 0)
        bits.put(1, 1);
    return bits.data();
}

struct VopFields {
    uint32_t coding_type = 0;
    uint32_t seconds = 0;  // modulo_time_base
    uint32_t increment_bits = 5;
    uint32_t increment = 0;
    bool coded = true;
};

// The header of a video object plane of MPEG-4 Part 2 with its start code.
inline Bytes vop_bytes(const VopFields &vop) {
    BitWriter out;
    out.put(0x1B6, 32);
    out.put(vop.coding_type, 2);
    for (uint32_t i = 0; i < vop.seconds; ++i)
        out.put(1, 1);
    out.put(0b01, 2);
    out.put(vop.increment, static_cast<int>(vop.increment_bits));
    out.marker();
    out.put(vop.coded, 1);
    return out.data();
}

// Parameter sets of H.264 baseline profile (ITU-T H.264 7.3.2) behind Annex B start codes.
inline Bytes h264_sps(uint32_t width, uint32_t height) {
    BitWriter bits;
    bits.put(1, 32);
    bits.put(0x6742C00A, 32);  // NAL header, profile 66, constraints, level 1
    for (const uint32_t value : {0u, 0u, 2u, 1u})
        bits.ue(value);  // id, frame number bits, order count type, reference frames
    bits.put(0, 1);
    bits.ue(width / 16 - 1);
    bits.ue(height / 16 - 1);
    bits.put(0b11001, 5);  // whole frames, 8x8 inference, no cropping, no VUI; stop bit
    return bits.data();
}

inline Bytes h264_pps() {
    // Ids 0, no CABAC, one slice group, one reference each, no weights, offsets 0, no deblocking control.
    return {0, 0, 0, 1, 0x68, 0b11001110, 0b00'111000, 0b1'0000000};
}

// A NAL unit of an H.264 slice, without start code.
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
