// Fields of header objects; see the header.

#include "asfparser/AsfHeaderReader.h"

#include <algorithm>

namespace quorv {

AsfGuid AsfHeaderReader::guid() {
    AsfGuid value = {};
    if (good()) keep(CASFBase::ReadGUID(&source(), &value));
    return value;
}

AsfObjectHeader AsfHeaderReader::object_header() {
    AsfObjectHeader header = {};
    header.guid = guid();
    header.size = le64();
    return header;
}

void AsfHeaderReader::bytes(void *to, uint32_t count) {
    if (good() && count != 0) keep(CASFBase::ReadData(&source(), to, count));
}

uint32_t AsfHeaderReader::bytes_up_to(void *to, uint32_t capacity, uint32_t length) {
    const uint32_t wanted = std::min(capacity, length);
    uint32_t delivered = 0;
    if (good() && wanted != 0) keep(CASFBase::ReadData(&source(), to, wanted, &delivered));
    skip(length - wanted);
    return delivered;
}

void AsfHeaderReader::skip(uint64_t count) {
    if (!good() || count == 0) return;
    const uint64_t start = position();
    uint64_t room = static_cast<uint64_t>(INT64_MAX) - start;
    if (stream_size_ != 0) room = stream_size_ > start ? stream_size_ - start : 0;
    FieldReader::skip(std::min(count, room));
}

void AsfHeaderReader::move_to(uint64_t position) {
    if (good()) keep(CASFBase::MoveTo(&source(), position));
}

}  // namespace quorv
