/*
 * Threads, recursive mutexes, events, time stamps and random numbers, over POSIX.
 *
 * Handles are opaque words, 0 is no handle.
 */
#ifndef QUORV_PLATFORM_THREAD_H
#define QUORV_PLATFORM_THREAD_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uintptr_t MThread; /* the POSIX thread identifier */
typedef void *MMutex;
typedef void *MEvent;

/* Starts a thread that runs routine(arg); 0 when routine is null or no thread can be made. End it with
 * MThreadExit or MThreadDestory. */
QUORV_API MThread MThreadCreate(void *(*routine)(void *), void *arg);
/* Waits until the thread has ended and frees it; call one of the two, once. Returns 0. */
QUORV_API uint32_t MThreadExit(MThread thread);
QUORV_API uint32_t MThreadDestory(MThread thread);
/* Lets the calling thread sleep for at least ms milliseconds; thread is not looked at. Returns 0. */
QUORV_API uint32_t MThreadSleep(MThread thread, uint32_t ms);
/* Not offered by the platform: do nothing and return 0. */
QUORV_API uint32_t MThreadSuspend(MThread thread);
QUORV_API uint32_t MThreadResume(MThread thread);
QUORV_API uint32_t MThreadSetPriority(MThread thread, uint32_t priority);

/* Makes a recursive mutex: a thread may lock it again and must unlock it as often. 0 when there is no memory.
 */
QUORV_API MMutex MMutexCreate(void);
/* ResultInvalidArg for a null mutex, else 0. */
QUORV_API uint32_t MMutexLock(MMutex mutex);
QUORV_API uint32_t MMutexUnlock(MMutex mutex);
/* Frees a mutex that nobody holds; null is accepted. Returns 0. */
QUORV_API uint32_t MMutexDestroy(MMutex mutex);

/*
 * Makes an event, 0 when there is no memory. An event has no memory of signals: MEventSignal wakes one thread
 * that waits at that moment, and is lost when none does. Pair it with a condition of your own, and look at
 * that again after each wait, which may also end without a signal.
 */
QUORV_API MEvent MEventCreate(void);
/* Wakes one waiting thread. ResultOk, ResultFailed, or ResultInvalidArg for null. */
QUORV_API uint32_t MEventSignal(MEvent event);
/*
 * Waits for a signal. timeout must be 0xFFFFFFFF, for ever: timed waits are not offered, and any other value
 * gives ResultFailed at once. ResultOk after a wait, ResultFailed when waiting failed, ResultInvalidArg for
 * null.
 */
QUORV_API uint32_t MEventWait(MEvent event, uint32_t timeout);
/* There is nothing to reset: does nothing and returns 0. */
QUORV_API uint32_t MEventReset(MEvent event);
/* Frees an event that nobody waits for. ResultOk, or ResultInvalidArg for null. */
QUORV_API uint32_t MEventDestroy(MEvent event);

/* The time of day in milliseconds, rounded to the nearest; wraps at 2^32. */
QUORV_API uint32_t MGetCurTimeStamp(void);
/* Seeds the random numbers of the whole process (srand48); returns 0. */
QUORV_API uint32_t MSrand(uint32_t seed);
/* The next random number, 0 to 2^31 - 1 (lrand48). */
QUORV_API uint32_t MGetRandomNumber(void);

#ifdef __cplusplus
}
#endif

#endif
