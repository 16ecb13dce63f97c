// The platform context, its log and its trace stream: levels, buffering, failed writes, whole trace files,
// trace tables, printed messages, two threads, and start-up when parts of it fail.

#include <gtest/gtest.h>
#include <quorv/platform/context.h>
#include <quorv/platform/log.h>
#include <quorv/platform/memory.h>
#include <signal.h>
#include <sys/resource.h>

#include <latch>
#include <numeric>
#include <thread>

#include "support/FailingAllocator.h"
#include "support/RiffPieces.h"
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
    std::string said() const { return folder.get_text("log"); }

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
    EXPECT_EQ(config.enabled, 1u);
    EXPECT_EQ(config.buffered, 1u);
    EXPECT_EQ(config.level_mask, 0xFFFFFFFFu);
    std::string expected;
    for (const auto &c : cases) {
        config = {0, c.enabled, 0, c.mask};
        EXPECT_EQ(MLogSetConfig(log, &config), uint32_t{ResultOk});
        EXPECT_EQ(MLogS(log, c.level, "%u of %u;", c.level, c.mask), uint32_t{ResultOk});
        EXPECT_EQ(MLogDump(log, c.level, "dump;", 5), uint32_t{ResultOk});
        if (c.written) expected += std::to_string(c.level) + " of " + std::to_string(c.mask) + ";dump;";
        EXPECT_EQ(said(), expected) << "without buffering every message is there at once";
    }
    for (const uint32_t code : {MLogSetConfig(log, nullptr), MLogGetConfig(log, nullptr),
                                MLogDump(log, 1, nullptr, 1), MLogOpenS(path.c_str(), nullptr)})
        EXPECT_EQ(code, uint32_t{ResultInvalidArg});
    EXPECT_EQ(MLogClose(log), uint32_t{ResultOk});
    EXPECT_EQ(MLogOpenS(nullptr, &log), uint32_t{ResultInvalidArg});
    for (const uint32_t code :
         {MLogS(nullptr, 1, "nowhere"), MLogDump(nullptr, 1, "x", 1), MLogFlush(nullptr),
          MLogGetConfig(nullptr, &config), MLogSetConfig(nullptr, &config), MLogClose(nullptr)})
        EXPECT_EQ(code, uint32_t{ResultFailed});
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
                EXPECT_TRUE(said() == (fits ? "" : is_dump && length >= 16384 ? head + body : head));
                say("!");
                MLogFlush(log);
                EXPECT_TRUE(said() == head + (is_dump ? body : body.substr(0, 16383)) + "!");
                MLogClose(log);
            }
        }
    }
}

TEST_F(Log, FailedWritesAndOpens) {
    folder.put_text("log", "old ");
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
    EXPECT_EQ(said(), "old new");
    EXPECT_EQ(MLogOpenS(folder.path("no/log").c_str(), &log), uint32_t{ResultFailed});
    EXPECT_EQ(log, nullptr);
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
    const std::string all = said();
    for (size_t begin = 0, end; begin < all.size(); begin = end) {
        end = all.find('\n', begin) + 1;
        const int which = all[begin] - 'A';
        ASSERT_TRUE(which == 0 || which == 1);
        ASSERT_EQ(all.substr(begin + 1, end - begin - 2), std::to_string(next[which]++));
    }
    EXPECT_EQ(next[0] + next[1], 2 * kMessages);
}

uint32_t low_word(const void *pointer) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

// A context with a trace stream, and what its file should hold.
class Trace : public testing::Test {
protected:
    void start(uint32_t levels) {
        const MPlatInitParams params = {0, 0, levels, path.c_str(), 0, nullptr, 0};
        ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk});
    }
    void expect_words(const std::vector<uint32_t> &words) {
        for (const uint32_t word : words)
            append(expected, le32(word));
    }
    void expect_text(uint32_t kind, const char *identifier, std::string message) {
        message.resize((message.size() + 4) / 4 * 4);
        expect_words({kind << 16 | static_cast<uint32_t>(message.size() + 8), low_word(identifier)});
        append(expected, text(message));
    }
    void expect_data(const std::vector<uint32_t> &values) {
        expect_words({1 << 16 | static_cast<uint32_t>(values.size() * 4 + 4)});
        expect_words(values);
    }
    void expect_file() {
        EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultOk});
        EXPECT_TRUE(folder.get("trace") == expected);
    }

    TestFolder folder;
    std::string path = folder.path("trace");
    Bytes expected = text("QUDD");
};

TEST_F(Trace, TextAndDataRecords) {
    start(6);
    for (const size_t length : {0u, 1u, 3u, 4u, 239u, 240u, 1000u, 65523u}) {
        const std::string message(length, 't');
        EXPECT_EQ(MSTATIC_MTableOutPutID(2, 3, message.c_str()), 0u);
        expect_text(3, message.c_str(), message);
    }
    EXPECT_EQ(MSTATIC_MTableOutPutID(2, 2, std::string(65524, 'x').c_str()), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MSTATIC_MTableOutPutID(2, 2, nullptr), uint32_t{ResultInvalidArg});
    std::vector<uint32_t> values(16379);
    std::iota(values.begin(), values.end(), 0x80000000u);
    for (const uint32_t count : {0u, 1u, 30u, 31u, 5000u, 16378u}) {
        EXPECT_EQ(MSTATIC_MLogTraceData(2, 1, 0xFFFFFFFF, 3, 4, values.data(), count), 0u);
        std::vector<uint32_t> all = {1, 0xFFFFFFFF, 3, count > 30 ? 0u : 4u};
        all.insert(all.end(), values.data(), values.data() + count);
        expect_data(all);
    }
    EXPECT_EQ(MSTATIC_MLogTraceData(1, 0, 0, 0, 0, values.data(), 5), 0u) << "not of the wanted levels";
    EXPECT_EQ(MSTATIC_MLogTraceData(2, 1, 2, 3, 4, values.data(), 16379), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MSTATIC_MLogTraceData(2, 1, 2, 3, 4, nullptr, 1), uint32_t{ResultInvalidArg});
    expect_file();
}

TEST_F(Trace, Tables) {
    start(0xFFFFFFFF);
    // More than one node of 256 entries, more than one storage of 8192 bytes, one text larger than that.
    std::vector<std::string> texts;
    for (size_t i = 0; i < 600; ++i)
        texts.push_back("text " + std::to_string(i) + std::string(i == 77 ? 9000 : i % 50, '.'));
    texts[78].resize(8191, '.');  // fills a storage to its last byte
    const std::vector<std::string> copies = texts;
    // The second table gets identifiers alone.
    MPlatContext *current = MSTATIC_MGetContext();
    EXPECT_EQ(MSTATIC_MTableReMoveAll(1, reinterpret_cast<void *>(current->second_table)), 0u);
    current->second_table = reinterpret_cast<uintptr_t>(MSTATIC_MTableNewOneNode(2, 0));
    for (const uint32_t table : {1u, 2u, 3u}) {
        for (size_t i = 0; i < texts.size(); ++i) {
            const char *same = table == 2 ? texts[i].c_str() : copies[i].c_str();
            EXPECT_EQ(MSTATIC_MTableIDExists(table, texts[i].c_str()), 0u);
            EXPECT_EQ(MSTATIC_MTableAddOneID(table, texts[i].c_str()), 0u);
            EXPECT_EQ(MSTATIC_MTableAddOneID(table, same), 0u);
            EXPECT_EQ(MSTATIC_MTableIDExists(table, same), 1u);
        }
    }
    EXPECT_EQ(MSTATIC_MTableIDExists(2, copies[599].c_str()), 0u);
    for (const uint32_t none : {0u, 4u}) {
        EXPECT_EQ(MSTATIC_MTableAddOneID(none, "x"), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MTableWrite(1, none), uint32_t{ResultFailed});
    }
    EXPECT_EQ(MSTATIC_MTableNewOneNode(3, 0), nullptr);
    EXPECT_EQ(MSTATIC_MTableReMoveAll(1, nullptr), uint32_t{ResultInvalidArg});
    for (std::string &changed : texts)
        changed.assign(changed.size(), '?');  // the tables have copies
    for (const uint32_t table : {1u, 3u, 2u})
        EXPECT_EQ(MSTATIC_MTableWrite(1, table), 0u);

    for (const uint32_t table : {1u, 3u}) {
        for (size_t i = 0; i < texts.size(); ++i)
            expect_text(256 + table, texts[i].c_str(), copies[i]);
    }
    for (size_t begin = 0; begin < texts.size(); begin += 256) {
        const size_t end = std::min(begin + 256, texts.size());
        std::vector<uint32_t> node = {2, static_cast<uint32_t>(end - begin), 0, 0};
        for (size_t i = begin; i < end; ++i)
            node.push_back(low_word(texts[i].c_str()));
        expect_data(node);
    }
    expect_file();
}

TEST(Context, PrintsMessages) {
    EXPECT_EQ(MTraceS(1, "nowhere"), 0);
    MPlatContext context = {};
    context.trace_mask = 6;
    MSTATIC_MSetContext(&context);
    testing::internal::CaptureStdout();
    EXPECT_EQ(MTraceS(1, "not this"), 6);
    EXPECT_EQ(MTraceS(2, "%s %d\n", "50%s", 3), 7);
    EXPECT_EQ(MTraceS(4, "%s", std::string(1000, 'x').c_str()), 287);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "50%s 3\n" + std::string(287, 'x'));
    MSTATIC_MSetContext(nullptr);
}

TEST(Context, StartAndEnd) {
    const TestFolder folder;
    const std::string trace = folder.put_text("trace", "started afresh"), log = folder.path("log");
    const MPlatInitParams params = {9, 9, 0, trace.c_str(), 5, log.c_str(), 0x70};
    EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultFailed});
    EXPECT_EQ(MPlatInitialize(nullptr), uint32_t{ResultInvalidArg});
    {
        const FailingAllocator heap;
        ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk});
        ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk}) << "the first context is closed";
        MPlatContext *context = MSTATIC_MGetContext();
        EXPECT_EQ(context->trace_mask, 0x70u);
        MLogS(nullptr, 4, "kept ");
        MLogS(nullptr, 2, "of no wanted level ");
        EXPECT_EQ(MLogClose(reinterpret_cast<MLogHandle>(context->log_stream)), uint32_t{ResultOk});
        EXPECT_EQ(MLogS(nullptr, 4, "closed"), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MDebugStreamClose(), uint32_t{ResultOk});
        EXPECT_EQ(MSTATIC_MDebugStreamClose(), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MDebugStreamDump(1, "x", 1), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MContextDestroy(), uint32_t{ResultOk});
        EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultOk});
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
    EXPECT_EQ(MSTATIC_MGetContext(), nullptr);
    EXPECT_EQ(folder.get_text("log"), "kept ");
    EXPECT_EQ(folder.get_text("trace"), "QUDD");
}

TEST(Context, FilesAndAllocationsThatFail) {
    const TestFolder folder;
    const std::string trace = folder.path("trace"), log = folder.path("log"), bad = folder.path("no/file");
    MPlatInitParams params = {0, 0, 1, trace.c_str(), 1, log.c_str(), 0};
    for (const char **const file : {&params.trace_file, &params.log_file}) {
        const char *good = std::exchange(*file, bad.c_str());
        const FailingAllocator heap;
        EXPECT_EQ(MPlatInitialize(&params), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MGetContext(), nullptr);
        EXPECT_EQ(heap.live_blocks(), 0u);
        *file = good;
    }
    bool failed = true;
    for (uint64_t n = 1; failed; ++n) {
        const FailingAllocator heap(n);
        const uint32_t result = MPlatInitialize(&params);
        failed = heap.has_failed();
        // Without mutexes it works, without a trace table there is no context but no failure either.
        EXPECT_EQ(result == ResultNoMemory, n == 1) << n;
        EXPECT_EQ(MSTATIC_MGetContext() != nullptr, !failed || n == 2 || n == 3) << n;
        EXPECT_TRUE(failed || MSTATIC_MTableAddOneID(1, "x") == ResultNoMemory) << "one more allocation";
        MPlatUninitialize();
        EXPECT_EQ(heap.live_blocks(), 0u) << n;
    }
}

}  // namespace
}  // namespace quorv::test
