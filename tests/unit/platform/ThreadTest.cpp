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
    const auto run = [](void *arg) -> void * {
        (*static_cast<Work *>(arg))();
        return nullptr;
    };
    return MThreadCreate(run, &work);
}

TEST(Thread, MutexesNestAndEventsForgetSignalsThatNobodyWaitsFor) {
    MMutex mutex = MMutexCreate();
    MEvent event = MEventCreate();
    std::atomic<int> stage = 0;
    int seen = -1;
    std::atomic<uint32_t> result = 99;
    auto lock_and_wait = [&] {
        MMutexLock(mutex);
        seen = stage;
        MMutexUnlock(mutex);
        result = MEventWait(event, 0xFFFFFFFF);
    };
    for (const uint32_t code : {MMutexLock(mutex), MMutexLock(mutex), MEventSignal(event)})
        EXPECT_EQ(code, uint32_t{ResultOk});
    const MThread thread = start(lock_and_wait);
    ASSERT_NE(thread, 0u);
    EXPECT_EQ(MMutexUnlock(mutex), 0u);
    MThreadSleep(0, 30);  // time for the thread to get in where it must not
    stage = 1;
    EXPECT_EQ(MMutexUnlock(mutex), 0u);
    MThreadSleep(0, 50);
    EXPECT_EQ(result, 99u) << "the early signal is lost";
    while (result == 99) {
        MEventSignal(event);
        MThreadSleep(0, 1);
    }
    EXPECT_EQ(MThreadExit(thread), 0u);
    EXPECT_EQ(seen, 1) << "as many unlocks as locks";
    EXPECT_EQ(result, uint32_t{ResultOk});
    auto next_stage = [&] { stage = 2; };
    EXPECT_EQ(MThreadDestory(start(next_stage)), 0u);
    EXPECT_EQ(stage, 2);
    for (const uint32_t timeout : {1000u, 0u})
        EXPECT_EQ(MEventWait(event, timeout), uint32_t{ResultFailed});
    for (const uint32_t code : {MEventReset(event), MEventDestroy(event), MMutexDestroy(mutex)})
        EXPECT_EQ(code, uint32_t{ResultOk});
}

TEST(Thread, NullHandlesAndNoMemory) {
    EXPECT_EQ(MThreadCreate(nullptr, nullptr), 0u);
    for (const uint32_t code : {MThreadExit(0), MMutexDestroy(nullptr), MThreadSuspend(0), MThreadResume(0),
                                MThreadSetPriority(0, 5)})
        EXPECT_EQ(code, uint32_t{ResultOk});
    for (uint32_t (*const function)(void *) : {MMutexLock, MMutexUnlock, MEventSignal, MEventDestroy})
        EXPECT_EQ(function(nullptr), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MEventWait(nullptr, 5), uint32_t{ResultInvalidArg});
    const quorv::test::FailingAllocator heap(1, quorv::test::FailureSpan::ForGood);
    EXPECT_EQ(MMutexCreate(), nullptr);
    EXPECT_EQ(MEventCreate(), nullptr);
}

TEST(Thread, TimeStampsSleepAndRandomNumbers) {
    EXPECT_EQ(quorv::milliseconds_of(12, 345499), 12345u);
    EXPECT_EQ(quorv::milliseconds_of(12, 345500), 12346u);
    EXPECT_EQ(quorv::milliseconds_of(4294967, 296000), 0u);
    const uint64_t before = static_cast<uint64_t>(time(nullptr)) * 1000;
    const uint32_t stamp = MGetCurTimeStamp();
    EXPECT_LE(stamp - static_cast<uint32_t>(before), 60000u);
    const auto start_time = std::chrono::steady_clock::now();
    EXPECT_EQ(MThreadSleep(0, 25), 0u);
    EXPECT_GE(std::chrono::steady_clock::now() - start_time, std::chrono::milliseconds(25));
    EXPECT_EQ(MSrand(12345), 0u);
    const uint32_t first = MGetRandomNumber();
    srand48(12345);
    EXPECT_EQ(first, static_cast<uint32_t>(lrand48()));
}

}  // namespace
