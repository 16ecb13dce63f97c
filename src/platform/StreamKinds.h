// The two kinds of stream behind MStream, and the file kind's own functions. The memory kind's are the public
// ZEVStreamMem* functions.
#ifndef QUORV_SRC_PLATFORM_STREAMKINDS_H
#define QUORV_SRC_PLATFORM_STREAMKINDS_H

#include <quorv/platform/stream.h>

#include <memory>

#include "platform/MemoryOwner.h"

namespace quorv {

constexpr uintptr_t kFileStream = 1;
constexpr uintptr_t kMemoryStream = 2;

static_assert(sizeof(void *) != 4 || sizeof(MStreamRecord) == 32);

inline bool is_file_stream(MStream stream) {
    return stream != nullptr && stream->kind == kFileStream;
}

inline bool is_memory_stream(MStream stream) {
    return stream != nullptr && stream->kind == kMemoryStream;
}

// A zeroed record of this kind; null when there is no memory.
[[nodiscard]] Owned<MStreamRecord> new_stream_record(uintptr_t kind);

struct CloseOwnedStream {
    void operator()(MStream stream) const { MStreamClose(stream); }
};
// For what is read: of a stream that was written to, the result of closing it counts.
using OwnedStream = std::unique_ptr<MStreamRecord, CloseOwnedStream>;

// The file kind of the MStream* function of the same name; the stream must be a file stream.
int32_t file_stream_read(MStream stream, void *buffer, size_t count);
int32_t file_stream_write(MStream stream, const void *buffer, size_t count);
int32_t file_stream_seek(MStream stream, uint32_t origin, intptr_t offset);
intptr_t file_stream_tell(MStream stream);
intptr_t file_stream_size(MStream stream);
int32_t file_stream_flush(MStream stream);
int32_t file_stream_close(MStream stream);

// Whether a read or write of this file has failed since it was opened; tells a failed read from the end.
[[nodiscard]] bool file_stream_failed(MStream stream);
// Takes the C library's buffer away: what is written goes to the system at once, and a write that fails comes
// back short. Before the first read or write only.
void file_stream_unbuffer(MStream stream);
// Brings what was written to the disk; false when not all of it got there.
[[nodiscard]] bool file_stream_sync(MStream stream);
// The system's number of the open file.
int file_stream_descriptor(MStream stream);
// A stream to a file that is new and that none but its owner may open; null when the path names anything.
[[nodiscard]] MStream create_private_file_stream(const char *path);

}  // namespace quorv

#endif
