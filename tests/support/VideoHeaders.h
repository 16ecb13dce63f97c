// The few video headers that container tests need in their frames.
#ifndef QUORV_TESTS_SUPPORT_VIDEOHEADERS_H
#define QUORV_TESTS_SUPPORT_VIDEOHEADERS_H

#include "support/BitWriter.h"
#include "support/ByteStores.h"

namespace quorv::test {

// A video object layer of MPEG-4 Part 2, of simple objects (1) or advanced simple ones (17), as ISO/IEC
// 14496-2 6.2.3 writes it, with its start code and the stuffing that ends it.
inline Bytes mpeg4_vol(uint32_t width, uint32_t height, uint32_t object_type = 1) {
    return bits(
        "32:0x120 random_access=1:0 type=8:" + std::to_string(object_type) +
        " id=1:0 aspect=4:1 control=1:0 shape=2:0 1:1 rate=16:25 1:1 "
        "fixed=1:0 1:1 "
        "13:" +
        std::to_string(width) + " 1:1 13:" + std::to_string(height) +
        " 1:1 interlaced=1:0 obmc_disable=1:1 sprite=1:0 not_8_bit=1:0 quant_type=1:0 complexity_disable=1:1 "
        "resync_disable=1:1 partitioned=1:0 scalable=1:0 9:0x7F");
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
    std::string fields = "32:0x1B6 2:" + std::to_string(vop.coding_type);
    for (uint32_t i = 0; i < vop.seconds; ++i)
        fields += " 1:1";
    return bits(fields + " 2:1 " + std::to_string(vop.increment_bits) + ":" + std::to_string(vop.increment) +
                " 1:1 " + (vop.coded ? "1:1" : "1:0"));
}

// Parameter sets of H.264 baseline profile (ITU-T H.264 7.3.2) behind Annex B start codes.
inline Bytes h264_sps(uint32_t width, uint32_t height) {
    return bits(
        "32:1 nal=8:0x67 profile=8:66 constraints=8:0xC0 level=8:10 id=u0 frame_number=u0 order=u2 "
        "references=u1 "
        "gaps=1:0 u" +
        std::to_string(width / 16 - 1) + " u" + std::to_string(height / 16 - 1) +
        " frames=1:1 direct=1:1 crop=1:0 vui=1:0 stop=1:1");
}
inline Bytes h264_pps() {
    // Ids 0, no CABAC, one slice group, one reference each, no weights, offsets 0, no deblocking control.
    return {0, 0, 0, 1, 0x68, 0b11001110, 0b00'111000, 0b1'0000000};
}

// A NAL unit of an H.264 slice, without start code.
inline Bytes slice_bytes(uint32_t nal_header, uint32_t first_mb, uint32_t slice_type) {
    return bits("8:" + std::to_string(nal_header) + " u" + std::to_string(first_mb) + " u" +
                std::to_string(slice_type) + " 16:0xFFFF");
}

}  // namespace quorv::test

#endif
