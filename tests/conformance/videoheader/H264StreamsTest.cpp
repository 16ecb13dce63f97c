// H.264 streams of an encoder: every NAL unit, size, profile and slice kind as mediainfo sees it.

#include <gtest/gtest.h>
#include <quorv/video_header.h>

#include <string>
#include <vector>

#include "conformance/videoheader/Peers.h"

namespace quorv {
namespace {

struct StreamCase {
    const char *profile;
    uint32_t width, height;
    bool interlaced;
    const char *options;  // of the encoder
};

std::ostream &operator<<(std::ostream &out, const StreamCase &c) {
    return out << c.profile << ' ' << c.width << 'x' << c.height << (c.interlaced ? "i " : "p ") << c.options;
}

constexpr StreamCase kCases[] = {
    {"constrained-baseline", 176, 144, false, ""},
    {"constrained-baseline", 1920, 1080, false, ""},
    {"constrained-baseline", 100, 100, false, "option-string=slices=4"},
    {"main", 1920, 1080, false, "bframes=2"},
    {"main", 1920, 1080, true, "bframes=2 option-string=slices=4"},
    {"main", 854, 480, false, "option-string=slices=3 bframes=1"},
    {"main", 720, 576, true, "bframes=2"},
    {"main", 100, 100, false, "b-adapt=false bframes=3 key-int-max=4 option-string=open-gop=1"},
    {"main", 2, 2, false, ""},
    {"high", 1920, 1080, true, "bframes=2 key-int-max=5"},
    {"high", 100, 100, false, "bframes=3 option-string=slices=2"},
};

// A NAL unit as the trace shows it. The values that do not apply are 0.
struct NalUnit {
    size_t offset = 0;
    uint32_t type = 0, profile = 0, slice_type = 0;
};

std::vector<NalUnit> nal_units(const std::string &path) {
    std::vector<NalUnit> units;
    for (const test::TraceElement &element : test::trace(path)) {
        if (element.name == "start_code_prefix_one_3bytes")
            units.push_back({element.offset});
        else if (element.name == "nal_unit_type")
            units.back().type = element.number();
        else if (element.name == "profile_idc")
            units.back().profile = element.number();
        else if (element.name == "slice_type")
            units.back().slice_type = element.number();
    }
    return units;
}

class H264Streams : public testing::TestWithParam<StreamCase> {
protected:
    void SetUp() override {
        const StreamCase &c = GetParam();
        const std::string size =
            "width=" + std::to_string(c.width) + ",height=" + std::to_string(c.height) + ",framerate=25/1";
        test::run("gst-launch-1.0 -q videotestsrc num-buffers=12 pattern=ball ! video/x-raw,format=I420," +
                  size + (c.interlaced ? ",interlace-mode=interleaved" : "") + " ! x264enc " +
                  (c.interlaced ? "interlaced=true " : "") + c.options +
                  " ! video/x-h264,stream-format=byte-stream,profile=" + c.profile +
                  " ! filesink location=" + file_.path());
        data_ = file_.read();
        units_ = nal_units(file_.path());
        ASSERT_GT(units_.size(), 12u);
    }

    // A copy of one NAL unit, so that the sanitizers see its end.
    std::vector<uint8_t> unit_bytes(size_t index) const {
        const size_t end = index + 1 < units_.size() ? units_[index + 1].offset : data_.size();
        return {data_.begin() + static_cast<ptrdiff_t>(units_[index].offset),
                data_.begin() + static_cast<ptrdiff_t>(end)};
    }

    test::TemporaryFile file_{".h264"};
    std::vector<uint8_t> data_;
    std::vector<NalUnit> units_;
};

TEST_P(H264Streams, NalUnits) {
    std::vector<uint32_t> offsets(units_.size());
    const uint32_t count = static_cast<uint32_t>(offsets.size()),
                   length = static_cast<uint32_t>(data_.size());
    ASSERT_EQ(ZEV_H264_GetNALHdr(data_.data(), length, offsets.data(), count), count);
    for (size_t i = 0; i < offsets.size(); ++i)
        EXPECT_EQ(offsets[i], units_[i].offset);
    EXPECT_EQ(ZEV_H264_GetNALHdr(data_.data(), length, offsets.data(), count - 1), uint32_t{VIDHDR_H264_ERR});
}

TEST_P(H264Streams, SizeAndProfile) {
    const auto description = test::video_description(file_.path());
    const auto number = [&description](const char *key) {
        const auto found = description.find(key);
        return found == description.end() ? 0 : static_cast<uint32_t>(std::stoul(found->second));
    };
    ASSERT_EQ(number("Width"), GetParam().width);
    ASSERT_EQ(number("Height"), GetParam().height);
    ASSERT_EQ(description.at("ScanType"), GetParam().interlaced ? "MBAFF" : "Progressive");
    uint32_t height = GetParam().height;
    // Half of the cropped rows stay where fields may be coded.
    if (GetParam().interlaced && number("Stored_Height") != 0)
        height += (number("Stored_Height") - height) / 2;
    int parameter_sets = 0;
    for (size_t i = 0; i < units_.size(); ++i) {
        const std::vector<uint8_t> unit = unit_bytes(i);
        const uint32_t length = static_cast<uint32_t>(unit.size());
        ZevVideoParam param = {};
        uint32_t profile = 0;
        const bool is_sps = units_[i].type == 7;
        const bool has_size = is_sps && (units_[i].profile == 66 || units_[i].profile == 77);
        EXPECT_EQ(ZEV_H264_GetProfileID(&profile, unit.data(), length),
                  is_sps ? 0u : uint32_t{VIDHDR_H264_ERR});
        EXPECT_EQ(profile, units_[i].profile);
        EXPECT_EQ(ZEV_H264_GetVideoParam(&param, unit.data(), length),
                  has_size ? 0u : uint32_t{VIDHDR_H264_ERR});
        EXPECT_EQ(param.width, has_size ? GetParam().width : 0);
        EXPECT_EQ(param.height, has_size ? height : 0);
        parameter_sets += is_sps;
    }
    EXPECT_GT(parameter_sets, 0);
}

TEST_P(H264Streams, SliceKinds) {
    size_t slices = 0;
    for (size_t i = 0; i < units_.size(); ++i) {
        const std::vector<uint8_t> unit = unit_bytes(i);
        const uint32_t length = static_cast<uint32_t>(unit.size()), kind = units_[i].slice_type % 5;
        const bool is_slice = units_[i].type == 1 || units_[i].type == 5;
        const uint32_t bare = ZEV_H264_GetSliceType_WithoutStartCode(unit.data() + 3, length - 3);
        const uint32_t with_start_code = ZEV_H264_GetSliceType(unit.data(), length);
        EXPECT_EQ(bare, is_slice ? kind : uint32_t{VIDHDR_H264_ERR}) << "NAL unit " << i;
        EXPECT_EQ(with_start_code, units_[i].type == 5 ? uint32_t{VIDHDR_H264_SLICE_IDR}
                                   : is_slice          ? kind
                                                       : uint32_t{VIDHDR_H264_ERR})
            << "NAL unit " << i;
        slices += is_slice;
    }
    EXPECT_GE(slices, 12u);
}

INSTANTIATE_TEST_SUITE_P(Encoded, H264Streams, testing::ValuesIn(kCases));

}  // namespace
}  // namespace quorv
