// Threads, mutexes, events, time stamps and random numbers.

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>
#include <quorv/platform/thread.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>

#include "platform/TimeStamp.h"
#include "support/FailingAllocator.h"

namespace {

// Starts a thread that runs a callable; the callable must outlive it.
template <typename Work>
MThread start(Work &work) {
    return MThreadCreate(
        [](void *arg) -> void * {
            (*static_cast<Work *>(arg))();
            return nullptr;
        },
        &work);
}

TEST(Thread, ARecursiveMutexNeedsAsManyUnlocksAsLocks) {
    MMutex mutex = MMutexCreate();
    std::atomic<int> stage = 0;
    int seen = -1;
    auto work = [&] {
        MMutexLock(mutex);
        seen = stage;
        MMutexUnlock(mutex);
    };
    EXPECT_EQ(MMutexLock(mutex), 0u);
    EXPECT_EQ(MMutexLock(mutex), 0u);
    const MThread thread = start(work);
    ASSERT_NE(thread, 0u);
    EXPECT_EQ(MMutexUnlock(mutex), 0u);
    MThreadSleep(0, 30);  // time for the thread to get in where it must not
    stage = 1;
    EXPECT_EQ(MMutexUnlock(mutex), 0u);
    EXPECT_EQ(MThreadExit(thread), 0u);
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(MMutexDestroy(mutex), 0u);
}

TEST(Thread, AnEventForgetsSignalsThatNobodyWaitsFor) {
    MEvent event = MEventCreate();
    std::atomic<uint32_t> result = 99;
    auto work = [&] { result = MEventWait(event, 0xFFFFFFFF); };
    EXPECT_EQ(MEventSignal(event), uint32_t{ResultOk});
    const MThread thread = start(work);
    MThreadSleep(0, 50);
    EXPECT_EQ(result, 99u) << "the early signal is lost";
    while (result == 99) {
        MEventSignal(event);
        MThreadSleep(0, 1);
    }
    EXPECT_EQ(result, uint32_t{ResultOk});
    EXPECT_EQ(MThreadDestory(thread), 0u);
    EXPECT_EQ(MEventWait(event, 1000), uint32_t{ResultFailed});
    EXPECT_EQ(MEventWait(event, 0), uint32_t{ResultFailed});
    EXPECT_EQ(MEventReset(event), 0u);
    EXPECT_EQ(MEventDestroy(event), uint32_t{ResultOk});
}

TEST(Thread, NullHandlesAndNoMemory) {
    EXPECT_EQ(MThreadCreate(nullptr, nullptr) + MThreadExit(0) + MMutexDestroy(nullptr), 0u);
    EXPECT_EQ(MThreadSuspend(0) + MThreadResume(0) + MThreadSetPriority(0, 5), 0u);
    for (uint32_t (*const function)(void *) : {MMutexLock, MMutexUnlock, MEventSignal, MEventDestroy})
        EXPECT_EQ(function(nullptr), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MEventWait(nullptr, 5), uint32_t{ResultInvalidArg});
    const quorv::test::FailingAllocator heap(1, quorv::test::FailureSpan::ForGood);
    EXPECT_EQ(MMutexCreate(), nullptr);
    EXPECT_EQ(MEventCreate(), nullptr);
}

TEST(Thread, TimeStampsAndRandomNumbers) {
    EXPECT_EQ(quorv::milliseconds_of(12, 345499), 12345u);
    EXPECT_EQ(quorv::milliseconds_of(12, 345500), 12346u);
    EXPECT_EQ(quorv::milliseconds_of(4294967, 296000), 0u);
    const auto now = [] {
        const auto since = std::chrono::system_clock::now().time_since_epoch();
        return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
    };
    const uint32_t before = now(), stamp = MGetCurTimeStamp();
    EXPECT_LE(stamp - before, now() + 1 - before);
    const auto start_time = std::chrono::steady_clock::now();
    EXPECT_EQ(MThreadSleep(0, 25), 0u);
    EXPECT_GE(std::chrono::steady_clock::now() - start_time, std::chrono::milliseconds(25));
    EXPECT_EQ(MSrand(12345), 0u);
    const uint32_t first = MGetRandomNumber();
    srand48(12345);
    EXPECT_EQ(first, static_cast<uint32_t>(lrand48()));
}

}  // namespace
