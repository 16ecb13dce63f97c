// H.264 streams of an encoder: every NAL unit, size, profile and slice kind as mediainfo sees it.

#include <quorv/video_header.h>

#include "conformance/videoheader/Peers.h"
#include "support/TestFolder.h"

namespace quorv::test {
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
    for (const TraceElement &element : trace(path)) {
        if (element.name == "start_code_prefix_one_3bytes") units.push_back({element.offset});
        if (element.name == "nal_unit_type") units.back().type = element.value;
        if (element.name == "profile_idc") units.back().profile = element.value;
        if (element.name == "slice_type") units.back().slice_type = element.value;
    }
    return units;
}

void encode(const StreamCase &c, const std::string &path) {
    const std::string size = "width=" + std::to_string(c.width) + ",height=" + std::to_string(c.height);
    run("gst-launch-1.0 -q videotestsrc num-buffers=12 pattern=ball ! video/x-raw,format=I420," + size +
        (c.interlaced ? ",interlace-mode=interleaved ! x264enc interlaced=true " : " ! x264enc ") +
        c.options + " ! video/x-h264,stream-format=byte-stream,profile=" + c.profile +
        " ! filesink location=" + path);
}

// The height that the library must give. It takes off half of the rows that interlaced video crops.
uint32_t expected_height(const StreamCase &c, const std::string &path) {
    uint32_t width = 0, height = 0, stored = 0;
    const std::string facts = run("mediainfo '--Inform=Video;%Width% %Height% %Stored_Height%' " + path);
    const int count = sscanf(facts.c_str(), "%u %u %u", &width, &height, &stored);
    EXPECT_EQ(width, c.width) << facts;
    return c.interlaced && count == 3 ? height + (stored - height) / 2 : height;
}

class H264Streams : public testing::TestWithParam<StreamCase> {};

TEST_P(H264Streams, AreSeenAsMediainfoSeesThem) {
    constexpr uint32_t kErr = VIDHDR_H264_ERR;
    const TestFolder folder;
    const std::string path = folder.path("stream.h264");
    encode(GetParam(), path);
    const Bytes data = folder.get("stream.h264");
    const std::vector<NalUnit> units = nal_units(path);
    const uint32_t height = expected_height(GetParam(), path), count = static_cast<uint32_t>(units.size());
    ASSERT_GT(count, 13u);
    std::vector<uint32_t> offsets(count);
    ASSERT_EQ(ZEV_H264_GetNALHdr(data.data(), static_cast<uint32_t>(data.size()), offsets.data(), count),
              count);
    for (uint32_t i = 0; i < count; ++i) {
        SCOPED_TRACE("NAL unit " + std::to_string(i));
        const NalUnit &unit = units[i];
        ASSERT_EQ(offsets[i], unit.offset);
        const uint8_t *const start = &data[unit.offset];
        const uint32_t length = static_cast<uint32_t>(data.size() - unit.offset);
        const bool is_sps = unit.type == 7, is_idr = unit.type == 5, is_slice = is_idr || unit.type == 1;
        const bool has_size = is_sps && unit.profile != 100;
        ZevVideoParam param = {};
        uint32_t profile = 0;
        EXPECT_EQ(ZEV_H264_GetProfileID(&profile, start, length), is_sps ? 0 : kErr);
        EXPECT_EQ(profile, unit.profile);
        EXPECT_EQ(ZEV_H264_GetVideoParam(&param, start, length), has_size ? 0 : kErr);
        EXPECT_EQ(param.width, has_size ? GetParam().width : 0);
        EXPECT_EQ(param.height, has_size ? height : 0);
        const uint32_t kind = unit.slice_type % 5;
        EXPECT_EQ(ZEV_H264_GetSliceType_WithoutStartCode(start + 3, length - 3), is_slice ? kind : kErr);
        if (is_slice) {
            EXPECT_EQ(ZEV_H264_GetSliceType(start, length), is_idr ? uint32_t{VIDHDR_H264_SLICE_IDR} : kind);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Encoded, H264Streams, testing::ValuesIn(kCases));

}  // namespace
}  // namespace quorv::test
