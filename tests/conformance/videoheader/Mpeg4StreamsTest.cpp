// MPEG-4 Part 2 streams of an encoder: sizes, increments and picture kinds as mediainfo and the encoder see
// them.

#include <gtest/gtest.h>
#include <quorv/video_header.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "conformance/videoheader/Peers.h"

namespace quorv {
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

class Mpeg4Streams : public testing::TestWithParam<StreamCase> {
protected:
    void SetUp() override {
        const StreamCase &c = GetParam();
        report_ = test::run(QUORV_MPEG4_ENCODER " " + file_.path() + " --frames 40 --width " +
                            std::to_string(c.width) + " --height " + std::to_string(c.height) + " --rate " +
                            std::to_string(c.rate) + ' ' + c.options);
        data_ = file_.read();
        trace_ = test::trace(file_.path());
        ASSERT_FALSE(trace_.empty());
        length_ = static_cast<uint32_t>(data_.size());
        ASSERT_EQ(ZEV_MPEG4_GetVideoParam(data_.data(), length_, &param_), VIDHDR_OK);
    }

    test::TemporaryFile file_{".m4v"};
    std::string report_;
    std::vector<uint8_t> data_;
    uint32_t length_ = 0;
    std::vector<test::TraceElement> trace_;
    ZevVideoParam param_ = {};
};

TEST_P(Mpeg4Streams, Layer) {
    EXPECT_EQ(param_.width, GetParam().width);
    EXPECT_EQ(param_.height, GetParam().height);
    EXPECT_EQ(param_.time_increment_bits, GetParam().increment_bits);
    int layers = 0;
    for (const test::TraceElement &element : trace_) {
        if (element.name == "object_layer_width") {
            EXPECT_EQ(element.number(), param_.width);
            ++layers;
        } else if (element.name == "object_layer_height") {
            EXPECT_EQ(element.number(), param_.height);
        } else if (element.name == "vop_time_increment_resolution") {
            EXPECT_EQ(element.number(), GetParam().rate);
        }
    }
    EXPECT_GT(layers, 0);
}

TEST_P(Mpeg4Streams, Planes) {
    int counts[5] = {};
    uint32_t coding_type = 0;
    size_t vop = 0;
    for (const test::TraceElement &element : trace_) {
        if (element.name == "start_code" && element.number() == 0xB6) {
            vop = element.offset - 3;
        } else if (element.name == "vop_coding_type") {
            coding_type = element.number();
        } else if (element.name == "vop_coded") {
            uint32_t got = 99, not_coded = 99;
            const uint32_t left = length_ - static_cast<uint32_t>(vop);
            ASSERT_EQ(ZEV_MPEG4_GetVop_IPB(&data_[vop], left, &param_, &got), VIDHDR_OK);
            ASSERT_EQ(ZEV_MPEG4_GetVopType(&data_[vop], left, &param_, &not_coded), VIDHDR_OK);
            EXPECT_EQ(got, element.number() == 1 ? coding_type : uint32_t{VIDHDR_VOP_NOT_CODED});
            EXPECT_EQ(not_coded, 1 - element.number());
            ASSERT_LE(got, 4u);
            ++counts[got];
        }
    }
    // The encoder's own count; planes that are not coded only fill the gaps of packed frames.
    int encoded[4] = {};
    const size_t line = report_.find("pictures ");
    ASSERT_NE(line, std::string::npos);
    ASSERT_EQ(sscanf(&report_[line], "pictures I %d P %d B %d S %d", &encoded[0], &encoded[1], &encoded[2],
                     &encoded[3]),
              4);
    for (int type = 0; type < 4; ++type)
        EXPECT_EQ(counts[type], encoded[type]) << "coding type " << type;
    EXPECT_GT(encoded[0], 0);
}

INSTANTIATE_TEST_SUITE_P(Encoded, Mpeg4Streams, testing::ValuesIn(kCases));

}  // namespace
}  // namespace quorv
