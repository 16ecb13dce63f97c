// Mutexes and events, over POSIX threads.

#include <pthread.h>
#include <quorv/platform/thread.h>

#include "platform/MemoryOwner.h"

namespace quorv {
namespace {

constexpr uint32_t kForever = 0xFFFFFFFF;

// There is no signalled flag on purpose: a signal only wakes a thread that is waiting.
struct Event {
    pthread_mutex_t mutex;
    pthread_cond_t condition;
};

Event *event_of(MEvent event) {
    return static_cast<Event *>(event);
}

pthread_mutex_t *mutex_of(MMutex mutex) {
    return static_cast<pthread_mutex_t *>(mutex);
}

bool init_recursive(pthread_mutex_t *mutex) {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return false;
    const bool made = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                      pthread_mutex_init(mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return made;
}

bool init_event(Event *event) {
    if (pthread_mutex_init(&event->mutex, nullptr) != 0) return false;
    if (pthread_cond_init(&event->condition, nullptr) == 0) return true;
    pthread_mutex_destroy(&event->mutex);
    return false;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

MMutex MMutexCreate(void) {
    Owned<pthread_mutex_t> mutex = make_owned<pthread_mutex_t>();
    return mutex != nullptr && init_recursive(mutex.get()) ? mutex.release() : nullptr;
}

uint32_t MMutexLock(MMutex mutex) {
    if (mutex == nullptr) return ResultInvalidArg;
    pthread_mutex_lock(mutex_of(mutex));
    return ResultOk;
}

uint32_t MMutexUnlock(MMutex mutex) {
    if (mutex == nullptr) return ResultInvalidArg;
    pthread_mutex_unlock(mutex_of(mutex));
    return ResultOk;
}

uint32_t MMutexDestroy(MMutex mutex) {
    const Owned<pthread_mutex_t> own(mutex_of(mutex));
    if (own != nullptr) pthread_mutex_destroy(own.get());
    return ResultOk;
}

MEvent MEventCreate(void) {
    Owned<Event> event = make_owned<Event>();
    return event != nullptr && init_event(event.get()) ? event.release() : nullptr;
}

uint32_t MEventSignal(MEvent event) {
    if (event == nullptr) return ResultInvalidArg;
    return pthread_cond_signal(&event_of(event)->condition) == 0 ? ResultOk : ResultFailed;
}

uint32_t MEventWait(MEvent event, uint32_t timeout) {
    if (event == nullptr) return ResultInvalidArg;
    if (timeout != kForever) return ResultFailed;
    pthread_mutex_t *mutex = &event_of(event)->mutex;
    if (pthread_mutex_lock(mutex) != 0) return ResultFailed;
    const bool waited = pthread_cond_wait(&event_of(event)->condition, mutex) == 0;
    const bool unlocked = pthread_mutex_unlock(mutex) == 0;
    return waited && unlocked ? ResultOk : ResultFailed;
}

uint32_t MEventReset(MEvent /*event*/) {
    return ResultOk;
}

uint32_t MEventDestroy(MEvent event) {
    const Owned<Event> own(event_of(event));
    if (own == nullptr) return ResultInvalidArg;
    pthread_cond_destroy(&own->condition);
    pthread_mutex_destroy(&own->mutex);
    return ResultOk;
}
