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

}  // namespace quorv::test

#endif
