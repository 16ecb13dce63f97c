// The byte readers of the AVI splitter, with the repetition that their callers rely on, stream positions and
// packets.

#include <gtest/gtest.h>

#include "aviparser/AviUtils.h"
#include "support/FailingAllocator.h"
#include "support/TestSource.h"

namespace quorv::test {
namespace {

struct Stream {
    explicit Stream(Bytes bytes, Faults faults = {})
        : store(std::move(bytes)), test(store, SPLITER_SOURCE_LOCAL, faults) {
        source.callbacks = test.record();
        source.open(StreamAccess::Read);
    }
    uint64_t position() {
        int64_t at = 0;
        source.tell(&at);
        return static_cast<uint64_t>(at);
    }

    MemoryStore store;
    TestSource test;
    StreamSource source = {};
};

using Reader32 = uint32_t (*)(StreamSource *, uint32_t *);
using Reader64 = uint32_t (*)(StreamSource *, uint64_t *);

const Bytes kBytes = {0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8, 0x09};

TEST(AviByteReader, IntegersOfEveryWidth) {
    const std::tuple<Reader32, size_t, uint32_t> cases[] = {
        {avi_get_byte, 1, 0x81},       {avi_get_le16, 2, 0x9281},   {avi_get_be16, 2, 0x8192},
        {avi_get_le24, 3, 0xA39281},   {avi_get_be24, 3, 0x8192A3}, {avi_get_le32, 4, 0xB4A39281},
        {avi_get_be32, 4, 0x8192A3B4},
    };
    for (const auto &[reader, width, expected] : cases) {
        Stream s(kBytes);
        uint32_t value = 0xDEADBEEF;
        EXPECT_EQ(reader(&s.source, &value), 0u);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(s.test.reads, width);
        EXPECT_EQ(s.test.bytes_read, width);
    }
    const std::pair<Reader64, uint64_t> wide[] = {{avi_get_le64, 0xF8E7D6C5B4A39281},
                                                  {avi_get_be64, 0x8192A3B4C5D6E7F8}};
    for (const auto &[reader, expected] : wide) {
        Stream s(kBytes);
        uint64_t value = 1;
        EXPECT_EQ(reader(&s.source, &value), 0u);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(s.test.reads, 8u);
    }
}

TEST(AviByteReader, AStreamThatEndsIsAskedOnceMore) {
    Stream s(Bytes{1, 2, 3});
    uint32_t value = 0;
    EXPECT_EQ(avi_get_le32(&s.source, &value), kSourceAtEnd);
    EXPECT_GT(s.test.reads, 4u);
}

// A part that fails is read once more, and the reader ends with that result: after a failure that happens
// once it reports success, with the part missing and the stream behind it.
TEST(AviByteReader, AFailedPartIsRepeatedAndLost) {
    struct Case {
        Reader32 reader;
        uint64_t failing_read;
        uint32_t value;
        uint64_t position;
    };
    const Case cases[] = {
        {avi_get_le16, 1, 0, 1},          {avi_get_le16, 2, 0x81, 2},       {avi_get_be16, 2, 0x8100, 2},
        {avi_get_le24, 3, 0x9281, 3},     {avi_get_be24, 3, 0x819200, 3},   {avi_get_le32, 1, 0xA3920000, 3},
        {avi_get_le32, 2, 0xB4A30081, 4}, {avi_get_le32, 3, 0x9281, 3},     {avi_get_le32, 4, 0xA39281, 4},
        {avi_get_be32, 1, 0x92A3, 3},     {avi_get_be32, 2, 0x8100A3B4, 4}, {avi_get_be32, 3, 0x81920000, 3},
        {avi_get_be32, 4, 0x8192A300, 4},
    };
    for (const Case &c : cases) {
        Stream s(kBytes);
        s.test.faults.at = s.test.calls() + c.failing_read;
        uint32_t value = 0;
        EXPECT_EQ(c.reader(&s.source, &value), 0u);
        EXPECT_EQ(value, c.value) << "read " << c.failing_read;
        EXPECT_EQ(s.position(), c.position) << "read " << c.failing_read;
    }
}

TEST(AviByteReader, NullSources) {
    uint32_t value = 7;
    uint64_t wide = 7;
    for (const Reader32 reader :
         {avi_get_le16, avi_get_be16, avi_get_le24, avi_get_be24, avi_get_le32, avi_get_be32}) {
        EXPECT_EQ(reader(nullptr, &value), 0u);
        Stream s(kBytes);
        EXPECT_EQ(reader(&s.source, nullptr), 0u);
        EXPECT_EQ(s.test.reads, 0u);
    }
    EXPECT_EQ(avi_get_le64(nullptr, &wide) + avi_get_be64(nullptr, &wide), 0u);
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(wide, 7u);
    const uint32_t bad = SPLITER_ERR_INVALID_PARAM;
    EXPECT_EQ(avi_get_byte(nullptr, &value), bad);
    EXPECT_EQ(avi_get_buffer(nullptr, &value, 1), bad);
    EXPECT_EQ(avi_url_fsseek(nullptr, SeekOrigin::Start, 0), bad);
    EXPECT_EQ(avi_url_fskip(nullptr, 0), bad);
    EXPECT_EQ(avi_url_fstell(nullptr), int64_t{bad});
    EXPECT_EQ(avi_url_fsize(nullptr), int64_t{bad});
}

TEST(AviByteReader, PositionsAndSizes) {
    Stream s(kBytes);
    EXPECT_EQ(avi_url_fsize(&s.source), 9);
    EXPECT_EQ(avi_url_fsseek(&s.source, SeekOrigin::Start, 5), 0u);
    EXPECT_EQ(avi_url_fskip(&s.source, -2), 0u);
    EXPECT_EQ(avi_url_fstell(&s.source), 3);
    EXPECT_EQ(avi_url_fskip(&s.source, -4), kSourceFailed);
    // A failing callback is asked twice; the second code stands for the position.
    s.test.faults.code = 5;
    s.test.faults.for_good = true;
    s.test.faults.at = s.test.calls() + 1;
    EXPECT_EQ(avi_url_fstell(&s.source), 5);
    EXPECT_EQ(avi_url_fsize(&s.source), 5);
    EXPECT_EQ(s.test.tells, 3u);
    EXPECT_EQ(s.test.sizes, 3u);
    s.test.faults.code = 0x80000001;
    EXPECT_EQ(avi_url_fstell(&s.source), int64_t{INT32_MIN} + 1);
}

TEST(AviPacketRecord, OwnsItsBytes) {
    Stream s(kBytes);
    AviPacket packet;
    memset(static_cast<void *>(&packet), 0x55, sizeof packet);
    ASSERT_EQ(avi_url_fskip(&s.source, 2), 0u);
    ASSERT_EQ(avi_get_packet(&s.source, &packet, 5), 0u);
    EXPECT_EQ(packet.size, 5);
    EXPECT_EQ(packet.position, 2);
    EXPECT_EQ(packet.pts, kAviNoTimeStamp);
    EXPECT_EQ(packet.dts, kAviNoTimeStamp);
    EXPECT_EQ(Bytes(packet.data, packet.data + 13),
              (Bytes{0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0, 0, 0, 0, 0, 0, 0, 0}));
    avi_free_packet(&packet);
    EXPECT_EQ(packet.data, nullptr);
    EXPECT_EQ(packet.size, 0);
    avi_free_packet(&packet);
    avi_free_packet(nullptr);
    FailingAllocator heap(1);
    EXPECT_EQ(avi_new_packet(&packet, 100), uint32_t{SPLITER_ERR_NO_MEMORY});
    EXPECT_EQ(packet.data, nullptr);
    EXPECT_EQ(packet.size, 0);
    EXPECT_EQ(packet.position, -1);
}

}  // namespace
}  // namespace quorv::test
