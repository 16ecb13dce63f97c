// The platform context and its trace stream: records decoded from the file, trace tables, printed messages,
// start-up and shut-down when parts of it fail.

#include <gtest/gtest.h>
#include <quorv/platform/context.h>
#include <quorv/platform/log.h>
#include <quorv/platform/memory.h>
#include <string.h>

#include <numeric>
#include <string>

#include "support/FailingAllocator.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

// One record of a trace file: its kind, and its words or its text behind the identifier.
struct TraceRecord {
    uint32_t kind;
    std::vector<uint32_t> words;
    std::string text() const {
        const std::string bytes(reinterpret_cast<const char *>(words.data() + 1), (words.size() - 1) * 4);
        return bytes.substr(0, bytes.find('\0'));
    }
};

std::vector<TraceRecord> decode(const Bytes &file) {
    std::vector<TraceRecord> records;
    EXPECT_EQ(std::string(file.begin(), file.begin() + 4), "QUDD");
    for (size_t at = 4; at < file.size();) {
        const auto word = [&](size_t offset) {
            return uint32_t{file.at(offset)} | uint32_t{file.at(offset + 1)} << 8 |
                   uint32_t{file.at(offset + 2)} << 16 | uint32_t{file.at(offset + 3)} << 24;
        };
        const uint32_t length = word(at) & 0xFFFF;
        EXPECT_EQ(length % 4, 0u);
        TraceRecord record = {word(at) >> 16, {}};
        for (size_t offset = 4; offset < length; offset += 4)
            record.words.push_back(word(at + offset));
        records.push_back(record);
        at += length;
    }
    return records;
}

// A context with a trace stream, until it is closed.
class TracingContext {
public:
    explicit TracingContext(uint32_t levels = 0xFFFFFFFF) {
        const std::string path = folder_.path("trace");
        const MPlatInitParams params = {0, 0, levels, path.c_str(), 0, nullptr, 0};
        EXPECT_EQ(MPlatInitialize(&params), uint32_t{ResultOk});
    }
    ~TracingContext() {
        if (open_) MPlatUninitialize();
    }
    std::vector<TraceRecord> close() {
        open_ = false;
        EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultOk});
        return decode(folder_.get("trace"));
    }

private:
    TestFolder folder_;
    bool open_ = true;
};

uint32_t low_word(const void *pointer) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

TEST(Trace, TextAndDataRecords) {
    TracingContext context(6);
    std::vector<std::string> texts;
    for (const size_t length : {0u, 1u, 3u, 4u, 239u, 240u, 1000u, 65523u})
        texts.emplace_back(length, 't');
    for (const std::string &text : texts)
        EXPECT_EQ(MSTATIC_MTableOutPutID(2, 3, text.c_str()), 0u);
    EXPECT_EQ(MSTATIC_MTableOutPutID(1, 2, std::string(65524, 'x').c_str()), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MSTATIC_MTableOutPutID(1, 2, nullptr), uint32_t{ResultInvalidArg});
    std::vector<uint32_t> values(16379);
    std::iota(values.begin(), values.end(), 0x80000000u);
    const uint32_t counts[] = {0, 1, 30, 31, 5000, 16378};
    for (const uint32_t count : counts)
        EXPECT_EQ(MSTATIC_MLogTraceData(2, 1, 0xFFFFFFFF, 3, 4, values.data(), count), 0u);
    EXPECT_EQ(MSTATIC_MLogTraceData(1, 0, 0, 0, 0, values.data(), 5), 0u) << "not of the wanted levels";
    EXPECT_EQ(MSTATIC_MLogTraceData(2, 1, 2, 3, 4, values.data(), 16379), uint32_t{ResultInvalidArg});
    EXPECT_EQ(MSTATIC_MLogTraceData(2, 1, 2, 3, 4, nullptr, 1), uint32_t{ResultInvalidArg});
    const std::vector<TraceRecord> records = context.close();
    ASSERT_EQ(records.size(), texts.size() + std::size(counts));
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(records[i].kind, 3u);
        EXPECT_EQ(records[i].words[0], low_word(texts[i].c_str()));
        EXPECT_EQ(records[i].text(), texts[i]);
        EXPECT_EQ(records[i].words.size(), 1 + (texts[i].size() + 4) / 4) << "the least padding";
    }
    for (size_t i = 0; i < std::size(counts); ++i) {
        std::vector<uint32_t> expected = {1, 0xFFFFFFFF, 3, counts[i] > 30 ? 0u : 4u};
        expected.insert(expected.end(), values.data(), values.data() + counts[i]);
        EXPECT_EQ(records[texts.size() + i].kind, 1u);
        EXPECT_EQ(records[texts.size() + i].words, expected);
    }
}

TEST(Trace, Tables) {
    TracingContext context;
    // More than one node of 256 entries, more than one storage of 8192 bytes, one text larger than that.
    std::vector<std::string> texts;
    for (size_t i = 0; i < 600; ++i)
        texts.push_back("text " + std::to_string(i) + std::string(i == 77 ? 9000 : i % 50, '.'));
    texts[78].resize(8191, '.');  // fills a storage to its last byte
    const std::vector<std::string> copies = texts;
    // The second table gets identifiers alone.
    MPlatContext *const current = MSTATIC_MGetContext();
    EXPECT_EQ(MSTATIC_MTableReMoveAll(1, reinterpret_cast<void *>(current->second_table)), 0u);
    current->second_table = reinterpret_cast<uintptr_t>(MSTATIC_MTableNewOneNode(2, 0));
    for (const uint32_t table : {1u, 2u, 3u}) {
        for (size_t i = 0; i < texts.size(); ++i) {
            const char *const same = table == 2 ? texts[i].c_str() : copies[i].c_str();
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
    std::vector<uint32_t> identifiers;
    for (std::string &text : texts) {
        identifiers.push_back(low_word(text.c_str()));
        text.assign(text.size(), '?');  // the tables have copies
    }
    for (const uint32_t table : {1u, 3u, 2u})
        EXPECT_EQ(MSTATIC_MTableWrite(1, table), 0u);

    const std::vector<TraceRecord> records = context.close();
    ASSERT_EQ(records.size(), 600u * 2 + 3);
    for (size_t i = 0; i < 1200; ++i) {
        EXPECT_EQ(records[i].kind, i < 600 ? 257u : 259u) << "no kind of data records";
        EXPECT_EQ(records[i].words[0], identifiers[i % 600]);
        EXPECT_EQ(records[i].text(), copies[i % 600]);
    }
    std::vector<uint32_t> listed;
    for (size_t i = 1200; i < 1203; ++i) {
        const std::vector<uint32_t> &words = records[i].words;
        EXPECT_EQ(words[0], 2u);
        EXPECT_EQ(words[1], words.size() - 4);
        listed.insert(listed.end(), words.begin() + 4, words.end());
    }
    EXPECT_EQ(listed, identifiers);
}

TEST(Trace, PrintedMessages) {
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
    const std::string trace = folder.path("trace"), log = folder.path("log"), bad = folder.path("no/file");
    MPlatInitParams params = {9, 9, 0, trace.c_str(), 5, log.c_str(), 0x70};
    EXPECT_EQ(MPlatUninitialize(), uint32_t{ResultFailed});
    EXPECT_EQ(MPlatInitialize(nullptr), uint32_t{ResultInvalidArg});
    {
        const FailingAllocator heap;
        ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk});
        ASSERT_EQ(MPlatInitialize(&params), uint32_t{ResultOk}) << "the first context is closed";
        MPlatContext *const context = MSTATIC_MGetContext();
        EXPECT_EQ(context->trace_mask, 0x70u);
        MLogS(nullptr, 4, "kept ");
        MLogS(nullptr, 2, "of no wanted level ");
        EXPECT_EQ(MLogClose(reinterpret_cast<MLogHandle>(context->log_stream)), uint32_t{ResultOk});
        EXPECT_EQ(MLogS(nullptr, 4, "closed"), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MDebugStreamClose(), uint32_t{ResultOk});
        EXPECT_EQ(MSTATIC_MDebugStreamClose(), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MDebugStreamDump(1, "x", 1), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MContextDestroy() + MPlatUninitialize(), 0u);
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
    EXPECT_EQ(MSTATIC_MGetContext(), nullptr);
    EXPECT_EQ(folder.get("log"), (Bytes{'k', 'e', 'p', 't', ' '}));
    EXPECT_EQ(decode(folder.get("trace")).size(), 0u);
    for (MPlatInitParams broken : {MPlatInitParams{0, 0, 0, bad.c_str(), 0, nullptr, 0},
                                   MPlatInitParams{0, 0, 0, trace.c_str(), 0, bad.c_str(), 0}}) {
        const FailingAllocator heap;
        EXPECT_EQ(MPlatInitialize(&broken), uint32_t{ResultFailed});
        EXPECT_EQ(MSTATIC_MGetContext(), nullptr);
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
}

TEST(Context, EveryFailingAllocation) {
    const TestFolder folder;
    const std::string trace = folder.path("trace"), log = folder.path("log");
    const MPlatInitParams params = {0, 0, 1, trace.c_str(), 1, log.c_str(), 0};
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
