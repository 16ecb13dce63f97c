// Writes bit strings, most significant bit first, and the few video headers that the container tests need.
#ifndef QUORV_TESTS_SUPPORT_BITWRITER_H
#define QUORV_TESTS_SUPPORT_BITWRITER_H

#include <stdint.h>

#include "support/ByteStores.h"

namespace quorv::test {

class BitWriter {
public:
    BitWriter &put(uint32_t value, unsigned bits) {
        for (; bits > 0; --bits)
            put_bit(value >> (bits - 1) & 1);
        return *this;
    }
    // Unsigned Exp-Golomb code, ue(v).
    BitWriter &golomb(uint32_t value) {
        unsigned bits = 0;
        while ((value + 1) >> (bits + 1) != 0)
            ++bits;
        return put(0, bits).put(value + 1, bits + 1);
    }
    // Ends with `first` and fills up to a whole byte with `rest`.
    Bytes finish(uint32_t first, uint32_t rest) {
        put_bit(first);
        while (used_ != 0)
            put_bit(rest);
        return bytes_;
    }

private:
    void put_bit(uint32_t bit) {
        if (used_ == 0)
            bytes_.push_back(0);
        bytes_.back() = static_cast<uint8_t>(bytes_.back() | bit << (7 - used_));
        used_ = (used_ + 1) % 8;
    }
    Bytes bytes_;
    unsigned used_ = 0;
};

// A video object layer of MPEG-4 Part 2, simple profile, as ISO/IEC 14496-2 6.2.3 writes it, start code
// 0x00000120 included.
inline Bytes mpeg4_vol(uint32_t width, uint32_t height, uint32_t ticks_per_second = 25) {
    BitWriter bits;
    bits.put(0x00000120, 32).put(0, 1).put(1, 8).put(0, 1).put(1, 4).put(0, 1).put(0, 2).put(1, 1);
    bits.put(ticks_per_second, 16).put(1, 1).put(0, 1).put(1, 1);
    bits.put(width, 13).put(1, 1).put(height, 13).put(1, 1);
    bits.put(0, 1).put(1, 1).put(0, 1).put(0, 1).put(0, 1).put(1, 1).put(1, 1).put(0, 1).put(0, 1);
    return bits.finish(0, 1);
}

// A sequence parameter set of H.264 (ITU-T H.264 7.3.2.1), baseline profile, with its Annex B start code.
inline Bytes h264_sps(uint32_t width, uint32_t height) {
    BitWriter bits;
    bits.put(0x00000001, 32).put(0x67, 8).put(66, 8).put(0xC0, 8).put(10, 8);
    bits.golomb(0).golomb(0).golomb(2).golomb(1).put(0, 1);
    bits.golomb(width / 16 - 1).golomb(height / 16 - 1).put(1, 1).put(1, 1).put(0, 1).put(0, 1);
    return bits.finish(1, 0);
}

inline Bytes h264_pps() {
    BitWriter bits;
    bits.put(0x00000001, 32).put(0x68, 8).golomb(0).golomb(0).put(0, 2).golomb(0).golomb(0).golomb(0);
    bits.put(0, 3).golomb(0).golomb(0).golomb(0).put(0, 3);
    return bits.finish(1, 0);
}

}  // namespace quorv::test

#endif
