// Reads from sources that claim more than they write, and from honest ones whose bytes look like that; with a
// window that reads ahead, and without.

#include "splitter/StreamSource.h"

#include <gtest/gtest.h>

#include <numeric>

#include "support/TestSource.h"

namespace quorv::test {
namespace {

// The bytes 100, 101, ... and among them what the splitters put into a buffer to see whether it is written.
Bytes content_with_marks() {
    Bytes bytes(40);
    std::iota(bytes.begin(), bytes.end(), uint8_t{100});
    const Bytes mark = {0xB5, 0x9D, 0x2C, 0xE3};
    for (const ptrdiff_t at : {8, 12, 16, 23, 36})
        std::copy(mark.begin(), mark.end(), bytes.begin() + at);
    return bytes;
}

struct Read {
    uint32_t code, delivered;
    Bytes buffer;
};

Read read_from(TestSource &test, uint32_t start, uint32_t count, bool ahead) {
    ReadWindow window;
    StreamSource source = {};
    source.callbacks = test.record();
    if (ahead) {
        window.enlarge(0);
        source.window = &window;
    }
    EXPECT_EQ(source.open(StreamAccess::Read), Code::Ok);
    int64_t length = 0;
    EXPECT_EQ(source.size(&length), Code::Ok);
    EXPECT_EQ(source.move_to(start), Code::Ok);
    Read result = {0, 0, Bytes(count, 0x77)};
    result.code = to_public(source.read_fully(result.buffer.data(), count, &result.delivered));
    return result;
}

TEST(StreamSource, BelievesBytesOfAnyValue) {
    const Bytes bytes = content_with_marks();
    const MemoryStore store(bytes);
    for (const uint32_t longest_read : {1u, 5u, 100u}) {
        for (uint32_t start = 0; start < bytes.size(); ++start) {
            for (uint32_t count = 1; count <= bytes.size() - start; ++count) {
                for (const bool ahead : {false, true}) {
                    TestSource test(store, SPLITER_SOURCE_LOCAL, {.longest_read = longest_read});
                    const Read read = read_from(test, start, count, ahead);
                    ASSERT_EQ(read.code, 0u);
                    ASSERT_EQ(read.delivered, count);
                    ASSERT_EQ(read.buffer, Bytes(&bytes[start], &bytes[start] + count));
                }
            }
        }
    }
}

TEST(StreamSource, EndsWhereASourceStopsWriting) {
    const Bytes bytes = content_with_marks();
    const MemoryStore store(bytes);
    for (uint32_t lies_from = 0; lies_from <= bytes.size(); ++lies_from) {
        for (uint32_t start = 0; start <= bytes.size(); ++start) {
            const uint32_t honest = lies_from > start ? lies_from - start : 0;
            SCOPED_TRACE(std::to_string(lies_from) + ", read from " + std::to_string(start));
            Bytes expected(bytes.data() + start, bytes.data() + start + honest);
            expected.resize(honest + 20);  // with zeros
            for (const bool ahead : {false, true}) {
                TestSource test(store, SPLITER_SOURCE_LOCAL, {.lies_from = lies_from});
                const Read read = read_from(test, start, honest + 20, ahead);
                ASSERT_EQ(read.code, 0u);
                ASSERT_EQ(read.delivered, honest);
                ASSERT_EQ(read.buffer, expected);
            }
        }
    }
}

// What lies in front of that place can still be had; behind it nothing is asked for any more.
TEST(StreamSource, AsksNoMoreBehindALie) {
    const MemoryStore store(content_with_marks());
    TestSource test(store, SPLITER_SOURCE_LOCAL, {.lies_from = 30});
    StreamSource source = {};
    source.callbacks = test.record();
    ASSERT_EQ(source.open(StreamAccess::Read), Code::Ok);
    ASSERT_EQ(source.move_to(25), Code::Ok);
    uint8_t buffer[20];
    uint32_t delivered = 0;
    ASSERT_EQ(source.read_fully(buffer, 20, &delivered), Code::Ok);
    EXPECT_EQ(delivered, 5u);
    const uint64_t reads = test.reads;
    for (const int64_t behind : {30, 31}) {
        ASSERT_EQ(source.move_to(behind), Code::Ok);
        ASSERT_EQ(source.read(buffer, 1, &delivered), Code::Ok);
        EXPECT_EQ(delivered, 0u);
    }
    EXPECT_EQ(test.reads, reads);
    ASSERT_EQ(source.move_to(28), Code::Ok);
    ASSERT_EQ(source.read_available(buffer, 8, &delivered), Code::Ok);
    EXPECT_EQ(delivered, 2u);
    EXPECT_EQ(buffer[1], 129);
}

// A failure while it reads ahead is nobody's; one for good is met by whoever needs the bytes. What is near
// comes out of few calls.
TEST(StreamSource, AReadAheadThatFailsIsAsIfItHadNotBeenTried) {
    Bytes bytes(40000);
    std::iota(bytes.begin(), bytes.end(), uint8_t{0});
    const MemoryStore store(bytes);
    for (uint64_t at = 0; at < 40; ++at) {
        SCOPED_TRACE(at);
        TestSource test(store);
        ReadWindow window;
        window.enlarge(0);
        StreamSource source = {};
        source.callbacks = test.record();
        source.window = &window;
        int64_t length = 0;
        ASSERT_EQ(source.open(StreamAccess::Read), Code::Ok);
        ASSERT_EQ(source.size(&length), Code::Ok);
        const uint64_t before = test.calls();
        test.faults.at = at == 0 ? 0 : before + at;
        for (uint32_t start = 20000; start < bytes.size(); start += 100) {
            uint8_t read[100];
            uint32_t delivered = 0;
            ASSERT_EQ(source.read_at(start, read, sizeof read, &delivered), Code::Ok);
            ASSERT_EQ(Bytes(read, read + delivered), Bytes(&bytes[start], &bytes[start] + 100));
        }
        if (at == 0) {
            EXPECT_LE(test.calls() - before, 8u);
        }
    }
    TestSource test(store, SPLITER_SOURCE_LOCAL, {.cut = 30000});
    EXPECT_EQ(read_from(test, 30000, 8, true).code, kSourceAtEnd);
}

}  // namespace
}  // namespace quorv::test
