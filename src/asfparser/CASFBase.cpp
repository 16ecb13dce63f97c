// Readers and typed reads; see the header.

#include "asfparser/CASFBase.h"

#include <string.h>

namespace quorv {

namespace {

uint32_t little_endian(const uint8_t *bytes, uint32_t count) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < count; ++i)
        value |= uint32_t{bytes[i]} << (8 * i);
    return value;
}

}  // namespace

CASFBase::~CASFBase() = default;

uint32_t CASFBase::CreateReader(StreamSource *reader, StreamAccess access) const {
    reader->callbacks = *source_;
    return reader->open(access);
}

uint32_t CASFBase::DestroyReader(StreamSource *reader) const {
    return reader->close();
}

uint64_t CASFBase::GetStreamSize(StreamSource *reader, uint32_t *code) const {
    int64_t length = 0;
    const uint32_t result = reader->size(&length);
    if (code != nullptr) *code = result;
    return result == 0 && length > 0 ? static_cast<uint64_t>(length) : 0;
}

int64_t CASFBase::MStreamTell_RO(StreamSource *reader) const {
    if (reader->position >= 0) return reader->position;
    int64_t position = 0;
    if (reader->tell(&position) != 0 || position < 0) return 0;
    reader->position = position;
    return position;
}

uint32_t CASFBase::MStreamSeek_RO(StreamSource *reader, SeekOrigin origin, int64_t offset) const {
    return reader->seek(origin, offset);
}

uint32_t CASFBase::SkipNBytes(StreamSource *reader, int32_t count) const {
    return MStreamSeek_RO(reader, SeekOrigin::Current, count);
}

uint32_t CASFBase::ReadData(StreamSource *reader, void *buffer, uint32_t count, uint32_t *delivered) const {
    const int64_t start = MStreamTell_RO(reader);
    uint32_t got = 0;
    const uint32_t code = delivered != nullptr ? reader->read_available(buffer, count, delivered)
                                               : reader->read_fully(buffer, count, &got);
    if (code != 0) MStreamSeek_RO(reader, SeekOrigin::Start, start);
    return code;
}

uint32_t CASFBase::ReadWORD(StreamSource *reader, uint16_t *value) const {
    uint8_t bytes[2];
    const uint32_t code = ReadData(reader, bytes, sizeof(bytes));
    if (code == 0) *value = static_cast<uint16_t>(little_endian(bytes, sizeof(bytes)));
    return code;
}

uint32_t CASFBase::ReadDWORD(StreamSource *reader, uint32_t *value) const {
    uint8_t bytes[4];
    const uint32_t code = ReadData(reader, bytes, sizeof(bytes));
    if (code == 0) *value = little_endian(bytes, sizeof(bytes));
    return code;
}

uint32_t CASFBase::ReadQWORD(StreamSource *reader, uint32_t *low, uint32_t *high) const {
    uint8_t bytes[8];
    const uint32_t code = ReadData(reader, bytes, sizeof(bytes));
    if (code != 0) return code;
    if (low != nullptr) *low = little_endian(bytes, 4);
    if (high != nullptr) *high = little_endian(bytes + 4, 4);
    return 0;
}

uint32_t CASFBase::ReadGUID(StreamSource *reader, AsfGuid *guid) const {
    uint32_t code = ReadDWORD(reader, &guid->first);
    if (code == 0) code = ReadWORD(reader, &guid->second);
    if (code == 0) code = ReadWORD(reader, &guid->third);
    if (code == 0) code = ReadData(reader, guid->rest, sizeof(guid->rest));
    return code;
}

bool CASFBase::CompareGUID(const AsfGuid &a, const AsfGuid &b) {
    return a.first == b.first && a.second == b.second && a.third == b.third &&
           memcmp(a.rest, b.rest, sizeof(a.rest)) == 0;
}

uint32_t CASFBase::ReadFromMemByType(const uint8_t *bytes, uint32_t *value, uint32_t type) {
    *value = 0;
    if (type > 3) return SPLITER_ERR_INVALID_PARAM;
    *value = little_endian(bytes, WidthOfType(type));
    return SPLITER_OK;
}

}  // namespace quorv
