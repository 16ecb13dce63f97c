// The byte reader of the AVI splitter and stream positioning; see the header.

#include "aviparser/AviUtils.h"

#include <stdio.h>
#include <stdlib.h>

#include <optional>

namespace quorv {

namespace {

// Reads one component of a composite reader; one that fails is read a second time, and that result ends the
// composite reader.
template <typename Read>
std::optional<Code> result_of_repetition(Read read) {
    if (read() == Code::Ok) return std::nullopt;
    return read();
}

using Reader32 = Code (*)(StreamSource *, uint32_t *);

// Assembles an integer of two components that are read one after the other; each lands at its shift.
template <typename Value>
Code read_pair(StreamSource *source, Value *value, Reader32 first, unsigned first_shift, Reader32 second,
               unsigned second_shift) {
    if (source == nullptr || value == nullptr) return Code::Ok;
    uint32_t part = 0;
    const std::optional<Code> at_first = result_of_repetition([&] { return first(source, &part); });
    if (at_first) return *at_first;
    *value = static_cast<Value>(Value{part} << first_shift);
    // A component that lost a part of its own reports success without a value.
    part = 0;
    const std::optional<Code> at_second = result_of_repetition([&] { return second(source, &part); });
    if (at_second) return *at_second;
    *value |= static_cast<Value>(Value{part} << second_shift);
    return Code::Ok;
}

}  // namespace

Code avi_get_byte(StreamSource *source, uint32_t *value) {
    if (source == nullptr) return Code::InvalidParam;
    uint8_t byte = 0;
    uint32_t delivered = 0;
    const Code code = source->read(&byte, 1, &delivered);
    *value = code == Code::Ok ? byte : 0;
    return code;
}

Code avi_get_le16(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_byte, 0, avi_get_byte, 8);
}

Code avi_get_be16(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_byte, 8, avi_get_byte, 0);
}

Code avi_get_le24(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_le16, 0, avi_get_byte, 16);
}

Code avi_get_be24(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_be16, 8, avi_get_byte, 0);
}

Code avi_get_le32(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_le16, 0, avi_get_le16, 16);
}

Code avi_get_be32(StreamSource *source, uint32_t *value) {
    return read_pair(source, value, avi_get_be16, 16, avi_get_be16, 0);
}

Code avi_get_le64(StreamSource *source, uint64_t *value) {
    return read_pair(source, value, avi_get_le32, 0, avi_get_le32, 32);
}

Code avi_get_be64(StreamSource *source, uint64_t *value) {
    return read_pair(source, value, avi_get_be32, 32, avi_get_be32, 0);
}

Code avi_get_buffer(StreamSource *source, void *buffer, uint32_t count) {
    if (source == nullptr) return Code::InvalidParam;
    uint32_t delivered = 0;
    return source->read(buffer, count, &delivered);
}

int64_t avi_url_fstell(StreamSource *source) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    int64_t position = 0;
    if (source->tell(&position) == Code::Ok) return position;
    return static_cast<int32_t>(to_public(source->tell(&position)));
}

Code avi_url_fsseek(StreamSource *source, SeekOrigin origin, int64_t offset) {
    if (source == nullptr) return Code::InvalidParam;
    return source->seek(origin, offset);
}

Code avi_url_fskip(StreamSource *source, int64_t count) {
    return avi_url_fsseek(source, SeekOrigin::Current, count);
}

int64_t avi_url_fsize(StreamSource *source) {
    if (source == nullptr) return SPLITER_ERR_INVALID_PARAM;
    int64_t length = 0;
    if (source->size(&length) == Code::Ok) return length;
    return static_cast<int32_t>(to_public(source->size(&length)));
}

void avi_assertion_failed(const char *text, const char *file) {
#ifdef __wasm__
    // A page has no stream for errors; it learns of a trap.
    (void)text, (void)file;
    __builtin_trap();
#else
    fprintf(stderr, "%s: assertion failed: %s\n", file, text);
    abort();
#endif
}

}  // namespace quorv
