// Sources that the library reads itself: files of the system, and memory.
#ifndef QUORV_SRC_MEDIA_SYSTEMSOURCES_H
#define QUORV_SRC_MEDIA_SYSTEMSOURCES_H

#include <quorv/quorv.h>

namespace quorv {

// What these sources answer when the system fails: cut to 32 bits, as callers get it, errno is left.
constexpr int64_t failure_of_errno(int number) {
    return INT64_MIN + number;
}

// Reads with pread; the descriptor stays the caller's.
QuorvSource descriptor_source(int fd);
// Closes its descriptor. QUORV_ERR_SOURCE: errno says why.
QuorvResult make_path_source(const char *path, QuorvSource *source);
QuorvResult make_memory_source(const void *data, size_t size, QuorvSource *source);

}  // namespace quorv

#endif
