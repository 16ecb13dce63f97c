// Fields of header objects; see the header.

#include "asfparser/AsfHeaderReader.h"

#include <algorithm>

namespace quorv {

uint32_t AsfHeaderReader::word() {
    uint16_t value = 0;
    if (good()) code_ = base_.ReadWORD(&source_, &value);
    return value;
}

uint32_t AsfHeaderReader::dword() {
    uint32_t value = 0;
    if (good()) code_ = base_.ReadDWORD(&source_, &value);
    return value;
}

void AsfHeaderReader::qword(uint32_t *low, uint32_t *high) {
    *low = *high = 0;
    if (good()) code_ = base_.ReadQWORD(&source_, low, high);
}

AsfGuid AsfHeaderReader::guid() {
    AsfGuid value = {};
    if (good()) code_ = base_.ReadGUID(&source_, &value);
    return value;
}

AsfObjectHeader AsfHeaderReader::object_header() {
    AsfObjectHeader header = {};
    header.guid = guid();
    qword(&header.size, &header.size_high);
    return header;
}

void AsfHeaderReader::bytes(void *to, uint32_t count) {
    if (good() && count != 0) code_ = base_.ReadData(&source_, to, count);
}

uint32_t AsfHeaderReader::bytes_up_to(void *to, uint32_t capacity, uint32_t length) {
    const uint32_t wanted = std::min(capacity, length);
    uint32_t delivered = 0;
    if (good() && wanted != 0) code_ = base_.ReadData(&source_, to, wanted, &delivered);
    skip(length - wanted);
    return delivered;
}

void AsfHeaderReader::skip(uint64_t count) {
    if (!good() || count == 0) return;
    const uint64_t start = position();
    uint64_t room = static_cast<uint64_t>(INT64_MAX) - start;
    if (stream_size_ != 0) room = stream_size_ > start ? stream_size_ - start : 0;
    move_to(start + std::min(count, room));
}

void AsfHeaderReader::move_to(uint64_t position) {
    if (good()) code_ = source_.move_to(static_cast<int64_t>(position));
}

}  // namespace quorv
