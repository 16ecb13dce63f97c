// The wrapped heap functions and the books they keep; see the header.

#include "support/FailingAllocator.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <mutex>
#include <unordered_map>

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *ptr, size_t size);
void __real_free(void *ptr);
}

namespace quorv::test {
namespace {

struct Books {
    std::mutex mutex;
    bool active = false;
    uint64_t fail_at = 0;
    FailureSpan span = FailureSpan::Once;
    uint64_t calls = 0, live_bytes = 0, peak_bytes = 0;
    bool has_failed = false;
    std::unordered_map<void *, size_t> blocks;

    // Blocks from before the watch began are not in the books.
    void remove(void *ptr) {
        const auto found = blocks.find(ptr);
        if (found == blocks.end()) return;
        live_bytes -= found->second;
        blocks.erase(found);
    }
    // One allocation, in place of a block or of none.
    template <typename Allocate>
    void *watch(void *old, size_t size, Allocate allocate) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!active) return allocate();
        ++calls;
        if (fail_at != 0 && (calls == fail_at || (span == FailureSpan::ForGood && calls > fail_at))) {
            has_failed = true;
            return nullptr;
        }
        void *const ptr = allocate();
        if (ptr == nullptr) return ptr;
        remove(old);
        blocks[ptr] = size;
        live_bytes += size;
        peak_bytes = std::max(peak_bytes, live_bytes);
        return ptr;
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
    if (b.active) abort();  // only one may watch at a time
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

bool FailingAllocator::has_failed() const {
    return books().has_failed;
}
size_t FailingAllocator::live_blocks() const {
    return books().blocks.size();
}
uint64_t FailingAllocator::peak_bytes() const {
    return books().peak_bytes;
}

}  // namespace quorv::test

using quorv::test::books;

extern "C" {
void *__wrap_malloc(size_t size) {
    return books().watch(nullptr, size, [=] {
        void *const ptr = __real_malloc(size);
        // So that what is not initialised is not zero by chance.
        if (ptr != nullptr && books().active) memset(ptr, 0xA5, size);
        return ptr;
    });
}

void *__wrap_calloc(size_t count, size_t size) {
    return books().watch(nullptr, count * size, [=] { return __real_calloc(count, size); });
}

void *__wrap_realloc(void *ptr, size_t size) {
    return books().watch(ptr, size, [=] { return __real_realloc(ptr, size); });
}

void __wrap_free(void *ptr) {
    const std::lock_guard<std::mutex> lock(books().mutex);
    if (books().active) books().remove(ptr);
    __real_free(ptr);
}
}
