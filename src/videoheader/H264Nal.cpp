// The NAL units of an H.264 packet; see the header.

#include "videoheader/H264Nal.h"

#include "videoheader/StartCode.h"

namespace quorv {

bool H264NalUnits::next(H264NalUnit *unit) {
    if (length_bytes_ != 0) return next_behind_length(unit);
    const uint8_t *at = find_start_code(position_, end_);
    if (end_ - at <= ptrdiff_t{kStartCodePrefixBytes}) return false;
    position_ = at + kStartCodePrefixBytes;
    *unit = {position_, end_};
    return true;
}

bool H264NalUnits::next_behind_length(H264NalUnit *unit) {
    for (;;) {
        if (static_cast<size_t>(end_ - position_) <= length_bytes_) return false;
        uint64_t length = 0;
        for (uint32_t i = 0; i < length_bytes_; ++i)
            length = length << 8 | *position_++;
        if (static_cast<size_t>(end_ - position_) < length) return false;
        *unit = {position_, position_ + length};
        position_ = unit->end;
        if (length != 0) return true;
    }
}

H264Payload::H264Payload(const H264NalUnit &unit) {
    uint32_t zeros = 0;
    for (const uint8_t *p = unit.begin + 1; p != unit.end && size_ < kCapacity; ++p) {
        if (zeros >= 2) {
            if (*p < 3) break;  // the next start code, or zeros in front of it
            zeros = 0;
            if (*p == 3) continue;
        }
        zeros = *p == 0 ? zeros + 1 : 0;
        bytes_[size_++] = *p;
    }
}

bs_utility H264Payload::reader() const {
    bs_utility bs;
    bs_open_utility(&bs, bytes_, size_);
    return bs;
}

}  // namespace quorv
