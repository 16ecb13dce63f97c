// Frame headers: the lengths of frames, what is wrong with bad ones, and when a frame counts.

#include <gtest/gtest.h>

#include <vector>

#include "mp3dec/Mp3FrameHeader.h"

namespace quorv::test {
namespace {

TEST(Mp3Header, TellsTheLengthOrWhatIsWrong) {
    struct Case {
        uint32_t header;
        size_t distance;  // to copies of it
        bool in_sync;     // judged where it stands; else two more sync words must follow
        uint16_t error;   // 0: a frame, as long as the distance
    };
    constexpr Case kCases[] = {
        {0xFFFBE844, 1440, false, 0},                  // 320 kbit/s at 32 kHz: 144 * 320000 / 32000
        {0xFFF38444, 192, false, 0},                   // MPEG-2 64 kbit/s at 24 kHz: 72 * 64000 / 24000
        {0xFFFFC244, 420, false, 0},                   // Layer I: (12000 * 384 / 44100 + 1) * 4
        {0xFFE38844, 576, false, 0},                   // MPEG-2.5 64 kbit/s at 8 kHz
        {0xFFFB0044, 500, false, 0},                   // free format, 153.4 kbit/s
        {0xFFFB0244, 501, true, 0},                    // the same with padding
        {0xFFFB9044, 418, false, MP3_ERR_NEED_INPUT},  // 417 bytes: no sync word behind them
        {0xFFFB0044, 2100, false, MP3_ERR_SYNC},       // free format, 643 kbit/s
        {0x00FB9044, 417, true, MP3_ERR_SYNC},
        {0xFFEB9044, 417, true, MP3_ERR_SYNC},
        {0xFFF99044, 417, true, MP3_ERR_LAYER},
        {0xFFFBF044, 417, true, MP3_ERR_BITRATE},
        {0xFFFB9C44, 417, true, MP3_ERR_SAMPLE_RATE},
    };
    for (const Case &c : kCases) {
        std::vector<uint8_t> bytes(5 * c.distance);
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = i % c.distance < 4 ? static_cast<uint8_t>(c.header >> (24 - 8 * (i % c.distance)))
                                          : uint8_t{0};
        Mp3FrameHeader header{};
        Mp3InputBuffer state{};
        ASSERT_EQ(buffer_init(&state, 0), 0);
        buffer_set(&state, bytes.data(), bytes.size());
        state.in_sync = c.in_sync;
        SCOPED_TRACE(testing::Message() << std::hex << c.header);
        EXPECT_EQ(header_decode(&header, &state), c.error == 0 ? 0 : -1);
        EXPECT_EQ(state.error, c.error);
        EXPECT_TRUE(c.error != 0 || state.read_position == bytes.data() + c.distance);
        buffer_close(&state);
    }
}

}  // namespace
}  // namespace quorv::test
