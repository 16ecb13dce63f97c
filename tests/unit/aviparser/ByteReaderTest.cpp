// The byte readers of the AVI splitter, with the repetition that their callers rely on, stream positions and
// packets.

#include <gtest/gtest.h>

#include "aviparser/AviPacketRecord.h"
#include "aviparser/AviUtils.h"
#include "support/TestSource.h"

namespace quorv::test {
namespace {

class AviByteReader : public testing::Test {
protected:
    AviByteReader() {
        source.callbacks = test.record();
        source.open(StreamAccess::Read);
    }

    MemoryStore store{{0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8, 0x09}};
    TestSource test{store};
    StreamSource source = {};
};

// A part that fails is read once more, and the reader ends with that result: after a failure that happens
// once it reports success, with the part missing and the stream behind it.
TEST_F(AviByteReader, AFailedPartIsRepeatedAndLost) {
    using Reader32 = uint32_t (*)(StreamSource *, uint32_t *);
    const struct {
        Reader32 reader;
        uint64_t failing_read;  // 0: none
        uint32_t value;
        int64_t position;
    } cases[] = {
        {avi_get_byte, 0, 0x81, 1},       {avi_get_le16, 0, 0x9281, 2},     {avi_get_be16, 0, 0x8192, 2},
        {avi_get_le24, 0, 0xA39281, 3},   {avi_get_be24, 0, 0x8192A3, 3},   {avi_get_le32, 0, 0xB4A39281, 4},
        {avi_get_be32, 0, 0x8192A3B4, 4}, {avi_get_le16, 1, 0, 1},          {avi_get_le16, 2, 0x81, 2},
        {avi_get_be16, 2, 0x8100, 2},     {avi_get_le24, 3, 0x9281, 3},     {avi_get_be24, 3, 0x819200, 3},
        {avi_get_le32, 1, 0xA3920000, 3}, {avi_get_le32, 2, 0xB4A30081, 4}, {avi_get_le32, 3, 0x9281, 3},
        {avi_get_be32, 1, 0x92A3, 3},     {avi_get_be32, 2, 0x8100A3B4, 4}, {avi_get_be32, 4, 0x8192A300, 4},
    };
    for (const auto &c : cases) {
        ASSERT_EQ(avi_url_fsseek(&source, SeekOrigin::Start, 0), 0u);
        test.faults.at = c.failing_read == 0 ? 0 : test.calls() + c.failing_read;
        uint32_t value = c.failing_read == 0 ? 0xDEADBEEF : 0;
        EXPECT_EQ(c.reader(&source, &value), 0u);
        EXPECT_EQ(value, c.value) << "read " << c.failing_read;
        EXPECT_EQ(avi_url_fstell(&source), c.position) << "read " << c.failing_read;
        EXPECT_EQ(c.reader(nullptr, &value),
                  c.reader == avi_get_byte ? uint32_t{SPLITER_ERR_INVALID_PARAM} : 0u);
    }
    const std::pair<uint32_t (*)(StreamSource *, uint64_t *), uint64_t> wide[] = {
        {avi_get_le64, 0xF8E7D6C5B4A39281}, {avi_get_be64, 0x8192A3B4C5D6E7F8}};
    for (const auto &[reader, expected] : wide) {
        uint64_t value = 1;
        ASSERT_EQ(avi_url_fsseek(&source, SeekOrigin::Start, 0), 0u);
        EXPECT_EQ(reader(&source, &value) + reader(nullptr, &value), 0u);
        EXPECT_EQ(value, expected);
    }
    uint32_t value = 0;
    EXPECT_EQ(avi_get_le16(&source, &value), kSourceAtEnd);
}

TEST_F(AviByteReader, AFailingPositionIsAskedForTwiceAndItsCodeStandsForIt) {
    EXPECT_EQ(avi_url_fskip(&source, 5) | avi_url_fskip(&source, -2), 0u);
    EXPECT_EQ(avi_url_fstell(&source), 3);
    EXPECT_EQ(avi_url_fsize(&source), 9);
    test.faults.code = 0x80000001;
    test.faults.for_good = true;
    test.faults.at = test.calls() + 1;
    EXPECT_EQ(avi_url_fstell(&source), int64_t{INT32_MIN} + 1);
    EXPECT_EQ(avi_url_fsize(&source), int64_t{INT32_MIN} + 1);
    EXPECT_EQ(test.tells, 3u);
    EXPECT_EQ(test.sizes, 3u);
}

TEST_F(AviByteReader, PacketsOwnTheirBytes) {
    AviPacket packet;
    ASSERT_EQ(avi_get_packet(&source, &packet, 5), 0u);
    EXPECT_EQ(Bytes(packet.data, packet.data + packet.size + 8),
              (Bytes{0x81, 0x92, 0xA3, 0xB4, 0xC5, 0, 0, 0, 0, 0, 0, 0, 0}));
    avi_free_packet(&packet);
    EXPECT_EQ(packet.data, nullptr);
}

}  // namespace
}  // namespace quorv::test
