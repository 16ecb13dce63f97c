// A log stream: a file with a message buffer in front of it.

#include "platform/LogStream.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "platform/MemoryOwner.h"
#include "platform/StreamKinds.h"

using namespace quorv;

void MLogStream::write(const void *data, uint32_t length) {
    if (failed == 0 && MStreamWrite(file, data, static_cast<int32_t>(length)) != static_cast<int32_t>(length))
        failed = 1;
}

void MLogStream::flush() {
    if (fill > 0) write(buffer, fill);
    fill = 0;
}

void MLogStream::print(const char *format, va_list arguments) {
    if (fill >= kLogTextThreshold) flush();
    va_list again;
    va_copy(again, arguments);
    int length = vsnprintf(buffer + fill, kLogBufferSize - fill, format, arguments);
    if (length >= static_cast<int>(kLogBufferSize - fill) && fill > 0) {
        flush();
        length = vsnprintf(buffer, kLogBufferSize, format, again);
    }
    va_end(again);
    if (length > 0) {
        const uint32_t room = kLogBufferSize - fill - 1;
        fill += std::min(static_cast<uint32_t>(length), room);
    }
    if (buffered == 0) flush();
}

void MLogStream::dump(const void *data, uint32_t length) {
    if (length >= kLogBufferSize) {
        flush();
        // In pieces that the stream's signed counts can hold.
        const auto *bytes = static_cast<const char *>(data);
        constexpr uint32_t kMaxPiece = 0x40000000;
        for (uint32_t left = length; left > 0;) {
            const uint32_t piece = std::min(left, kMaxPiece);
            write(bytes, piece);
            bytes += piece;
            left -= piece;
        }
    } else {
        if (length > kLogBufferSize - fill) flush();
        if (length > 0) memcpy(buffer + fill, data, length);
        fill += length;
    }
    if (buffered == 0) flush();
}

uint32_t quorv::open_log_stream(const char *path, uint32_t mode, MLogHandle *log) {
    if (log == nullptr) return ResultInvalidArg;
    *log = nullptr;
    if (path == nullptr) return ResultInvalidArg;
    Owned<MLogStream> made = make_owned<MLogStream>();
    if (made == nullptr) return ResultNoMemory;
    made->level_mask = 0xFFFFFFFF;
    made->enabled = 1;
    made->buffered = 1;
    made->file = MStreamOpenFromFileS(path, mode);
    if (made->file == nullptr) return ResultFailed;
    // The log has a buffer of its own; a second one would hide failed writes and hold back flushed text.
    file_stream_unbuffer(made->file);
    *log = made.release();
    return ResultOk;
}

void quorv::close_log_stream(MLogHandle log) {
    const Owned<MLogStream> own(log);
    own->flush();
    MStreamClose(own->file);
}
