// The NAL units of an H.264 packet, between start codes or behind lengths, and their payloads (ITU-T H.264,
// 7.3.1 and annex B).
#ifndef QUORV_SRC_VIDEOHEADER_H264NAL_H
#define QUORV_SRC_VIDEOHEADER_H264NAL_H

#include <stddef.h>
#include <stdint.h>

#include "videoheader/BitReader.h"

namespace quorv {

// Begins with its header byte, which is always there; what follows a start code may lie before the end, too.
struct H264NalUnit {
    const uint8_t *begin;
    const uint8_t *end;
};

// Walks the units of a packet.
class H264NalUnits {
public:
    // Each unit stands behind a big-endian length of 1 to 4 bytes; 0 for start codes.
    H264NalUnits(const uint8_t *begin, const uint8_t *end, uint32_t length_bytes)
        : position_(begin), end_(end), length_bytes_(length_bytes) {}

    bool next(H264NalUnit *unit);
    // Behind the unit that came last, or its header byte in a stream with start codes.
    const uint8_t *position() const { return position_; }

private:
    bool next_behind_length(H264NalUnit *unit);

    const uint8_t *position_;
    const uint8_t *end_;
    uint32_t length_bytes_;
};

// The beginning of a unit's payload without the emulation prevention bytes.
class H264Payload {
public:
    explicit H264Payload(const H264NalUnit &unit);
    bs_utility reader() const;
    uint32_t size() const { return size_; }

private:
    // No valid parameter set or slice header is longer.
    static constexpr uint32_t kCapacity = 4096;

    uint8_t bytes_[kCapacity];
    uint32_t size_ = 0;
};

}  // namespace quorv

#endif
