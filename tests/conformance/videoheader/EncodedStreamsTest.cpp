// H.264 and MPEG-4 Part 2 streams of encoders: NAL units, sizes, profiles and picture kinds as mediainfo and
// the encoders see them.

#include <gtest/gtest.h>
#include <quorv/video_header.h>
#include <stdio.h>

#include <regex>
#include <sstream>

#include "support/CommandOutput.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

// One syntax element as mediainfo met it.
struct TraceElement {
    size_t offset;
    std::string name;
    uint32_t value;  // 1 for "Yes"
};

// All syntax elements of a file in order.
std::vector<TraceElement> trace(const std::string &path) {
    // "0004   nal_unit_type:      9 (0x09) - (5 bits)"; lines without a value head a group.
    const std::regex line_format("([0-9A-F]+) +([A-Za-z0-9_]+): +(Yes|No|[0-9]+).*");
    std::vector<TraceElement> elements;
    std::istringstream lines(run("mediainfo --Details=9 --ParseSpeed=1 " + path));
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (!std::regex_match(line, match, line_format)) continue;
        const std::string value = match[3];
        const unsigned long number = value == "Yes" ? 1 : value == "No" ? 0 : std::stoul(value);
        elements.push_back({std::stoul(match[1], nullptr, 16), match[2], static_cast<uint32_t>(number)});
    }
    return elements;
}

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

void expect_nal_unit(const NalUnit &unit, const Bytes &data, uint32_t width, uint32_t height) {
    constexpr uint32_t kErr = VIDHDR_H264_ERR;
    const uint8_t *const start = &data[unit.offset];
    const uint32_t length = static_cast<uint32_t>(data.size() - unit.offset), kind = unit.slice_type % 5;
    const bool is_sps = unit.type == 7, is_idr = unit.type == 5, is_slice = is_idr || unit.type == 1;
    const bool has_size = is_sps && unit.profile != 100;
    ZevVideoParam param = {};
    uint32_t profile = 0;
    EXPECT_EQ(ZEV_H264_GetProfileID(&profile, start, length), is_sps ? 0 : kErr);
    EXPECT_EQ(profile, unit.profile);
    EXPECT_EQ(ZEV_H264_GetVideoParam(&param, start, length), has_size ? 0 : kErr);
    EXPECT_EQ(param.width, has_size ? width : 0);
    EXPECT_EQ(param.height, has_size ? height : 0);
    EXPECT_EQ(ZEV_H264_GetSliceType_WithoutStartCode(start + 3, length - 3), is_slice ? kind : kErr);
    if (!is_slice) return;
    EXPECT_EQ(ZEV_H264_GetSliceType(start, length), is_idr ? uint32_t{VIDHDR_H264_SLICE_IDR} : kind);
}

TEST(H264Streams, AreSeenAsMediainfoSeesThem) {
    const struct {
        const char *profile;
        uint32_t width, height;
        bool interlaced;
        const char *options;  // of the encoder
    } cases[] = {
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
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.profile << ' ' << c.width << ' ' << c.interlaced << c.options);
        const TestFolder folder;
        const std::string path = folder.path("stream.h264");
        run("gst-launch-1.0 -q videotestsrc num-buffers=12 pattern=ball ! video/x-raw,format=I420,width=" +
            std::to_string(c.width) + ",height=" + std::to_string(c.height) +
            (c.interlaced ? ",interlace-mode=interleaved ! x264enc interlaced=true " : " ! x264enc ") +
            c.options + " ! video/x-h264,stream-format=byte-stream,profile=" + c.profile +
            " ! filesink location=" + path);
        const std::string facts = run("mediainfo '--Inform=Video;%Width% %Height% %Stored_Height%' " + path);
        uint32_t width = 0, height = 0, stored = 0;
        const int count = sscanf(facts.c_str(), "%u %u %u", &width, &height, &stored);
        EXPECT_EQ(width, c.width) << facts;
        // The library takes off half of the rows that interlaced video crops.
        if (c.interlaced && count == 3) height += (stored - height) / 2;
        const Bytes data = folder.get("stream.h264");
        const std::vector<NalUnit> units = nal_units(path);
        ASSERT_GT(units.size(), 13u);
        std::vector<uint32_t> offsets(units.size());
        ASSERT_EQ(ZEV_H264_GetNALHdr(data.data(), static_cast<uint32_t>(data.size()), offsets.data(),
                                     static_cast<uint32_t>(offsets.size())),
                  units.size());
        for (size_t i = 0; i < units.size(); ++i) {
            SCOPED_TRACE("NAL unit " + std::to_string(i));
            ASSERT_EQ(offsets[i], units[i].offset);
            expect_nal_unit(units[i], data, width, height);
        }
    }
}

#ifdef QUORV_MPEG4_ENCODER
TEST(Mpeg4Streams, AreSeenAsTheirEncoderAndMediainfoSeeThem) {
    const struct {
        uint32_t width, height, rate, increment_bits;
        const char *options;  // of the encoder
    } cases[] = {
        {176, 144, 25, 5, ""},
        {352, 288, 30000, 15, "--scale 1001 --b-frames 2 --gmc --qpel --custom-matrices"},
        {176, 144, 30, 5, "--b-frames 2 --packed"},
        {720, 576, 25, 5, "--interlaced --b-frames 1 --mpeg-quantiser"},
        {64, 48, 1000, 10, "--scale 33 --gmc"},
        {64, 48, 25, 5, "--variable-rate"},
        {320, 240, 65535, 16, "--scale 2731 --qpel --b-frames 3"},
        {160, 120, 1, 1, "--custom-matrices --par-width 10 --par-height 11 --key-interval 5"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << ' ' << c.rate << ' ' << c.options);
        const TestFolder folder;
        const std::string path = folder.path("stream.m4v");
        const std::string report = run(QUORV_MPEG4_ENCODER " " + path + " --frames 40 --width " +
                                       std::to_string(c.width) + " --height " + std::to_string(c.height) +
                                       " --rate " + std::to_string(c.rate) + ' ' + c.options);
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
}
#endif

}  // namespace
}  // namespace quorv::test
