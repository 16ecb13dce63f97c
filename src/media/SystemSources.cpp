// Sources that the library reads itself; see the header.

#include "media/SystemSources.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/MemoryOwner.h"

namespace quorv {

namespace {

struct MemoryBlock {
    const uint8_t *data;
    size_t size;
};

int descriptor_of(void *user) {
    return static_cast<int>(reinterpret_cast<intptr_t>(user));
}

int64_t read_descriptor(void *user, uint64_t offset, void *buffer, size_t size) {
    if (offset > INT64_MAX) return 0;
    ssize_t got = 0;
    do {
        got =
            pread(descriptor_of(user), buffer, std::min<size_t>(size, SSIZE_MAX), static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    return got >= 0 ? got : failure_of_errno(errno);
}

// Devices have a size, too, but do not tell it here.
int64_t descriptor_size(void *user) {
    struct stat status = {};
    if (fstat(descriptor_of(user), &status) != 0) return failure_of_errno(errno);
    return S_ISREG(status.st_mode) ? status.st_size : int64_t{QUORV_SOURCE_UNKNOWN};
}

int64_t read_memory(void *user, uint64_t offset, void *buffer, size_t size) {
    const auto *block = static_cast<const MemoryBlock *>(user);
    if (offset >= block->size) return 0;
    const size_t take = std::min(size, block->size - static_cast<size_t>(offset));
    memcpy(buffer, block->data + offset, take);
    return static_cast<int64_t>(take);
}

}  // namespace

QuorvSource descriptor_source(int fd) {
    return {reinterpret_cast<void *>(intptr_t{fd}), read_descriptor, descriptor_size, nullptr};
}

QuorvResult make_path_source(const char *path, QuorvSource *source) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return QUORV_ERR_SOURCE;
    *source = descriptor_source(fd);
    source->close = [](void *user) { close(descriptor_of(user)); };
    return QUORV_OK;
}

QuorvResult make_memory_source(const void *data, size_t size, QuorvSource *source) {
    Owned<MemoryBlock> block = make_owned<MemoryBlock>(static_cast<const uint8_t *>(data), size);
    if (block == nullptr) return QUORV_ERR_MEMORY;
    source->read_at = read_memory;
    source->size = [](void *user) { return static_cast<int64_t>(static_cast<MemoryBlock *>(user)->size); };
    source->close = [](void *user) { Owned<MemoryBlock>(static_cast<MemoryBlock *>(user)).reset(); };
    source->user = block.release();
    return QUORV_OK;
}

}  // namespace quorv
