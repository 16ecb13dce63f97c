// The walk through a data packet; see the header.

#include "asfparser/AsfPacket.h"

#include "asfparser/CASFBase.h"

namespace quorv {

namespace {

constexpr uint32_t kErrorCorrectionPresent = 0x80;
constexpr uint32_t kErrorCorrectionLength = 0x0F;
constexpr uint32_t kMultiplePayloads = 0x01;
constexpr uint32_t kPayloadCount = 0x3F;
constexpr uint32_t kStreamNumber = 0x7F;
constexpr uint32_t kKeyFrame = 0x80;
// Values of the replicated data length that are no length of full replicated data.
constexpr uint32_t kNoReplicatedData = 0;
constexpr uint32_t kCompressedPayload = 1;
constexpr uint32_t kMinReplicatedData = 8;

constexpr uint32_t length_type(uint32_t flags, uint32_t shift) {
    return flags >> shift & 3;
}

}  // namespace

uint32_t AsfPacketWalk::field(uint32_t type) {
    const uint32_t width = CASFBase::WidthOfType(type);
    if (left() < width) {
        failed_ = true;
        at_ = size_;
        return 0;
    }
    uint32_t value = 0;
    static_cast<void>(CASFBase::ReadFromMemByType(bytes_ + at_, &value, type));  // no type is above 3
    at_ += width;
    return value;
}

void AsfPacketWalk::skip(uint32_t count) {
    if (left() < count) {
        failed_ = true;
        at_ = size_;
        return;
    }
    at_ += count;
}

Code AsfPacketWalk::read_header() {
    uint32_t length_flags = byte();
    if ((length_flags & kErrorCorrectionPresent) != 0) {
        skip(length_flags & kErrorCorrectionLength);
        length_flags = byte();
    }
    property_flags_ = byte();
    field(length_type(length_flags, 5));  // packet length, which is the same for all
    field(length_type(length_flags, 1));  // sequence
    padding_ = field(length_type(length_flags, 3));
    skip(4 + 2);  // send time, duration
    multiple_ = (length_flags & kMultiplePayloads) != 0;
    if (multiple_) {
        const uint32_t payload_flags = byte();
        payloads_left_ = payload_flags & kPayloadCount;
        payload_length_type_ = length_type(payload_flags, 6);
    }
    return code();
}

bool AsfPacketWalk::next(AsfPayload *payload) {
    if (payloads_left_ == 0) return false;
    --payloads_left_;
    const uint32_t first = byte();
    payload->stream_number = first & kStreamNumber;
    payload->key_frame = (first & kKeyFrame) != 0;
    if (!multiple_ && payload->stream_number != wanted_stream_) return false;
    read_payload(payload);
    return !failed_;
}

void AsfPacketWalk::read_payload(AsfPayload *payload) {
    payload->object_number = field(length_type(property_flags_, 4));
    payload->offset_into_object = field(length_type(property_flags_, 2));
    read_replicated_data(payload);
    payload->data_length = payload_length();
    payload->data_start = at_;
    skip(payload->data_length);
}

void AsfPacketWalk::read_replicated_data(AsfPayload *payload) {
    const uint32_t length = field(length_type(property_flags_, 0));
    payload->compressed = length == kCompressedPayload;
    payload->has_replicated_data = length >= kMinReplicatedData;
    payload->object_size = payload->time = payload->time_delta = 0;
    if (payload->compressed) {
        payload->time = payload->offset_into_object;
        payload->offset_into_object = 0;
        payload->time_delta = byte();
    } else if (payload->has_replicated_data && length <= left()) {
        const uint32_t end = at_ + length;
        payload->object_size = field(3);
        payload->time = field(3);
        at_ = end;
    } else if (length != kNoReplicatedData) {
        failed_ = true;
    }
}

uint32_t AsfPacketWalk::payload_length() {
    if (multiple_) return field(payload_length_type_);
    if (left() < padding_) {
        failed_ = true;
        return 0;
    }
    return left() - padding_;
}

}  // namespace quorv
