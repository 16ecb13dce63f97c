// Readers and typed reads; see the header.

#include "asfparser/CASFBase.h"

#include <string.h>

#include "splitter/ByteOrder.h"

namespace quorv {

AsfReader::~AsfReader() {
    CASFBase::DestroyReader(this);
}

CASFBase::~CASFBase() = default;

Code CASFBase::CreateReader(AsfReader *reader, StreamAccess access) {
    window_.enlarge(0);  // packets hold all tracks, so nothing is passed over
    reader->callbacks = *source_;
    reader->window = &window_;
    const Code code = reader->open(access);
    reader->is_open = code == Code::Ok;
    return code;
}

void CASFBase::DestroyReader(AsfReader *reader) {
    if (reader->is_open) static_cast<void>(reader->close());
    reader->is_open = false;
}

uint64_t CASFBase::GetStreamSize(StreamSource *reader, Code *code) {
    int64_t length = 0;
    const Code result = reader->size(&length);
    if (code != nullptr) *code = result;
    return result == Code::Ok && length > 0 ? static_cast<uint64_t>(length) : 0;
}

int64_t CASFBase::MStreamTell_RO(StreamSource *reader) {
    if (reader->position >= 0) return reader->position;
    int64_t position = 0;
    if (reader->tell(&position) != Code::Ok || position < 0) return 0;
    reader->position = position;
    return position;
}

Code CASFBase::MStreamSeek_RO(StreamSource *reader, SeekOrigin origin, int64_t offset) {
    return reader->seek(origin, offset);
}

Code CASFBase::SkipNBytes(StreamSource *reader, int32_t count) {
    return MStreamSeek_RO(reader, SeekOrigin::Current, count);
}

Code CASFBase::MoveTo(StreamSource *reader, uint64_t position) {
    return reader->move_to(static_cast<int64_t>(position));
}

Code CASFBase::ReadData(StreamSource *reader, void *buffer, uint32_t count, uint32_t *delivered) {
    const int64_t start = MStreamTell_RO(reader);
    uint32_t got = 0;
    const Code code = delivered != nullptr ? reader->read_available(buffer, count, delivered)
                                           : reader->read_fully(buffer, count, &got);
    // The failure that counts is the first one.
    if (code != Code::Ok) static_cast<void>(MStreamSeek_RO(reader, SeekOrigin::Start, start));
    return code;
}

Code CASFBase::ReadInteger(StreamSource *reader, uint32_t width, uint64_t *value) {
    uint8_t bytes[8] = {};
    const Code code = ReadData(reader, bytes, width);
    if (code == Code::Ok) *value = load_le64(bytes);
    return code;
}

Code CASFBase::ReadWORD(StreamSource *reader, uint16_t *value) {
    uint64_t read = *value;
    const Code code = ReadInteger(reader, sizeof(*value), &read);
    *value = static_cast<uint16_t>(read);
    return code;
}

Code CASFBase::ReadDWORD(StreamSource *reader, uint32_t *value) {
    uint64_t read = *value;
    const Code code = ReadInteger(reader, sizeof(*value), &read);
    *value = static_cast<uint32_t>(read);
    return code;
}

Code CASFBase::ReadQWORD(StreamSource *reader, uint32_t *low, uint32_t *high) {
    uint64_t read = 0;
    const Code code = ReadInteger(reader, sizeof(read), &read);
    if (code != Code::Ok) return code;
    if (low != nullptr) *low = static_cast<uint32_t>(read);
    if (high != nullptr) *high = static_cast<uint32_t>(read >> 32);
    return Code::Ok;
}

Code CASFBase::ReadGUID(StreamSource *reader, AsfGuid *guid) {
    Code code = ReadDWORD(reader, &guid->first);
    if (code != Code::Ok) return code;
    code = ReadWORD(reader, &guid->second);
    if (code != Code::Ok) return code;
    code = ReadWORD(reader, &guid->third);
    if (code != Code::Ok) return code;
    return ReadData(reader, guid->rest, sizeof(guid->rest));
}

bool CASFBase::CompareGUID(const AsfGuid &a, const AsfGuid &b) {
    return a.first == b.first && a.second == b.second && a.third == b.third &&
           memcmp(a.rest, b.rest, sizeof(a.rest)) == 0;
}

Code CASFBase::ReadFromMemByType(const uint8_t *bytes, uint32_t *value, uint32_t type) {
    *value = 0;
    switch (type) {
        case 0:
            return Code::Ok;
        case 1:
            *value = bytes[0];
            return Code::Ok;
        case 2:
            *value = load_le16(bytes);
            return Code::Ok;
        case 3:
            *value = load_le32(bytes);
            return Code::Ok;
        default:
            return Code::InvalidParam;
    }
}

}  // namespace quorv
