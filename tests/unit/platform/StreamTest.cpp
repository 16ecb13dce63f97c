// Streams: all three kinds against one another under random use, what they do not share, and files by path.

#include <gtest/gtest.h>
#include <quorv/platform/stream.h>
#include <sys/stat.h>

#include <random>

#include "support/FailingAllocator.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

constexpr int64_t kBlock = 16384;

TEST(Stream, AllKindsDoTheSameUnderRandomUse) {
    const TestFolder folder;
    for (uint32_t seed = 0; seed < 24; ++seed) {
        std::mt19937 engine(seed);
        const auto random = [&engine](intptr_t limit) {
            return static_cast<intptr_t>(engine() % static_cast<size_t>(limit));
        };
        const uint32_t size = 1 + static_cast<uint32_t>(random(kBlock));
        Bytes buffer(size);
        const std::string path = folder.put("stream", buffer);
        const MStream streams[] = {MStreamOpenFromFileS(path.c_str(), 4),
                                   MStreamOpenFromMemoryBlock(nullptr, size),
                                   MStreamOpenFromMemoryBlock(buffer.data(), size)};
        for (int step = 0; step < 800; ++step) {
            // The caller's buffer stays behind when the others begin to grow.
            const bool grows = step >= 400;
            const intptr_t end = MStreamGetSize(streams[0]), position = MStreamTell(streams[0]);
            const intptr_t action = random(5), origin = random(3);
            const intptr_t offset = random(end + 1) - (origin == 0 ? 0 : origin == 1 ? end : position);
            intptr_t count = random(random(4) == 0 ? 40000 : 500) - 2;
            if (action == 1 && !grows) count = std::min(count, end - position);
            const int32_t bytes = static_cast<int32_t>(count);
            Bytes data(static_cast<size_t>(std::max<intptr_t>(count, 0)));
            if (action == 1)
                std::generate(data.begin(), data.end(), [&] { return static_cast<uint8_t>(engine()); });
            std::vector<Bytes> got(3, Bytes(data.size()));
            std::vector<std::vector<intptr_t>> results;
            for (size_t i = 0; i < (grows ? 2 : 3); ++i) {
                const MStream stream = streams[i];
                intptr_t result = 0;
                if (action == 0) result = MStreamRead(stream, got[i].data(), bytes);
                if (action == 1) result = MStreamWrite(stream, data.data(), bytes);
                if (action == 2) result = MStreamSeek(stream, static_cast<uint32_t>(origin), offset);
                if (action == 3) result = MStreamFlush(stream);
                if (action == 4) {
                    const MStream copy = MStreamOpenFromMemoryBlock(nullptr, 0);
                    result = MStreamCopy(stream, copy, bytes);
                    MStreamSeek(copy, MSTREAM_SEEK_START, 0);
                    MStreamRead(copy, got[i].data(), bytes);
                    MStreamClose(copy);
                }
                if (action == 0 || action == 4) {
                    ASSERT_EQ(result, std::clamp<intptr_t>(count, 0, end - position)) << seed << ' ' << step;
                }
                results.push_back({result, MStreamTell(stream), MStreamGetSize(stream)});
                ASSERT_EQ(results[i], results[0]) << "seed " << seed << " step " << step << " stream " << i;
                ASSERT_EQ(got[i], got[0]) << "seed " << seed << " step " << step << " stream " << i;
            }
        }
        for (const MStream stream : streams)
            EXPECT_EQ(MStreamClose(stream), 1);
    }
}

TEST(Stream, WhatTheKindsDoNotShare) {
    const TestFolder folder;
    char bytes[8] = "abcdefg";
    const MStream file = MStreamOpenFromFileS(folder.path("file").c_str(), 5);
    const MStream fixed = MStreamOpenFromMemoryBlock(bytes, 4);
    for (const uint32_t first_block : {0u, 16385u}) {
        const MStream memory = MStreamOpenFromMemoryBlock(nullptr, first_block);
        EXPECT_EQ(MStreamGetSize(memory), 16384);
        for (uint32_t origin = 0; origin < 3; ++origin) {
            EXPECT_EQ(MStreamSeek(memory, origin, INTPTR_MAX), 0);
            EXPECT_EQ(MStreamTell(memory), 16384);
            EXPECT_EQ(MStreamSeek(memory, origin, INTPTR_MIN), 0);
            EXPECT_EQ(MStreamTell(memory), 0);
        }
        EXPECT_EQ(MStreamSeek(memory, 3, 0), 1);
        EXPECT_EQ(MStreamSetSize(memory, 20000), 16384);
        EXPECT_EQ(MStreamSetSize(memory, -1), 0);
        EXPECT_EQ(MStreamSetSize(memory, 3), 3);
        EXPECT_EQ(MStreamRead(memory, bytes + 4, 4), 3);
        EXPECT_EQ(MStreamSetSize(memory, 1), 1);
        EXPECT_EQ(MStreamWrite(memory, nullptr, -1), 0);
        EXPECT_EQ(MStreamGetSize(memory), 1);
        EXPECT_EQ(MStreamWrite(memory, nullptr, 0), 0);
        EXPECT_EQ(MStreamGetSize(memory), 3) << "it reaches to the position, as after every write";
        EXPECT_EQ(MStreamWrite(memory, "x", 1), 1);
        EXPECT_EQ(MStreamGetSize(memory), 4);
        EXPECT_EQ(MStreamSetSize(memory, 1), 1);
        EXPECT_EQ(MStreamSeek(memory, MSTREAM_SEEK_CURRENT, -1), 0);
        EXPECT_EQ(MStreamTell(memory), 1) << "no farther than the size";
        EXPECT_EQ(MStreamWrite(memory, Bytes(20000).data(), 20000), 20000);
        EXPECT_EQ(MStreamSetSize(memory, 40000), 32768) << "all of its two blocks";
        EXPECT_EQ(MStreamClose(memory), 1);
    }
    EXPECT_EQ(MStreamSetSize(fixed, 2), 2);
    EXPECT_EQ(MStreamRead(fixed, bytes + 4, 4), 4) << "its whole buffer, whatever its size";
    EXPECT_EQ(MStreamSetSize(fixed, 9), 4);
    EXPECT_EQ(MStreamSeek(fixed, MSTREAM_SEEK_START, 3), 0);
    EXPECT_EQ(MStreamTell(fixed), 3);
    EXPECT_EQ(MStreamWrite(fixed, "xyz", 3), 1);
    EXPECT_EQ(std::string(bytes, 5), "abcxa");
    EXPECT_EQ(MStreamSeek(file, MSTREAM_SEEK_START, 2), 0);
    EXPECT_NE(MStreamSeek(file, MSTREAM_SEEK_CURRENT, -3), 0);
    EXPECT_NE(MStreamSeek(file, 3, 0), 0);
    EXPECT_EQ(MStreamSetSize(file, 1), -1);
    EXPECT_EQ(MStreamCopy(file, fixed, 9), 0);
    EXPECT_EQ(MStreamWrite(file, "c", 1), 1);
    EXPECT_EQ(MStreamClose(file), 1);
    EXPECT_EQ(MStreamClose(fixed), 1);
    EXPECT_EQ(folder.get("file"), (Bytes{0, 0, 'c'}));
    for (const intptr_t refused :
         {intptr_t{MStreamRead(nullptr, bytes, 1)}, intptr_t{MStreamWrite(nullptr, bytes, 1)},
          intptr_t{MStreamSeek(nullptr, 0, 1)}, MStreamTell(nullptr), MStreamGetSize(nullptr),
          MStreamSetSize(nullptr, 1), intptr_t{MStreamFlush(nullptr)}, intptr_t{MStreamClose(nullptr)},
          intptr_t{MStreamCopy(nullptr, nullptr, 9)}})
        EXPECT_EQ(refused, 0);
}

TEST(Stream, OpenModes) {
    const TestFolder folder;
    const std::string path = folder.path("file");
    const struct {
        uint32_t mode;
        bool creates;
        int32_t read;         // from a file "abc"
        const char *written;  // what it is after writing "Z" at its start
    } cases[] = {{0, false, 1, "abc"}, {1, false, 1, "abc"}, {2, true, 0, "Z"},    {3, true, 0, "abcZ"},
                 {4, false, 1, "Zbc"}, {5, true, 0, "Z"},    {6, true, 1, "abcZ"}, {9, false, 1, "abc"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.mode);
        MStreamFileDeleteS(path.c_str());
        EXPECT_EQ(MStreamClose(MStreamOpenFromFileS(path.c_str(), c.mode)), c.creates);
        EXPECT_EQ(MStreamFileExistsS(path.c_str()), c.creates);
        folder.put_text("file", "abc");
        const MStream stream = MStreamOpenFromFileS(path.c_str(), c.mode);
        char byte = 0;
        EXPECT_EQ(MStreamRead(stream, &byte, 1), c.read);
        MStreamSeek(stream, 0, 0);
        MStreamWrite(stream, "Z", 1);
        MStreamClose(stream);
        EXPECT_EQ(folder.get_text("file"), c.written);
    }
}

TEST(Stream, FilesBeyondTwoGigabytes) {
    const TestFolder folder;
    const std::string path = folder.path("sparse");
    const MStream stream = MStreamOpenFromFileS(path.c_str(), 5);
    constexpr int64_t kEnd = 0x7FFFFFFF + int64_t{0x7FFFFFFF} + 3;
    EXPECT_EQ(MStreamSeek(stream, MSTREAM_SEEK_START, 0x7FFFFFFF), 0);
    EXPECT_EQ(MStreamSeek(stream, MSTREAM_SEEK_CURRENT, 0x7FFFFFFF), 0);
    EXPECT_EQ(MStreamWrite(stream, "far", 3), 3);
    // Where positions have 31 bits they cannot be told, but the file is read and written all the same.
    EXPECT_EQ(MStreamTell(stream), sizeof(intptr_t) > 4 ? kEnd : -1);
    EXPECT_EQ(MStreamGetSize(stream), sizeof(intptr_t) > 4 ? kEnd : -1);
    EXPECT_EQ(MStreamSeek(stream, MSTREAM_SEEK_END, -2), 0);
    char tail[3] = {};
    EXPECT_EQ(MStreamRead(stream, tail, 3), 2);
    EXPECT_STREQ(tail, "ar");
    EXPECT_EQ(MStreamClose(stream), 1);
    EXPECT_EQ(MStreamFileGetSizeS(path.c_str()), static_cast<uint32_t>(kEnd));
}

std::u16string widen(const std::string &text) {
    return {text.begin(), text.end()};
}

const uint16_t *units(const std::u16string &text) {
    return reinterpret_cast<const uint16_t *>(text.c_str());
}

TEST(StreamFiles, CopyTakesSixteenBitPathsAtAnyAddress) {
    const TestFolder folder;
    const std::string contents(5000, 'c');
    const std::u16string from = widen(folder.put_text("from", contents)), to = widen(folder.path("to"));
    Bytes odd(1 + 2 * (from.size() + 1));
    memcpy(odd.data() + 1, from.c_str(), odd.size() - 1);
    EXPECT_EQ(MStreamFileCopyS(to.c_str(), odd.data() + 1), 1);
    EXPECT_EQ(folder.get_text("to"), contents);
    const std::u16string small = widen(folder.put_text("small", "abc"));
    for (const auto &[destination, source] : {std::pair(from, from),
                                              {u"/dev/full", from},
                                              {u"/dev/full", small},  // which shows only at closing
                                              {to, widen(folder.path(""))},
                                              {to, widen(folder.path("none"))}})
        EXPECT_EQ(MStreamFileCopyS(destination.c_str(), source.c_str()), 0) << source.size();
    EXPECT_EQ(MStreamFileCopyS(nullptr, from.c_str()), 0);
    EXPECT_EQ(MStreamFileCopyS(to.c_str(), nullptr), 0);
    EXPECT_EQ(folder.get_text("from"), contents) << "a copy over itself must not empty the file";
}

TEST(StreamFiles, RenameMoveDeleteAndPathsThatDoNotFit) {
    const TestFolder folder;
    const std::string a = folder.put_text("a", "abc"), b = folder.path("b"), c = folder.path("c");
    EXPECT_EQ(MStreamFileRenameS(a.c_str(), b.c_str()), 1);
    EXPECT_EQ(MStreamFileMoveS(c.c_str(), b.c_str()), 1);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"c"});
    EXPECT_EQ(MStreamFileExistsW(units(widen(c))), 1);
    EXPECT_EQ(MStreamFileDeleteS(c.c_str()), 1);
    EXPECT_EQ(MStreamFileDeleteS(c.c_str()), 0);
    EXPECT_EQ(MStreamFileExistsS(c.c_str()), 0);
    EXPECT_EQ(MStreamFileGetSizeS(c.c_str()), 0xFFFFFFFFu);

    std::string path = folder.path(std::string(200, 'd'));
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    path += '/';
    path.resize(259, 'f');
    EXPECT_EQ(MStreamClose(MStreamFileCreateW(units(widen(path)))), 1);
    folder.put("a", {1, 2, 3});
    const std::u16string source = widen(a);
    // Cut, or narrowed to an end of the path, they would name the files before.
    for (const std::u16string &bad : {widen(path + "f"), source + u"\u0100.t", source + u"\u4E00.t"}) {
        EXPECT_EQ(MStreamOpenFromFileW(units(bad), 1), nullptr);
        EXPECT_EQ(MStreamFileCreateW(units(bad)), nullptr);
        EXPECT_EQ(MStreamFileExistsW(units(bad)), 0);
        EXPECT_EQ(MStreamFileCopyS(bad.c_str(), source.c_str()), 0);
    }
    EXPECT_EQ(MStreamFileExistsW(nullptr), 0);
    EXPECT_EQ(folder.get("a").size(), 3u);
}

TEST(Stream, WithoutMemoryNothingOpensLeaksOrIsLost) {
    const TestFolder folder;
    const std::string path = folder.put("file", {'a', 'b', 'c'});
    {
        const FailingAllocator heap(1);
        EXPECT_EQ(MStreamFileCreateS(path.c_str()), nullptr);
    }
    EXPECT_EQ(folder.get("file").size(), 3u) << "a file that could not be opened must not be emptied";
    const Bytes data(100000, 'x');
    for (int64_t n = 1; n < 9; ++n) {
        const FailingAllocator heap(static_cast<uint64_t>(n));
        const MStream stream = MStreamOpenFromMemoryBlock(nullptr, 0);
        ASSERT_EQ(stream != nullptr, n > 2);
        EXPECT_EQ(MStreamWrite(stream, data.data(), 100000),
                  std::clamp<int64_t>(kBlock * (n - 2), 0, 100000));
        MStreamClose(stream);
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
}

}  // namespace
}  // namespace quorv::test
