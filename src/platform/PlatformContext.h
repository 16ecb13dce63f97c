// The process-wide context as the log and the trace stream see it, and the lock that guards their parts.
#ifndef QUORV_SRC_PLATFORM_PLATFORMCONTEXT_H
#define QUORV_SRC_PLATFORM_PLATFORMCONTEXT_H

#include <quorv/platform/context.h>
#include <quorv/platform/log.h>
#include <quorv/platform/thread.h>

namespace quorv {

static_assert(sizeof(void *) != 4 || sizeof(MPlatInitParams) == 28);
static_assert(sizeof(MPlatContext) == 16 * sizeof(void *));

// The context's fields are machine words; these turn handles and pointers into them and back.
template <typename Pointer>
uintptr_t word_of(Pointer pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

template <typename Pointer>
Pointer pointer_of(uintptr_t word) {
    return reinterpret_cast<Pointer>(word);  // NOLINT(performance-no-int-to-ptr)
}

inline MLogHandle log_of(uintptr_t word) {
    return pointer_of<MLogHandle>(word);
}

// Holds a context mutex, given as the context's word for it, while it lives. A mutex that could not be made
// is 0 and locks nothing.
class MutexLock {
public:
    explicit MutexLock(uintptr_t mutex) : mutex_(pointer_of<MMutex>(mutex)) { MMutexLock(mutex_); }
    ~MutexLock() { MMutexUnlock(mutex_); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    MMutex mutex_;
};

}  // namespace quorv

#endif
