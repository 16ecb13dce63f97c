// Presentation times from decode times; see the header.

#include "media/PresentationOrder.h"

#include <algorithm>

#include "platform/MemoryOwner.h"
#include "videoheader/StartCode.h"

namespace quorv {
namespace {

// Calls back with each start code's value and what stands behind it.
template <typename Visit>
void for_each_start_code(const uint8_t *begin, const uint8_t *end, Visit visit) {
    for (const uint8_t *at = find_start_code(begin, end); end - at > ptrdiff_t{kStartCodePrefixBytes};
         at = find_start_code(at + kStartCodePrefixBytes, end)) {
        visit(at[kStartCodePrefixBytes], at + kStartCodePrefixBytes + 1);
    }
}

bool is_layer(uint8_t start_code) {
    return start_code >= kMpeg4FirstVol && start_code <= kMpeg4LastVol;
}

template <typename T>
T take_first(T *array, size_t *count) {
    const T first = array[0];
    std::copy(array + 1, array + *count, array);
    --*count;
    return first;
}

}  // namespace

// H.264 units behind lengths have no framing of their own.
PresentationOrder::Coding PresentationOrder::coding_of(const QuorvTrack &track) {
    if (track.codec == QUORV_CODEC_H264) return Coding::H264;
    return track.framing == QUORV_FRAMING_MPEG4_VISUAL ? Coding::Mpeg4 : Coding::Other;
}

PresentationOrder::PresentationOrder(const QuorvTrack &track) : coding_(coding_of(track)) {
    const auto *data = static_cast<const uint8_t *>(track.codec_data);
    if (data == nullptr) return;
    if (coding_ == Coding::H264) h264_.read_codec_data(data, track.codec_data_size);
    if (coding_ != Coding::Mpeg4) return;
    const uint8_t *const end = data + track.codec_data_size;
    for_each_start_code(data, end, [&](uint8_t code, const uint8_t *header) {
        if (is_layer(code)) layer_ = mpeg4_read_layer(header, end);
    });
}

void PresentationOrder::push(const void *packet, size_t size, int64_t decode_us) {
    const auto *data = static_cast<const uint8_t *>(packet);
    const uint64_t number = pushed_++;
    this->packet(number) = {decode_us, false};
    bool has_picture = false;
    if (coding_ == Coding::H264) has_picture = push_h264(data, size);
    if (coding_ == Coding::Mpeg4) has_picture = push_mpeg4(data, size);
    if (!has_picture) {
        // It makes up for a packet with several pictures, or else its time is none of a picture's.
        if (waiting_count_ > slot_count_) add_slot();
        settle(number, decode_us);
    }
    while (pushed_ - taken_ == kMaxPending && !settled()) {
        show_next();
        last_shown_ = INT64_MIN;
    }
}

bool PresentationOrder::push_h264(const uint8_t *data, size_t size) {
    H264Picture picture;
    if (!h264_.read_packet(data, size, &picture)) return false;
    if (picture.starts_sequence) show_all();
    add_slot();
    add_picture(picture.order, picture.reorder_depth);
    return true;
}

// I-, P- and S-VOPs are shown in the order in which they come, and each B-VOP before the latest of them.
bool PresentationOrder::push_mpeg4(const uint8_t *data, size_t size) {
    const uint8_t *const end = data + size;
    bool has_picture = false;
    for_each_start_code(data, end, [&](uint8_t code, const uint8_t *header) {
        if (is_layer(code)) layer_ = mpeg4_read_layer(header, end);
        if (code != kMpeg4Vop) return;
        const Mpeg4Vop vop = mpeg4_read_vop(header, end, layer_.increment_bits);
        // Of what was packed with another picture there is one more than times.
        const bool fills_place = layer_.increment_bits != 0 && !vop.coded && waiting_count_ > slot_count_;
        if (fills_place) return;
        if (!has_picture) add_slot();
        has_picture = true;
        const bool b_vop = vop.coding_type == kMpeg4BVop;
        if (!b_vop) last_anchor_ += 2;
        add_picture(b_vop ? last_anchor_ - 1 : last_anchor_, layer_.reorders ? 1 : 0);
    });
    return has_picture;
}

void PresentationOrder::finish() {
    show_all();
}

bool PresentationOrder::settled() const {
    return pushed_ != taken_ && packets_[taken_ % kMaxPending].settled;
}

int64_t PresentationOrder::take() {
    return packet(taken_++).time_us;
}

void PresentationOrder::reset() {
    last_anchor_ = 0;
    pushed_ = taken_ = 0;
    waiting_count_ = slot_count_ = 0;
    last_shown_ = INT64_MIN;
}

bool PresentationOrder::reorders() const {
    return layer_.reorders || h264_.reorder_depth() != 0;
}

// The newest packet's time becomes one at which a picture is shown.
void PresentationOrder::add_slot() {
    slots_[slot_count_++] = packet(pushed_ - 1).time_us;
}

// A picture of the newest packet. When more wait than may come before a picture that is shown earlier,
// nothing can precede the first of them any more.
void PresentationOrder::add_picture(int64_t order, uint32_t depth) {
    if (order < last_shown_ && extra_depth_ < kMaxDepth) ++extra_depth_;
    Picture *const end = waiting_ + waiting_count_++;
    Picture *place = std::upper_bound(
        waiting_, end, order, [](int64_t value, const Picture &picture) { return value < picture.order; });
    std::copy_backward(place, end, end + 1);
    *place = {order, pushed_ - 1};
    const uint32_t allowed = std::min(depth + extra_depth_, kMaxDepth);
    while (waiting_count_ > allowed)
        show_next();
}

// Gives the first picture that waits the first time. In damaged streams there may be none.
void PresentationOrder::show_next() {
    const Picture picture = take_first(waiting_, &waiting_count_);
    last_shown_ = std::max(last_shown_, picture.order);
    const bool has_slot = slot_count_ != 0;
    settle(picture.packet, has_slot ? take_first(slots_, &slot_count_) : packet(picture.packet).time_us);
}

void PresentationOrder::show_all() {
    while (waiting_count_ != 0)
        show_next();
    last_shown_ = INT64_MIN;
}

// Does nothing for a packet of which another picture was shown before, taken by now or not.
void PresentationOrder::settle(uint64_t number, int64_t time_us) {
    if (number < taken_ || packet(number).settled) return;
    packet(number) = {time_us, true};
}

Code track_reorders(const QuorvTrack &track, bool *reorders) {
    *reorders = false;
    if (track.framing != QUORV_FRAMING_ANNEX_B && track.framing != QUORV_FRAMING_MPEG4_VISUAL)
        return Code::Ok;
    const Owned<PresentationOrder> order = make_owned<PresentationOrder>(track);
    if (order == nullptr) return Code::NoMemory;
    *reorders = order->reorders();
    return Code::Ok;
}

}  // namespace quorv
