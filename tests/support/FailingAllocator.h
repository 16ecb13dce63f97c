// The heap as the library under test sees it: counts what is held, fills what malloc gives and makes an
// allocation fail on demand.
// It works on malloc, calloc, realloc and free of everything linked into the test executable, through the
// linker's symbol wrapping; the C++ runtime's own allocations pass it by.
#ifndef QUORV_TESTS_SUPPORT_FAILINGALLOCATOR_H
#define QUORV_TESTS_SUPPORT_FAILINGALLOCATOR_H

#include <stddef.h>
#include <stdint.h>

namespace quorv::test {

enum class FailureSpan { Once, ForGood };

// Watches the heap while it lives; one at a time in a process.
class FailingAllocator {
public:
    // The fail_at-th allocation from now on gives null (counted from 1; 0: none fails), with
    // FailureSpan::ForGood every later one, too.
    explicit FailingAllocator(uint64_t fail_at = 0, FailureSpan span = FailureSpan::Once);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator &) = delete;
    FailingAllocator &operator=(const FailingAllocator &) = delete;

    bool has_failed() const;      // whether an allocation was made to fail
    size_t live_blocks() const;   // blocks allocated since the start and not freed: the leaks, at the end
    uint64_t peak_bytes() const;  // the most bytes there have been in them at a time, as asked for
};

}  // namespace quorv::test

#endif
