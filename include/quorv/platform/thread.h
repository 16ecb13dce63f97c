/**
 * @file
 * Threads, recursive mutexes, events, time stamps and random numbers, over POSIX.
 */
#ifndef QUORV_PLATFORM_THREAD_H
#define QUORV_PLATFORM_THREAD_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup thread Threads
 * @ingroup platform
 * Threads, recursive mutexes, events, time stamps and random numbers, over POSIX.
 *
 * Handles are opaque words, 0 is no handle.
 * @{
 */

/** A thread: the POSIX thread identifier. */
typedef uintptr_t MThread;
/** A recursive mutex. */
typedef void *MMutex;
/** An event. */
typedef void *MEvent;

/**
 * Starts a thread that runs routine(arg).
 *
 * @param[in] routine  the thread's function; what it returns is lost
 * @param[in] arg      its argument
 *
 * @return the thread, to be ended with MThreadExit or MThreadDestory; 0 when routine is null or no thread can
 *         be made
 */
QUORV_API MThread MThreadCreate(void *(*routine)(void *), void *arg);

/**
 * Waits until a thread has ended and frees it; call this or MThreadDestory, once.
 *
 * @param[in] thread  the thread, or 0
 *
 * @return 0
 */
QUORV_API uint32_t MThreadExit(MThread thread);
/** The same as MThreadExit. @copydetails MThreadExit */
QUORV_API uint32_t MThreadDestory(MThread thread);

/**
 * Lets the calling thread sleep.
 *
 * @param[in] thread  not looked at
 * @param[in] ms      milliseconds at least
 *
 * @return 0
 */
QUORV_API uint32_t MThreadSleep(MThread thread, uint32_t ms);

/**
 * Does nothing: not offered by the platform.
 *
 * @param[in] thread  not looked at
 *
 * @return 0
 */
QUORV_API uint32_t MThreadSuspend(MThread thread);
/** @copydoc MThreadSuspend */
QUORV_API uint32_t MThreadResume(MThread thread);

/**
 * Does nothing: not offered by the platform.
 *
 * @param[in] thread    not looked at
 * @param[in] priority  not looked at
 *
 * @return 0
 */
QUORV_API uint32_t MThreadSetPriority(MThread thread, uint32_t priority);

/**
 * Makes a recursive mutex: a thread may lock it again and must unlock it as often.
 *
 * @return the mutex, which MMutexDestroy frees; 0 when there is no memory
 */
QUORV_API MMutex MMutexCreate(void);

/**
 * Locks a mutex, waiting while another thread holds it.
 *
 * @param[in] mutex  the mutex
 *
 * @retval ResultOk          it is locked
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MMutexLock(MMutex mutex);

/**
 * Unlocks a mutex that the calling thread holds.
 *
 * @param[in] mutex  the mutex
 *
 * @retval ResultOk          it is unlocked
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MMutexUnlock(MMutex mutex);

/**
 * Frees a mutex that nobody holds.
 *
 * @param[in] mutex  the mutex, or null
 *
 * @return 0
 */
QUORV_API uint32_t MMutexDestroy(MMutex mutex);

/**
 * Makes an event.
 *
 * An event has no memory of signals: MEventSignal wakes one thread that waits at that moment, and is lost
 * when none does. Pair it with a condition of your own, and look at that again after each wait, which may
 * also end without a signal.
 *
 * @return the event, which MEventDestroy frees; 0 when there is no memory
 */
QUORV_API MEvent MEventCreate(void);

/**
 * Wakes one waiting thread.
 *
 * @param[in] event  the event
 *
 * @retval ResultOk          done
 * @retval ResultFailed      the system refused
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MEventSignal(MEvent event);

/**
 * Waits for a signal.
 *
 * @param[in] event    the event
 * @param[in] timeout  0xFFFFFFFF, for ever: timed waits are not offered, and any other value fails at once
 *
 * @retval ResultOk          the wait has ended
 * @retval ResultFailed      waiting failed, or another timeout
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MEventWait(MEvent event, uint32_t timeout);

/**
 * Does nothing: there is nothing to reset.
 *
 * @param[in] event  not looked at
 *
 * @return 0
 */
QUORV_API uint32_t MEventReset(MEvent event);

/**
 * Frees an event that nobody waits for.
 *
 * @param[in] event  the event
 *
 * @retval ResultOk          done
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MEventDestroy(MEvent event);

/**
 * Gives the time of day.
 *
 * @return milliseconds, rounded to the nearest; wraps at 2^32
 */
QUORV_API uint32_t MGetCurTimeStamp(void);

/**
 * Seeds the random numbers of the whole process (srand48).
 *
 * @param[in] seed  the seed
 *
 * @return 0
 */
QUORV_API uint32_t MSrand(uint32_t seed);

/**
 * Gives the next random number (lrand48).
 *
 * @return 0 to 2^31 - 1
 */
QUORV_API uint32_t MGetRandomNumber(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
