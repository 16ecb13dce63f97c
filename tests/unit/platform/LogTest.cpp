// Logs: levels, buffering, thresholds, failed writes, and two threads on the context's log.

#include <gtest/gtest.h>
#include <quorv/platform/context.h>
#include <quorv/platform/log.h>
#include <quorv/platform/memory.h>
#include <signal.h>
#include <sys/resource.h>

#include <latch>
#include <string>
#include <thread>

#include "support/FailingAllocator.h"
#include "support/TestFolder.h"

namespace {

using quorv::test::Bytes;
using quorv::test::bytes_of_file;
using quorv::test::FailingAllocator;
using quorv::test::TestFolder;

std::string text_of(const std::string &path) {
    const Bytes bytes = bytes_of_file(path);
    return {bytes.begin(), bytes.end()};
}

// A log on a file of its own.
struct OpenLog {
    TestFolder folder;
    std::string path = folder.path("log");
    MLogHandle log = nullptr;

    OpenLog() { EXPECT_EQ(MLogOpenS(path.c_str(), &log), uint32_t{ResultOk}); }
    ~OpenLog() {
        if (log != nullptr) close();
    }
    void close() {
        EXPECT_EQ(MLogClose(log), uint32_t{ResultOk});
        log = nullptr;
    }
    std::string text() const { return text_of(path); }
};

TEST(Log, LevelsAndSwitches) {
    const struct {
        uint32_t enabled, mask, level;
        bool written;
    } cases[] = {{1, 3, 4, false},          {1, 3, 6, true},  {1, 0xFFFFFFFF, 0, false},
                 {1, 0, 0xFFFFFFFF, false}, {0, 3, 1, false}, {7, 0x80000000, 0x80000000, true}};
    OpenLog open;
    MLogConfig config;
    EXPECT_EQ(MLogGetConfig(open.log, &config), uint32_t{ResultOk});
    EXPECT_EQ(config.record_size, 16u);
    EXPECT_EQ(config.enabled, 1u);
    EXPECT_EQ(config.buffered, 1u);
    EXPECT_EQ(config.level_mask, 0xFFFFFFFFu);
    std::string expected;
    for (const auto &c : cases) {
        config = {0, c.enabled, 0, c.mask};
        EXPECT_EQ(MLogSetConfig(open.log, &config), uint32_t{ResultOk});
        EXPECT_EQ(MLogS(open.log, c.level, "%u of %u;", c.level, c.mask), uint32_t{ResultOk});
        EXPECT_EQ(MLogDump(open.log, c.level, "dump;", 5), uint32_t{ResultOk});
        if (c.written) expected += std::to_string(c.level) + " of " + std::to_string(c.mask) + ";dump;";
        EXPECT_EQ(open.text(), expected) << "without buffering every message is there at once";
    }
    EXPECT_EQ(MLogSetConfig(open.log, nullptr), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogGetConfig(open.log, nullptr), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogDump(open.log, 1, nullptr, 1), uint32_t{ResultInvalidArg});
}

TEST(Log, TextReachesTheFileAtTheThreshold) {
    OpenLog open;
    std::string expected;
    for (int i = 0; i < 16; ++i) {  // 15360 bytes in all
        const std::string message(960, static_cast<char>('a' + i));
        MLogS(open.log, 1, "%s", message.c_str());
        expected += message;
        ASSERT_EQ(open.text(), "");
    }
    MLogS(open.log, 1, "z");
    EXPECT_EQ(open.text(), expected);
    EXPECT_EQ(MLogFlush(open.log), uint32_t{ResultOk});
    EXPECT_EQ(open.text(), expected + "z");
    MLogS(open.log, 1, "end");
    const std::string path = open.path;
    open.close();
    EXPECT_EQ(text_of(path), expected + "zend");
}

TEST(Log, LongMessages) {
    for (const size_t before : {size_t{0}, size_t{1}, size_t{13383}, size_t{13384}, size_t{15359}}) {
        for (const size_t length :
             {size_t{1025}, size_t{3000}, size_t{16383}, size_t{16384}, size_t{100000}}) {
            SCOPED_TRACE(testing::Message() << before << " " << length);
            OpenLog open;
            const std::string head(before, 'h'), message(length, 'm');
            MLogDump(open.log, 1, head.data(), static_cast<uint32_t>(before));
            MLogS(open.log, 1, "%s", message.c_str());
            // What fits behind the head stays in the buffer with it.
            EXPECT_EQ(open.text(), before + length < 16384 ? "" : head);
            MLogS(open.log, 1, "!");
            MLogFlush(open.log);
            EXPECT_EQ(open.text(), head + message.substr(0, 16383) + "!");
        }
    }
}

TEST(Log, DumpsOfEverySizeKeepTheirOrder) {
    const struct {
        uint32_t first, second;
        size_t written_at_once;
    } cases[] = {{10, 20, 0},   {384, 16000, 0},   {385, 16000, 385}, {1, 16383, 0},
                 {2, 16383, 2}, {1, 16384, 16385}, {0, 20000, 20000}, {100, 200000, 200100}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.first << " " << c.second);
        OpenLog open;
        std::string expected(c.first + c.second, '\0');
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = static_cast<char>(i * 31);
        MLogDump(open.log, 1, expected.data(), c.first);
        MLogDump(open.log, 1, expected.data() + c.first, c.second);
        EXPECT_EQ(open.text(), expected.substr(0, c.written_at_once));
        MLogFlush(open.log);
        EXPECT_EQ(open.text(), expected);
    }
}

TEST(Log, AfterAFailedWriteNothingMoreIsWritten) {
    OpenLog open;
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 100;
    void (*const handler)(int) = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string long_text(90, 'x');
    MLogS(open.log, 1, "%s", long_text.c_str());
    MLogFlush(open.log);
    MLogS(open.log, 1, "%s", long_text.c_str());
    EXPECT_EQ(MLogFlush(open.log), uint32_t{ResultOk}) << "failed writes are not reported";
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, handler);
    const std::string text = open.text();
    EXPECT_EQ(text.size(), 100u);
    MLogS(open.log, 1, "later");
    MLogFlush(open.log);
    const std::string large(50000, 'y');
    MLogDump(open.log, 1, large.data(), 50000);
    EXPECT_EQ(open.text(), text);

    MLogHandle full = nullptr;
    ASSERT_EQ(MLogOpenS("/dev/full", &full), uint32_t{ResultOk});
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(MLogS(full, 1, "%s", long_text.c_str()), uint32_t{ResultOk});
    EXPECT_EQ(MLogClose(full), uint32_t{ResultOk});
}

TEST(Log, OpeningAppendsAndFailsCleanly) {
    const TestFolder folder;
    const std::string path = folder.put("log", {'o', 'l', 'd', ' '});
    MLogHandle log = nullptr;
    ASSERT_EQ(MLogOpenS(path.c_str(), &log), uint32_t{ResultOk});
    MLogS(log, 1, "new");
    MLogClose(log);
    EXPECT_EQ(text_of(path), "old new");
    ASSERT_EQ(MSTATIC_MDebugStreamOpenS(path.c_str(), &log), uint32_t{ResultOk});
    EXPECT_EQ(text_of(path), "") << "the trace stream starts afresh";
    MLogClose(log);

    EXPECT_EQ(MLogOpenS(folder.path("no/log").c_str(), &log), uint32_t{ResultFailed});
    EXPECT_EQ(log, nullptr);
    EXPECT_EQ(MLogOpenS(nullptr, &log), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogOpenS(path.c_str(), nullptr), uint32_t{ResultInvalidArg});
    for (uint64_t n = 1; n <= 2; ++n) {
        const FailingAllocator heap(n);
        EXPECT_NE(MLogOpenS(path.c_str(), &log), uint32_t{ResultOk});
        EXPECT_EQ(log, nullptr);
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
    MLogConfig config;
    EXPECT_EQ(MSTATIC_MGetContext(), nullptr);
    EXPECT_EQ(MLogS(nullptr, 1, "nowhere"), uint32_t{ResultFailed});
    EXPECT_EQ(MLogDump(nullptr, 1, "x", 1), uint32_t{ResultFailed});
    EXPECT_EQ(MLogFlush(nullptr), uint32_t{ResultFailed});
    EXPECT_EQ(MLogGetConfig(nullptr, &config), uint32_t{ResultFailed});
    EXPECT_EQ(MLogSetConfig(nullptr, &config), uint32_t{ResultFailed});
    EXPECT_EQ(MLogClose(nullptr), uint32_t{ResultFailed});
}

TEST(Log, TwoThreadsOnTheContextsLogLoseAndTearNothing) {
    const TestFolder folder;
    const std::string path = folder.path("log");
    const MPlatInitParams params = {0, 0, 0, nullptr, 0xFFFFFFFF, path.c_str(), 0};
    ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk});
    constexpr int kMessages = 30000;
    std::latch both(2);
    const auto work = [&both](char name) {
        both.arrive_and_wait();
        for (int i = 0; i < kMessages; ++i) {
            if (i % 3 == 0) {
                const std::string line = std::string(1, name) + " " + std::to_string(i) + "\n";
                MLogDump(nullptr, 1, line.data(), static_cast<uint32_t>(line.size()));
            } else {
                MLogS(nullptr, 1, "%c %d\n", name, i);
            }
            if (i % 997 == 0) MLogFlush(nullptr);
        }
    };
    std::thread one(work, 'A'), two(work, 'B');
    one.join();
    two.join();
    EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultOk});

    std::string of_one, of_two, expected_one, expected_two;
    std::string text = text_of(path);
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = text.find('\n', begin) + 1;
        (text[begin] == 'A' ? of_one : of_two) += text.substr(begin, end - begin);
        begin = end;
    }
    for (int i = 0; i < kMessages; ++i) {
        expected_one += "A " + std::to_string(i) + "\n";
        expected_two += "B " + std::to_string(i) + "\n";
    }
    EXPECT_TRUE(of_one == expected_one && of_two == expected_two);
}

}  // namespace
