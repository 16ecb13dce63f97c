// The picture order count of H.264; see the header. Counts are 32 bits wide in every valid stream; in others
// they wrap.

#include "videoheader/H264PictureOrder.h"

#include <algorithm>

namespace quorv {
namespace {

constexpr uint8_t kConfigurationVersion = 1;
constexpr size_t kConfigurationHead = 6;
constexpr uint32_t kConfigurationLength = 2;  // bytes in front of each parameter set

int32_t as_signed(uint32_t value) {
    return static_cast<int32_t>(value);
}

uint32_t as_unsigned(int32_t value) {
    return static_cast<uint32_t>(value);
}

// A picture's own count, of its top and its bottom field.
int32_t earlier_field(const H264Slice &slice, uint32_t top, uint32_t bottom) {
    if (slice.field) return as_signed(slice.bottom_field ? bottom : top);
    return std::min(as_signed(top), as_signed(bottom));
}

// The sum of the offsets of all reference frames up to this one in the order of decoding (8.2.1.2).
uint32_t expected_count(const H264Sps &sps, uint32_t frame) {
    if (frame == 0 || sps.cycle == 0) return 0;
    const uint32_t in_cycle = (frame - 1) % sps.cycle;
    uint32_t whole_cycle = 0, begun_cycle = 0;
    for (uint32_t i = 0; i < sps.cycle; ++i) {
        whole_cycle += as_unsigned(sps.offset_for_ref_frame[i]);
        if (i == in_cycle) begun_cycle = whole_cycle;
    }
    return (frame - 1) / sps.cycle * whole_cycle + begun_cycle;
}

// Some files have a configuration record, and start codes all the same.
bool begins_with_start_code(const uint8_t *data, size_t size) {
    return size > 4 && data[0] == 0 && data[1] == 0 && (data[2] == 1 || (data[2] == 0 && data[3] == 1));
}

}  // namespace

void H264PictureOrder::read_codec_data(const uint8_t *data, size_t size) {
    if (size > kConfigurationHead && data[0] == kConfigurationVersion) return read_configuration(data, size);
    H264NalUnits units(data, data + size, 0);
    for (H264NalUnit unit; units.next(&unit);)
        sets_.take(unit);
}

void H264PictureOrder::read_configuration(const uint8_t *data, size_t size) {
    const uint8_t *const end = data + size;
    length_bytes_ = (data[4] & 3) + 1u;
    uint32_t count = data[5] & 0x1F;
    const uint8_t *position = data + kConfigurationHead;
    // Sequence parameter sets, then picture parameter sets behind a count of their own.
    for (int list = 0; list < 2; ++list) {
        H264NalUnits units(position, end, kConfigurationLength);
        for (H264NalUnit unit; count > 0 && units.next(&unit); --count)
            sets_.take(unit);
        position = units.position();
        if (position == end) return;
        count = *position++;
    }
}

bool H264PictureOrder::read_packet(const uint8_t *data, size_t size, H264Picture *picture) {
    H264NalUnits units(data, data + size, begins_with_start_code(data, size) ? 0 : length_bytes_);
    H264Slice first = {};
    bool found = false, both_fields = false;
    for (H264NalUnit unit; !both_fields && units.next(&unit);) {
        sets_.take(unit);
        H264Slice slice;
        if (!h264_read_slice(unit, sets_, &slice)) continue;
        if (!found) {
            first = slice;
            found = true;
            const int32_t order = count(slice);
            *picture = {order, slice.idr || slice.resets_order, slice.sps->reorder_depth};
            if (!slice.field) return true;
        } else if (slice.field && slice.bottom_field != first.bottom_field) {
            count(slice);
            both_fields = true;
        }
    }
    if (found && !both_fields) picture->reorder_depth *= 2;
    return found;
}

// The count of a picture, whose own is that of its earlier field; it becomes the previous one.
int32_t H264PictureOrder::count(const H264Slice &slice) {
    if (slice.idr) previous_ = {};
    return slice.sps->order_type == 0 ? count_by_lsb(slice) : count_by_frame_num(slice);
}

int32_t H264PictureOrder::count_by_lsb(const H264Slice &slice) {
    const uint32_t range = uint32_t{1} << slice.sps->order_lsb_bits;
    const uint32_t lsb = slice.order_lsb, previous = previous_.order_lsb;
    uint32_t msb = previous_.order_msb;
    if (lsb < previous && previous - lsb >= range / 2) msb += range;
    if (lsb > previous && lsb - previous > range / 2) msb -= range;
    const uint32_t top = msb + lsb;
    const uint32_t bottom = top + as_unsigned(slice.delta_order_bottom);
    const int32_t order = earlier_field(slice, top, bottom);
    if (slice.resets_order) {
        // The picture's own count becomes 0, its top field's what that is later.
        previous_ = {0, slice.bottom_field ? 0 : top - as_unsigned(order), 0, 0};
        return 0;
    }
    if (slice.reference) {
        previous_.order_msb = msb;
        previous_.order_lsb = lsb;
    }
    return order;
}

int32_t H264PictureOrder::count_by_frame_num(const H264Slice &slice) {
    const H264Sps &sps = *slice.sps;
    uint32_t offset = previous_.frame_num_offset;
    if (previous_.frame_num > slice.frame_num) offset += uint32_t{1} << sps.frame_num_bits;
    uint32_t frame = sps.cycle == 0 ? 0 : offset + slice.frame_num;
    if (!slice.reference && frame > 0) --frame;
    uint32_t expected = expected_count(sps, frame);
    if (!slice.reference) expected += as_unsigned(sps.offset_for_non_ref_pic);
    const uint32_t top = expected + as_unsigned(slice.delta_order[0]);
    const uint32_t bottom =
        top + as_unsigned(sps.offset_for_top_to_bottom_field) + as_unsigned(slice.delta_order[1]);
    previous_.frame_num = slice.frame_num;
    previous_.frame_num_offset = offset;
    if (slice.resets_order) {
        previous_ = {};
        return 0;
    }
    return earlier_field(slice, top, bottom);
}

}  // namespace quorv
