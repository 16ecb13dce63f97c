// The stream functions: each passes the call to the stream's kind.

#include <quorv/platform/stream.h>

#include <algorithm>

#include "platform/MemoryOwner.h"
#include "platform/StreamKinds.h"

namespace quorv {
namespace {

constexpr int32_t kCopyChunk = 4096;

}  // namespace

Owned<MStreamRecord> new_stream_record(uintptr_t kind) {
    Owned<MStreamRecord> stream = make_owned<MStreamRecord>();
    if (stream != nullptr) stream->kind = kind;
    return stream;
}

}  // namespace quorv

using namespace quorv;

int32_t MStreamRead(MStream stream, void *buffer, int32_t count) {
    if (is_file_stream(stream) && count > 0)
        return file_stream_read(stream, buffer, static_cast<size_t>(count));
    return ZEVStreamMemRead(stream, buffer, count);
}

int32_t MStreamWrite(MStream stream, const void *buffer, int32_t count) {
    if (is_file_stream(stream) && count > 0)
        return file_stream_write(stream, buffer, static_cast<size_t>(count));
    return ZEVStreamMemWrite(stream, buffer, count);
}

int32_t MStreamSeek(MStream stream, uint32_t origin, intptr_t offset) {
    return is_file_stream(stream) ? file_stream_seek(stream, origin, offset)
                                  : ZEVStreamMemSeek(stream, origin, offset);
}

intptr_t MStreamTell(MStream stream) {
    return is_file_stream(stream) ? file_stream_tell(stream) : ZEVStreamMemTell(stream);
}

intptr_t MStreamGetSize(MStream stream) {
    return is_file_stream(stream) ? file_stream_size(stream) : ZEVStreamMemGetSize(stream);
}

intptr_t MStreamSetSize(MStream stream, intptr_t size) {
    if (is_file_stream(stream)) return -1;
    if (!is_memory_stream(stream)) return 0;
    const auto wanted = static_cast<uintptr_t>(std::max(size, intptr_t{0}));
    stream->size = std::min(wanted, stream->capacity);
    return static_cast<intptr_t>(stream->size);
}

int32_t MStreamFlush(MStream stream) {
    if (is_file_stream(stream)) return file_stream_flush(stream);
    return is_memory_stream(stream) ? 1 : 0;
}

int32_t MStreamClose(MStream stream) {
    return is_file_stream(stream) ? file_stream_close(stream) : ZEVStreamMemClose(stream);
}

int32_t MStreamCopy(MStream source, MStream destination, int32_t count) {
    const Owned<uint8_t[]> buffer = make_array<uint8_t>(kCopyChunk);
    if (buffer == nullptr) return 0;
    int32_t total = 0;
    while (total < count) {
        const int32_t got = MStreamRead(source, buffer.get(), std::min(count - total, kCopyChunk));
        const int32_t written = MStreamWrite(destination, buffer.get(), got);
        total += written;
        if (got == 0 || written < got) break;
    }
    return total;
}
