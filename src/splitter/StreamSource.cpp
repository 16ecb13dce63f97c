// Typed calls into the caller's stream; see the header.

#include "splitter/StreamSource.h"

#include <string.h>

namespace quorv {

uint32_t StreamSource::open(StreamAccess access) {
    stream = 0;
    return callbacks.open(callbacks.user_context, &stream, static_cast<uint32_t>(access));
}

uint32_t StreamSource::close() {
    return callbacks.close(callbacks.user_context, stream);
}

uint32_t StreamSource::read(void *buffer, uint32_t count, uint32_t *delivered) {
    uint32_t got = count;
    const uint32_t code = callbacks.read(callbacks.user_context, stream, buffer, &got);
    // After a failure the buffer's contents mean nothing; a source that claims more than was asked for is lying.
    if (code != 0) got = 0;
    if (got > count) got = count;
    if (got < count) memset(static_cast<uint8_t *>(buffer) + got, 0, count - got);
    *delivered = got;
    return code;
}

uint32_t StreamSource::seek(SeekOrigin origin, int64_t offset) {
    return callbacks.seek(callbacks.user_context, stream, static_cast<uint16_t>(origin), offset);
}

uint32_t StreamSource::tell(int64_t *position) {
    *position = 0;
    return callbacks.tell(callbacks.user_context, stream, position);
}

uint32_t StreamSource::size(int64_t *length) {
    *length = 0;
    return callbacks.size(callbacks.user_context, stream, length);
}

}  // namespace quorv
