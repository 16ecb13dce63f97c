// The two kinds of stream behind MStream, and the file kind's own functions. The memory kind's are the public
// ZEVStreamMem* functions.
#ifndef QUORV_SRC_PLATFORM_STREAMKINDS_H
#define QUORV_SRC_PLATFORM_STREAMKINDS_H

#include <quorv/platform/stream.h>

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
MStream new_stream_record(uintptr_t kind);

// The file kind of the MStream* function of the same name; the stream must be a file stream.
int32_t file_stream_read(MStream stream, void *buffer, size_t count);
int32_t file_stream_write(MStream stream, const void *buffer, size_t count);
int32_t file_stream_seek(MStream stream, uint32_t origin, intptr_t offset);
intptr_t file_stream_tell(MStream stream);
intptr_t file_stream_size(MStream stream);
int32_t file_stream_flush(MStream stream);
int32_t file_stream_close(MStream stream);

// Whether a read or write of this file has failed since it was opened; tells a failed read from the end.
bool file_stream_failed(MStream stream);
// Takes the C library's buffer away: what is written goes to the system at once, and a write that fails comes
// back short. Before the first read or write only.
void file_stream_unbuffer(MStream stream);

}  // namespace quorv

#endif
