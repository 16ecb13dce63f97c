// A copy of some bytes in front of an inaccessible page: a read past their end faults at once.
#ifndef QUORV_TESTS_UNIT_VIDEOHEADER_GUARDEDBUFFER_H
#define QUORV_TESTS_UNIT_VIDEOHEADER_GUARDEDBUFFER_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

namespace quorv::test {

class GuardedBuffer {
public:
    explicit GuardedBuffer(size_t capacity)
        : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), room_((capacity / page_ + 1) * page_) {
        void *map = mmap(nullptr, room_ + page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED || mprotect(map, room_, PROT_READ | PROT_WRITE) != 0) abort();
        base_ = static_cast<uint8_t *>(map);
    }
    ~GuardedBuffer() { munmap(base_, room_ + page_); }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    // Copies the bytes to the end; those in front of them become 0xFF.
    const uint8_t *place(std::span<const uint8_t> bytes) {
        memset(base_, 0xFF, room_);
        uint8_t *const to = base_ + room_ - bytes.size();
        if (!bytes.empty()) memcpy(to, bytes.data(), bytes.size());
        return to;
    }

private:
    size_t page_;
    size_t room_;
    uint8_t *base_;
};

}  // namespace quorv::test

#endif
