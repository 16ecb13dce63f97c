// A copy of some bytes between two inaccessible pages: a read past its end faults at once, and so does one
// before its start when the bytes fill whole pages or are placed at the front.
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
    enum class Edge { Front, Back };

    explicit GuardedBuffer(size_t capacity)
        : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), room_((capacity / page_ + 1) * page_) {
        void *map = mmap(nullptr, room_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) abort();
        base_ = static_cast<uint8_t *>(map) + page_;
        if (mprotect(base_, room_, PROT_READ | PROT_WRITE) != 0) abort();
    }
    ~GuardedBuffer() { munmap(base_ - page_, room_ + 2 * page_); }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    // Copies the bytes against one of the two pages; what was placed before becomes 0xFF, which no parser
    // may see.
    const uint8_t *place(std::span<const uint8_t> bytes, Edge edge = Edge::Back) {
        memset(base_, 0xFF, room_);
        uint8_t *const to = edge == Edge::Front ? base_ : base_ + room_ - bytes.size();
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
