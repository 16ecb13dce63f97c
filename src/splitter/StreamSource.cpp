// Typed calls into the caller's stream; see the header.

#include "splitter/StreamSource.h"

#include <string.h>

#include <algorithm>

#include "splitter/ReadMark.h"

namespace quorv {

namespace {
constexpr int64_t kUnknownPosition = -1;

void clear_rest(void *buffer, uint32_t count, uint32_t delivered) {
    if (delivered < count) memset(static_cast<uint8_t *>(buffer) + delivered, 0, count - delivered);
}

}  // namespace

bool is_complete(const SplitterStreamSource *source) {
    return source != nullptr && source->open != nullptr && source->close != nullptr &&
           source->read != nullptr && source->seek != nullptr && source->tell != nullptr &&
           source->size != nullptr;
}

Code StreamSource::open(StreamAccess access) {
    stream = 0;
    position = kUnknownPosition;
    end_of_honesty = INT64_MAX;
    return Code{callbacks.open(callbacks.user_context, &stream, static_cast<uint32_t>(access))};
}

Code StreamSource::close() {
    return Code{callbacks.close(callbacks.user_context, stream)};
}

Code StreamSource::read_once(void *buffer, uint32_t count, uint32_t *delivered) {
    *delivered = 0;
    if (position >= end_of_honesty) return Code::Ok;
    if (position >= 0) count = static_cast<uint32_t>(std::min<int64_t>(count, end_of_honesty - position));
    uint32_t got = count;
    const Code code{callbacks.read(callbacks.user_context, stream, buffer, &got)};
    // After a failure the buffer's contents mean nothing; a source that claims more than was asked for lies.
    if (code != Code::Ok) got = 0;
    if (got > count) got = count;
    // Sources differ in where a read that fell short leaves them.
    int64_t behind = 0;
    const bool certain =
        position >= 0 && got == count && !__builtin_add_overflow(position, int64_t{got}, &behind);
    position = certain ? behind : kUnknownPosition;
    *delivered = got;
    return code;
}

Code StreamSource::read(void *buffer, uint32_t count, uint32_t *delivered) {
    const Code code = read_once(buffer, count, delivered);
    clear_rest(buffer, count, *delivered);
    return code;
}

Code StreamSource::read_available(void *buffer, uint32_t count, uint32_t *delivered) {
    const int64_t start = position;
    ReadMark mark(buffer, count);
    const Code code = read_repeatedly(buffer, count, delivered);
    const bool suspicious = code == Code::Ok && *delivered == count && mark.stands();
    mark.lift(*delivered);
    // Without a way back the suspicion cannot be proved.
    if (!suspicious || start < 0 || seek(SeekOrigin::Start, start) != Code::Ok) return code;
    return read_again(buffer, count, delivered);
}

// Once more, now that another value is where the mark was.
Code StreamSource::read_again(void *buffer, uint32_t count, uint32_t *delivered) {
    const int64_t start = position;
    fill_for_second_read(buffer, count);
    const Code code = read_repeatedly(buffer, count, delivered);
    const uint32_t written = written_by_second_read(buffer, count);
    if (code == Code::Ok && written < *delivered) {
        *delivered = written;
        end_of_honesty = start + int64_t{written};
        position = kUnknownPosition;
    }
    clear_rest(buffer, count, *delivered);
    return code;
}

Code StreamSource::read_repeatedly(void *buffer, uint32_t count, uint32_t *delivered) {
    uint32_t done = 0;
    *delivered = 0;
    while (done < count) {
        uint32_t got = 0;
        const Code code = read_once(static_cast<uint8_t *>(buffer) + done, count - done, &got);
        if (code != Code::Ok) return code;
        if (got == 0) break;
        done += got;
        *delivered = done;
    }
    return Code::Ok;
}

Code StreamSource::read_fully(void *buffer, uint32_t count, uint32_t *delivered) {
    const Code code = read_available(buffer, count, delivered);
    clear_rest(buffer, count, *delivered);
    return code;
}

Code StreamSource::seek(SeekOrigin origin, int64_t offset) {
    const Code code{callbacks.seek(callbacks.user_context, stream, static_cast<uint16_t>(origin), offset)};
    if (code != Code::Ok) {
        position = kUnknownPosition;
    } else if (origin == SeekOrigin::Start) {
        position = offset;
    } else if (position >= 0) {
        // A relative seek that leaves the range of positions is the source's to judge.
        if (__builtin_add_overflow(position, offset, &position)) position = kUnknownPosition;
    }
    return code;
}

Code StreamSource::move_to(int64_t offset) {
    if (offset >= 0 && position == offset) return Code::Ok;
    return seek(SeekOrigin::Start, offset);
}

Code StreamSource::tell(int64_t *result) {
    *result = 0;
    return Code{callbacks.tell(callbacks.user_context, stream, result)};
}

Code StreamSource::size(int64_t *length) {
    *length = 0;
    return Code{callbacks.size(callbacks.user_context, stream, length)};
}

}  // namespace quorv
