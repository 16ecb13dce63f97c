// MPEG-4 Part 2 streams of an encoder: sizes, increments and picture kinds as mediainfo and the encoder see
// them.

#include <quorv/video_header.h>

#include "conformance/videoheader/Peers.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

struct StreamCase {
    uint32_t width, height, rate, increment_bits;
    const char *options;  // of the encoder
};

std::ostream &operator<<(std::ostream &out, const StreamCase &c) {
    return out << c.width << 'x' << c.height << ' ' << c.rate << ' ' << c.options;
}

constexpr StreamCase kCases[] = {
    {176, 144, 25, 5, ""},
    {352, 288, 30000, 15, "--scale 1001 --b-frames 2 --gmc --qpel --custom-matrices"},
    {176, 144, 30, 5, "--b-frames 2 --packed"},
    {720, 576, 25, 5, "--interlaced --b-frames 1 --mpeg-quantiser"},
    {64, 48, 1000, 10, "--scale 33 --gmc"},
    {64, 48, 25, 5, "--variable-rate"},
    {320, 240, 65535, 16, "--scale 2731 --qpel --b-frames 3"},
    {160, 120, 1, 1, "--custom-matrices --par-width 10 --par-height 11 --key-interval 5"},
};

class Mpeg4Streams : public testing::TestWithParam<StreamCase> {};

TEST_P(Mpeg4Streams, AreSeenAsTheirEncoderAndMediainfoSeeThem) {
    const StreamCase &c = GetParam();
    const TestFolder folder;
    const std::string path = folder.path("stream.m4v");
    const std::string report =
        run(QUORV_MPEG4_ENCODER " " + path + " --frames 40 --width " + std::to_string(c.width) +
            " --height " + std::to_string(c.height) + " --rate " + std::to_string(c.rate) + ' ' + c.options);
    const Bytes data = folder.get("stream.m4v");
    const uint32_t length = static_cast<uint32_t>(data.size());
    ZevVideoParam param = {};
    ASSERT_EQ(ZEV_MPEG4_GetVideoParam(data.data(), length, &param), VIDHDR_OK);
    EXPECT_EQ(param.width, c.width);
    EXPECT_EQ(param.height, c.height);
    EXPECT_EQ(param.time_increment_bits, c.increment_bits);

    int counts[5] = {};
    uint32_t coding_type = 0;
    size_t vop = 0;
    for (const TraceElement &element : trace(path)) {
        if (element.name == "start_code") vop = element.offset - 3;
        if (element.name == "vop_coding_type") coding_type = element.value;
        if (element.name != "vop_coded") continue;
        uint32_t got = 99, not_coded = 99;
        const uint32_t left = length - static_cast<uint32_t>(vop);
        ASSERT_EQ(ZEV_MPEG4_GetVop_IPB(&data[vop], left, &param, &got), VIDHDR_OK);
        ASSERT_EQ(ZEV_MPEG4_GetVopType(&data[vop], left, &param, &not_coded), VIDHDR_OK);
        ASSERT_EQ(got, element.value == 1 ? coding_type : uint32_t{VIDHDR_VOP_NOT_CODED});
        EXPECT_EQ(not_coded, 1 - element.value);
        ++counts[got];
    }
    // The encoder's own count; planes that are not coded only fill the gaps of packed frames.
    char expected[64];
    snprintf(expected, sizeof expected, "pictures I %d P %d B %d S %d\n", counts[0], counts[1], counts[2],
             counts[3]);
    EXPECT_NE(report.find(expected), std::string::npos) << expected << report;
    EXPECT_GT(counts[0], 0);
}

INSTANTIATE_TEST_SUITE_P(Encoded, Mpeg4Streams, testing::ValuesIn(kCases));

}  // namespace
}  // namespace quorv::test
