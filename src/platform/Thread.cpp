// Threads, over POSIX threads.

#include <errno.h>
#include <pthread.h>
#include <quorv/platform/thread.h>
#include <time.h>

#include <bit>

static_assert(sizeof(pthread_t) == sizeof(MThread));

MThread MThreadCreate(void *(*routine)(void *), void *arg) {
    pthread_t thread;
    if (routine == nullptr || pthread_create(&thread, nullptr, routine, arg) != 0) return 0;
    return std::bit_cast<MThread>(thread);
}

uint32_t MThreadExit(MThread thread) {
    if (thread != 0) pthread_join(std::bit_cast<pthread_t>(thread), nullptr);
    return 0;
}

uint32_t MThreadDestory(MThread thread) {
    return MThreadExit(thread);
}

uint32_t MThreadSleep(MThread /*thread*/, uint32_t ms) {
    timespec left = {};
    left.tv_sec = static_cast<time_t>(ms / 1000);
    left.tv_nsec = static_cast<long>(ms % 1000) * 1000000;
    int slept;
    do
        slept = nanosleep(&left, &left);
    while (slept != 0 && errno == EINTR);
    return 0;
}

uint32_t MThreadSuspend(MThread /*thread*/) {
    return 0;
}

uint32_t MThreadResume(MThread /*thread*/) {
    return 0;
}

uint32_t MThreadSetPriority(MThread /*thread*/, uint32_t /*priority*/) {
    return 0;
}
