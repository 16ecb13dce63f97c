// The byte reader of the AVI splitter and stream positioning; see the header.

#include "aviparser/AviUtils.h"

namespace quorv {

namespace {

// Runs one component read of a composite reader, a second time when it fails.
template <typename Read>
uint32_t read_component(Read read, bool *failed) {
    uint32_t code = read();
    *failed = code != 0;
    return *failed ? read() : code;
}

using Reader32 = uint32_t (*)(StreamSource *, uint32_t *);

// Assembles an integer of two components that are read one after the other; each lands at its shift.
template <typename Value>
uint32_t read_pair(StreamSource *source, Value *value, Reader32 first, unsigned first_shift, Reader32 second,
                   unsigned second_shift) {
    if (source == nullptr || value == nullptr) return SPLITER_OK;
    uint32_t part = 0;
    bool failed = false;
    uint32_t code = read_component([&] { return first(source, &part); }, &failed);
    if (failed) return code;
    *value = static_cast<Value>(Value{part} << first_shift);
    // A component that lost a part of its own reports success without a value.
    part = 0;
    code = read_component([&] { return second(source, &part); }, &failed);
    if (failed) return code;
    *value |= static_cast<Value>(Value{part} << second_shift);
    return SPLITER_OK;
}

}  // namespace

uint32_t avi_get_byte(StreamSource *source, uint32_t *value) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    uint8_t byte = 0;
    uint32_t delivered = 0;
    const uint32_t code = source->read(&byte, 1, &delivered);
    *value = code == 0 ? byte : 0;
    return code;
}

uint32_t avi_get_le16(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_byte, 0, avi_get_byte, 8);
}

uint32_t avi_get_be16(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_byte, 8, avi_get_byte, 0);
}

uint32_t avi_get_le24(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_le16, 0, avi_get_byte, 16);
}

uint32_t avi_get_be24(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_be16, 8, avi_get_byte, 0);
}

uint32_t avi_get_le32(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_le16, 0, avi_get_le16, 16);
}

uint32_t avi_get_be32(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_be16, 16, avi_get_be16, 0);
}

uint32_t avi_get_le64(StreamSource *source, uint64_t *value) {
    return read_pair(source, value, avi_get_le32, 0, avi_get_le32, 32);
}

uint32_t avi_get_be64(StreamSource *source, uint64_t *value) {
    return read_pair(source, value, avi_get_be32, 32, avi_get_be32, 0);
}

uint32_t avi_get_buffer(StreamSource *source, void *buffer, uint32_t count) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    uint32_t delivered = 0;
    return source->read(buffer, count, &delivered);
}

int64_t avi_url_fstell(StreamSource *source) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    int64_t position = 0;
    if (source->tell(&position) == 0) return position;
    return static_cast<int32_t>(source->tell(&position));
}

uint32_t avi_url_fsseek(StreamSource *source, SeekOrigin origin, int64_t offset) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    return source->seek(origin, offset);
}

uint32_t avi_url_fskip(StreamSource *source, int64_t count) {
    return avi_url_fsseek(source, SeekOrigin::Current, count);
}

int64_t avi_url_fsize(StreamSource *source) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    int64_t length = 0;
    if (source->size(&length) == 0) return length;
    return static_cast<int32_t>(source->size(&length));
}

}  // namespace quorv
