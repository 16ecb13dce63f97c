// Streams: all three kinds against one model under random use, the limits of each, and files by path.

#include <gtest/gtest.h>
#include <quorv/platform/stream.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "support/FailingAllocator.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

constexpr int64_t kBlock = 16384;

enum class Kind { File, Growable, Fixed };

// What a stream should hold and do.
struct StreamModel {
    Kind kind;
    int64_t size;
    Bytes bytes = Bytes(static_cast<size_t>(size));  // of memory: the whole capacity
    int64_t position = 0;

    int64_t capacity() const { return static_cast<int64_t>(bytes.size()); }
    int32_t read(Bytes &out, int32_t count) {
        const int64_t end = kind == Kind::Fixed ? capacity() : size;
        const int64_t got = std::clamp<int64_t>(count, 0, std::max<int64_t>(end - position, 0));
        out.assign(bytes.data() + position, bytes.data() + position + got);
        position += got;
        return static_cast<int32_t>(got);
    }
    int32_t write(const uint8_t *data, int32_t count) {
        if (count == 0 && kind != Kind::File) size = std::max(size, position);
        if (count <= 0) return 0;
        int64_t end = position + count;
        if (kind == Kind::Fixed) end = std::min(end, capacity());
        while (kind == Kind::Growable && capacity() < end)
            bytes.resize(bytes.size() + kBlock);
        if (capacity() < end) bytes.resize(static_cast<size_t>(end));
        std::copy_n(data, end - position, bytes.data() + position);
        const int64_t written = end - position;
        position = end;
        size = std::max(size, position);
        return static_cast<int32_t>(written);
    }
    bool seek(uint32_t origin, int64_t offset) {
        if (origin > 2) return false;
        const int64_t target = (origin == 0 ? 0 : origin == 1 ? size : position) + offset;
        if (kind == Kind::File && target < 0) return false;
        position = kind == Kind::File ? target : std::clamp<int64_t>(target, 0, size);
        // Bytes of a file between its end and a later write are zero.
        if (kind == Kind::File && position > capacity()) bytes.resize(static_cast<size_t>(position));
        return true;
    }
    int64_t set_size(int64_t wanted) {
        return kind == Kind::File ? -1 : size = std::clamp<int64_t>(wanted, 0, capacity());
    }
};

int32_t copy(StreamModel &source, StreamModel &destination, int32_t count) {
    int32_t total = 0;
    while (total < count) {
        Bytes piece;
        const int32_t got = source.read(piece, std::min(count - total, 4096));
        const int32_t written = destination.write(piece.data(), got);
        total += written;
        if (got == 0 || written < got) break;
    }
    return total;
}

TEST(Stream, AllKindsAgreeWithAModelUnderRandomUse) {
    const TestFolder folder;
    for (uint32_t seed = 0; seed < 24; ++seed) {
        std::mt19937 engine(seed);
        const auto random = [&engine](int32_t limit) {
            return static_cast<int32_t>(engine() % static_cast<uint32_t>(limit));
        };
        Bytes fixed(static_cast<size_t>(1 + random(60000)));
        const int32_t first_block = 1 + random(kBlock);
        StreamModel models[] = {{Kind::File, 0},
                                {Kind::Growable, first_block},
                                {Kind::Fixed, static_cast<int64_t>(fixed.size())}};
        const MStream streams[] = {
            MStreamOpenFromFileS(folder.path("stream").c_str(), 5),
            MStreamOpenFromMemoryBlock(nullptr, static_cast<uint32_t>(first_block)),
            MStreamOpenFromMemoryBlock(fixed.data(), static_cast<uint32_t>(fixed.size()))};
        for (int step = 0; step < 600; ++step) {
            const size_t which = static_cast<size_t>(random(3)),
                         other = (which + 1 + static_cast<size_t>(random(2))) % 3;
            StreamModel &model = models[which];
            const MStream stream = streams[which];
            const int32_t count = random(random(4) == 0 ? 40000 : 500) - 2;
            Bytes expected, data(static_cast<size_t>(std::max(count, 0)));
            SCOPED_TRACE(testing::Message() << "seed " << seed << " step " << step << " stream " << which);
            switch (random(6)) {
                case 0:
                    data.resize(static_cast<size_t>(std::max(MStreamRead(stream, data.data(), count), 0)));
                    ASSERT_EQ(data.size(), static_cast<size_t>(model.read(expected, count)));
                    ASSERT_EQ(data, expected);
                    break;
                case 1:
                    std::generate(data.begin(), data.end(),
                                  [&] { return static_cast<uint8_t>(random(256)); });
                    ASSERT_EQ(MStreamWrite(stream, data.data(), count), model.write(data.data(), count));
                    break;
                case 2: {
                    const uint32_t origin = static_cast<uint32_t>(random(4));
                    const intptr_t offset = random(60000) - (origin == 0 ? 100 : 30000);
                    ASSERT_EQ(MStreamSeek(stream, origin, offset) == 0, model.seek(origin, offset));
                    break;
                }
                case 3:
                    if (random(4) != 0) break;
                    ASSERT_EQ(MStreamSetSize(stream, 2 * count - 100), model.set_size(2 * count - 100));
                    break;
                case 4:
                    ASSERT_EQ(MStreamCopy(stream, streams[other], count), copy(model, models[other], count));
                    ASSERT_EQ(MStreamTell(streams[other]), models[other].position);
                    break;
                default:
                    ASSERT_EQ(MStreamFlush(stream), 1);
            }
            ASSERT_EQ(MStreamTell(stream), model.position);
            ASSERT_EQ(MStreamGetSize(stream), model.size);
        }
        for (const MStream stream : streams)
            EXPECT_EQ(MStreamClose(stream), 1);
    }
}

TEST(Stream, Limits) {
    for (const uint32_t first_block : {0u, 16385u}) {
        const MStream stream = MStreamOpenFromMemoryBlock(nullptr, first_block);
        EXPECT_EQ(MStreamGetSize(stream), 16384);
        for (const auto &[offset, expected] : {std::pair{INTPTR_MAX, intptr_t{16384}}, {INTPTR_MIN, 0}}) {
            for (uint32_t origin = 0; origin < 3; ++origin) {
                EXPECT_EQ(MStreamSeek(stream, origin, offset), 0);
                EXPECT_EQ(MStreamTell(stream), expected);
            }
        }
        EXPECT_EQ(MStreamClose(stream), 1);
    }
    char byte = 0;
    EXPECT_EQ(MStreamRead(nullptr, &byte, 1) + MStreamWrite(nullptr, &byte, 1) + MStreamSeek(nullptr, 0, 1) +
                  MStreamTell(nullptr) + MStreamGetSize(nullptr) + MStreamSetSize(nullptr, 1) +
                  MStreamFlush(nullptr) + MStreamClose(nullptr) + MStreamCopy(nullptr, nullptr, 9),
              0);
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
        MStream stream = MStreamOpenFromFileS(path.c_str(), c.mode);
        EXPECT_EQ(stream != nullptr, c.creates);
        MStreamClose(stream);
        EXPECT_EQ(MStreamFileExistsS(path.c_str()), c.creates);
        folder.put("file", {'a', 'b', 'c'});
        stream = MStreamOpenFromFileS(path.c_str(), c.mode);
        char byte = 0;
        EXPECT_EQ(MStreamRead(stream, &byte, 1), c.read);
        MStreamSeek(stream, 0, 0);
        MStreamWrite(stream, "Z", 1);
        MStreamClose(stream);
        EXPECT_EQ(folder.get("file"), Bytes(c.written, c.written + strlen(c.written)));
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
    const Bytes contents(5000, 'c');
    const std::u16string from = widen(folder.put("from", contents)), to = widen(folder.path("to"));
    Bytes odd(1 + 2 * (from.size() + 1));
    memcpy(odd.data() + 1, from.c_str(), odd.size() - 1);
    EXPECT_EQ(MStreamFileCopyS(to.c_str(), odd.data() + 1), 1);
    EXPECT_EQ(folder.get("to"), contents);
    EXPECT_EQ(MStreamFileCopyS(from.c_str(), from.c_str()), 0);
    EXPECT_EQ(folder.get("from"), contents) << "a copy over itself must not empty the file";
    const std::u16string small = widen(folder.put("small", {1, 2, 3}));
    EXPECT_EQ(MStreamFileCopyS(u"/dev/full", from.c_str()), 0);
    EXPECT_EQ(MStreamFileCopyS(u"/dev/full", small.c_str()), 0) << "a full device shows only at closing";
    EXPECT_EQ(MStreamFileCopyS(to.c_str(), widen(folder.path("")).c_str()), 0) << "reading a folder fails";
    EXPECT_EQ(MStreamFileCopyS(to.c_str(), widen(folder.path("none")).c_str()), 0);
    EXPECT_EQ(MStreamFileCopyS(nullptr, from.c_str()) + MStreamFileCopyS(to.c_str(), nullptr), 0);
}

TEST(StreamFiles, RenameMoveDeleteAndPathsThatDoNotFit) {
    const TestFolder folder;
    const std::string a = folder.put("a", {1, 2, 3}), b = folder.path("b"), c = folder.path("c");
    EXPECT_EQ(MStreamFileGetSizeS(a.c_str()), 3u);
    EXPECT_EQ(MStreamFileRenameS(a.c_str(), b.c_str()), 1);
    EXPECT_EQ(MStreamFileMoveS(c.c_str(), b.c_str()), 1);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"c"}));
    EXPECT_EQ(MStreamFileExistsW(units(widen(c))), 1);
    EXPECT_EQ(MStreamFileDeleteS(c.c_str()), 1);
    EXPECT_EQ(MStreamFileDeleteS(c.c_str()) + MStreamFileExistsS(c.c_str()), 0);
    EXPECT_EQ(MStreamFileGetSizeS(c.c_str()), 0xFFFFFFFFu);

    std::string path = folder.path(std::string(200, 'd'));
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    path += '/';
    path.resize(259, 'f');
    EXPECT_EQ(MStreamClose(MStreamFileCreateW(units(widen(path)))), 1);
    path += 'f';  // must not name the file before
    EXPECT_EQ(MStreamOpenFromFileW(units(widen(path)), 1), nullptr);
    EXPECT_EQ(MStreamFileCreateW(units(widen(path))), nullptr);
    EXPECT_EQ(MStreamFileExistsW(units(widen(path))) + MStreamFileExistsW(nullptr), 0);
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

// Narrowed, their low byte would end the path early and name another file.
TEST(StreamFiles, PathsWithUnitsOfLowByteZeroFail) {
    const TestFolder folder;
    const std::u16string path = widen(folder.put("a", {1, 2, 3}));
    for (const char16_t unit : {u'\u0100', u'\u4E00'}) {
        const std::u16string longer = path + unit + u".t";
        EXPECT_EQ(MStreamFileCreateW(units(longer)), nullptr);
        EXPECT_EQ(MStreamFileExistsW(units(longer)), 0);
        EXPECT_EQ(MStreamFileCopyS(longer.c_str(), path.c_str()), 0);
    }
    EXPECT_EQ(folder.get("a").size(), 3u);
}

TEST(Stream, SizeThatWasSetBeforeThePosition) {
    const MStream stream = MStreamOpenFromMemoryBlock(nullptr, 100);
    EXPECT_EQ(MStreamSeek(stream, MSTREAM_SEEK_END, -10), 0);
    EXPECT_EQ(MStreamSetSize(stream, 5), 5);
    EXPECT_EQ(MStreamWrite(stream, nullptr, -1), 0);
    EXPECT_EQ(MStreamGetSize(stream), 5);
    EXPECT_EQ(MStreamWrite(stream, nullptr, 0), 0);
    EXPECT_EQ(MStreamGetSize(stream), 90) << "it reaches to the position, as after every write";
    EXPECT_EQ(MStreamSeek(stream, 3, 0), 1);
    EXPECT_EQ(MStreamClose(stream), 1);
}

}  // namespace
}  // namespace quorv::test
