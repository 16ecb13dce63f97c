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

namespace quorv::test {
namespace {

class Log : public testing::Test {
protected:
    void open() { ASSERT_EQ(MLogOpenS(path.c_str(), &log), uint32_t{ResultOk}); }
    void say(const std::string &message) { EXPECT_EQ(MLogS(log, 1, "%s", message.c_str()), 0u); }
    void dump(const std::string &bytes) {
        EXPECT_EQ(MLogDump(log, 1, bytes.data(), static_cast<uint32_t>(bytes.size())), 0u);
    }
    std::string text() const {
        const Bytes bytes = folder.get("log");
        return {bytes.begin(), bytes.end()};
    }

    TestFolder folder;
    std::string path = folder.path("log");
    MLogHandle log = nullptr;
};

TEST_F(Log, LevelsAndSwitches) {
    const struct {
        uint32_t enabled, mask, level;
        bool written;
    } cases[] = {{1, 3, 4, false},          {1, 3, 6, true},  {1, 0xFFFFFFFF, 0, false},
                 {1, 0, 0xFFFFFFFF, false}, {0, 3, 1, false}, {7, 0x80000000, 0x80000000, true}};
    open();
    MLogConfig config;
    EXPECT_EQ(MLogGetConfig(log, &config), uint32_t{ResultOk});
    EXPECT_EQ(config.record_size, 16u);
    EXPECT_EQ(config.enabled & config.buffered, 1u);
    EXPECT_EQ(config.level_mask, 0xFFFFFFFFu);
    std::string expected;
    for (const auto &c : cases) {
        config = {0, c.enabled, 0, c.mask};
        EXPECT_EQ(MLogSetConfig(log, &config), uint32_t{ResultOk});
        EXPECT_EQ(MLogS(log, c.level, "%u of %u;", c.level, c.mask), uint32_t{ResultOk});
        EXPECT_EQ(MLogDump(log, c.level, "dump;", 5), uint32_t{ResultOk});
        if (c.written) expected += std::to_string(c.level) + " of " + std::to_string(c.mask) + ";dump;";
        EXPECT_EQ(text(), expected) << "without buffering every message is there at once";
    }
    EXPECT_EQ(MLogSetConfig(log, nullptr), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogGetConfig(log, nullptr), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogDump(log, 1, nullptr, 1), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogClose(log), uint32_t{ResultOk});
}

// Whatever does not fit behind the head makes it reach the file, as does any message behind 15360 bytes; a
// message is cut, a dump is not.
TEST_F(Log, LongMessagesAndDumps) {
    for (const size_t before : {0u, 1u, 384u, 385u, 13383u, 13384u, 15359u, 15360u}) {
        for (const size_t length : {1000u, 1025u, 3000u, 16000u, 16383u, 16384u, 100000u}) {
            for (const bool is_dump : {false, true}) {
                SCOPED_TRACE(testing::Message() << before << " " << length << " " << is_dump);
                remove(path.c_str());
                open();
                const std::string head(before, 'h'), body(length, is_dump ? '\0' : 'm');
                dump(head);
                is_dump ? dump(body) : say(body);
                const bool fits = length < 16384 && (is_dump ? before + length <= 16384
                                                             : before + length < 16384 && before < 15360);
                EXPECT_TRUE(text() == (fits ? "" : is_dump && length >= 16384 ? head + body : head));
                say("!");
                MLogFlush(log);
                EXPECT_TRUE(text() == head + (is_dump ? body : body.substr(0, 16383)) + "!");
                MLogClose(log);
            }
        }
    }
}

TEST_F(Log, FailedWritesAndOpens) {
    folder.put("log", {'o', 'l', 'd', ' '});
    open();
    say("new");
    MLogFlush(log);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small = {0, old.rlim_max};
    void (*const handler)(int) = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    say("lost");
    MLogFlush(log);
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, handler);
    say("after a failed write nothing more is written");
    MLogClose(log);
    EXPECT_EQ(text(), "old new");
    ASSERT_EQ(MSTATIC_MDebugStreamOpenS(path.c_str(), &log), uint32_t{ResultOk});
    EXPECT_EQ(text(), "") << "the trace stream starts afresh";
    MLogClose(log);
    EXPECT_EQ(MLogOpenS(folder.path("no/log").c_str(), &log), uint32_t{ResultFailed});
    EXPECT_EQ(MLogOpenS(nullptr, &log), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogOpenS(path.c_str(), nullptr), uint32_t{ResultInvalidArg});
    for (uint64_t n = 1; n <= 2; ++n) {
        const FailingAllocator heap(n);
        EXPECT_NE(MLogOpenS(path.c_str(), &log), uint32_t{ResultOk});
        EXPECT_EQ(log, nullptr);
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
    MLogConfig config;
    for (const uint32_t code :
         {MLogS(nullptr, 1, "nowhere"), MLogDump(nullptr, 1, "x", 1), MLogFlush(nullptr),
          MLogGetConfig(nullptr, &config), MLogSetConfig(nullptr, &config), MLogClose(nullptr)})
        EXPECT_EQ(code, uint32_t{ResultFailed});
}

// Both write to the trace stream and its tables, too.
TEST_F(Log, TwoThreadsOnTheContextLoseAndTearNothing) {
    const std::string trace = folder.path("trace");
    const MPlatInitParams params = {0, 0, 0xFFFFFFFF, trace.c_str(), 0xFFFFFFFF, path.c_str(), 0};
    ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk});
    constexpr int kMessages = 30000;
    std::latch both(2);
    const auto work = [&both](char name) {
        both.arrive_and_wait();
        for (int i = 0; i < kMessages; ++i) {
            const std::string line = name + std::to_string(i) + "\n";
            if (i % 3 == 0)
                MLogDump(nullptr, 1, line.data(), static_cast<uint32_t>(line.size()));
            else
                MLogS(nullptr, 1, "%c%d\n", name, i);
            if (i % 997 == 0) MLogFlush(nullptr);
            if (i % 10 == 0) MSTATIC_MTableAddOneID(1, std::to_string(i).c_str());
        }
    };
    std::thread one(work, 'A'), two(work, 'B');
    one.join();
    two.join();
    MSTATIC_MTableWrite(1, 1);
    EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultOk});
    size_t size = 4;  // of the file's signature and of a record of every tenth number
    for (int i = 0; i < kMessages; i += 10)
        size += 8 + (std::to_string(i).size() + 4) / 4 * 4;
    EXPECT_EQ(folder.get("trace").size(), size);
    int next[2] = {};
    const std::string all = text();
    for (size_t begin = 0, end; begin < all.size(); begin = end) {
        end = all.find('\n', begin) + 1;
        const int which = all[begin] - 'A';
        ASSERT_TRUE(which == 0 || which == 1);
        ASSERT_EQ(all.substr(begin + 1, end - begin - 2), std::to_string(next[which]++));
    }
    EXPECT_EQ(next[0] + next[1], 2 * kMessages);
}

TEST_F(Log, OwnLogsHaveNothingToDoWithAContextThatComesAndGoes) {
    const MPlatInitParams params = {0, 0, 0, nullptr, 1, path.c_str(), 0};
    std::thread host([&params] {
        for (int i = 0; i < 300; ++i)
            EXPECT_EQ(MPlatInitialize(&params) + MPlatUninitialize(), 0u);
    });
    const std::string own = folder.path("own");
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(MLogOpenS(own.c_str(), &log), uint32_t{ResultOk});
        say("x");
        EXPECT_EQ(MLogClose(log), uint32_t{ResultOk});
    }
    host.join();
    EXPECT_EQ(folder.get("own").size(), 300u);
}

}  // namespace
}  // namespace quorv::test
