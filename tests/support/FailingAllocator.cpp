// The wrapped heap functions and the books they keep; see the header.

#include "support/FailingAllocator.h"

#include <stdio.h>
#include <stdlib.h>

#include <mutex>
#include <unordered_map>

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *ptr, size_t size);
void __real_free(void *ptr);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *ptr, size_t size);
void __wrap_free(void *ptr);
}

namespace quorv::test {
namespace {

struct Books {
    std::mutex mutex;
    bool active = false;
    uint64_t fail_at = 0;
    FailureSpan span = FailureSpan::Once;
    uint64_t calls = 0;
    bool has_failed = false;
    uint64_t live_bytes = 0;
    uint64_t peak_bytes = 0;
    std::unordered_map<void *, size_t> blocks;

    // Counts one allocation; false when it is one that must fail.
    bool admit() {
        ++calls;
        const bool fails =
            fail_at != 0 && (calls == fail_at || (span == FailureSpan::ForGood && calls > fail_at));
        has_failed |= fails;
        return !fails;
    }

    void add(void *ptr, size_t size) {
        if (ptr == nullptr) return;
        blocks[ptr] = size;
        live_bytes += size;
        if (live_bytes > peak_bytes) peak_bytes = live_bytes;
    }

    // Blocks from before the watch began are not in the books.
    void remove(void *ptr) {
        const auto found = blocks.find(ptr);
        if (found == blocks.end()) return;
        live_bytes -= found->second;
        blocks.erase(found);
    }
};

// Never destroyed: blocks may be freed until the very end of the process.
Books &books() {
    static Books *const instance = new Books;
    return *instance;
}

}  // namespace

FailingAllocator::FailingAllocator(uint64_t fail_at, FailureSpan span) {
    Books &b = books();
    const std::lock_guard<std::mutex> lock(b.mutex);
    if (b.active) {
        fputs("FailingAllocator: only one may watch at a time\n", stderr);
        abort();
    }
    b.active = true;
    b.fail_at = fail_at;
    b.span = span;
    b.calls = b.live_bytes = b.peak_bytes = 0;
    b.has_failed = false;
    b.blocks.clear();
}

FailingAllocator::~FailingAllocator() {
    const std::lock_guard<std::mutex> lock(books().mutex);
    books().active = false;
}

uint64_t FailingAllocator::calls() const {
    return books().calls;
}
bool FailingAllocator::has_failed() const {
    return books().has_failed;
}
size_t FailingAllocator::live_blocks() const {
    return books().blocks.size();
}
uint64_t FailingAllocator::live_bytes() const {
    return books().live_bytes;
}
uint64_t FailingAllocator::peak_bytes() const {
    return books().peak_bytes;
}

}  // namespace quorv::test

using quorv::test::books;

void *__wrap_malloc(size_t size) {
    const std::lock_guard<std::mutex> lock(books().mutex);
    if (!books().active) return __real_malloc(size);
    if (!books().admit()) return nullptr;
    void *const ptr = __real_malloc(size);
    books().add(ptr, size);
    return ptr;
}

void *__wrap_calloc(size_t count, size_t size) {
    const std::lock_guard<std::mutex> lock(books().mutex);
    if (!books().active) return __real_calloc(count, size);
    if (!books().admit()) return nullptr;
    void *const ptr = __real_calloc(count, size);
    books().add(ptr, count * size);
    return ptr;
}

void *__wrap_realloc(void *ptr, size_t size) {
    const std::lock_guard<std::mutex> lock(books().mutex);
    if (!books().active) return __real_realloc(ptr, size);
    if (!books().admit()) return nullptr;
    void *const moved = __real_realloc(ptr, size);
    if (moved != nullptr) {
        if (ptr != nullptr) books().remove(ptr);
        books().add(moved, size);
    }
    return moved;
}

void __wrap_free(void *ptr) {
    const std::lock_guard<std::mutex> lock(books().mutex);
    if (books().active && ptr != nullptr) books().remove(ptr);
    __real_free(ptr);
}
