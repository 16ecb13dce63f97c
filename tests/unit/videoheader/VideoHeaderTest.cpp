// H.264 and MPEG-4 Part 2 headers: one field after the other changed for every branch, and start codes in odd
// places. The fuzz harness cuts them and finds every NAL unit.

#include <gtest/gtest.h>
#include <quorv/video_header.h>

#include "support/RiffPieces.h"
#include "support/VideoHeaders.h"

namespace quorv::test {
namespace {

constexpr uint32_t kErr = VIDHDR_H264_ERR, kUntouched = 999;
constexpr ZevVideoParam kUntouchedParam = {kUntouched, kUntouched, kUntouched};
const Bytes kPrefix = {0, 0, 1};

uint32_t size_of(const Bytes &data) {
    return static_cast<uint32_t>(data.size());
}

// A header's fields with other words for those of some names.
using Changes = std::vector<std::pair<std::string, std::string>>;
Bytes with(std::string fields, const Changes &changes) {
    for (const auto &[name, words] : changes) {
        const size_t start = fields.find(' ' + name + '=');
        fields.replace(start, fields.find(' ', start + 1) - start, ' ' + words);
    }
    return bits(fields);
}

std::string repeated(const std::string &word, size_t count) {
    std::string words;
    while (count-- > 0)
        words += ' ' + word;
    return words;
}

uint32_t slice_type(const Bytes &data) {
    return ZEV_H264_GetSliceType(data.data(), size_of(data));
}

TEST(H264, EveryBranchOfSequenceParameterSets) {
    const std::string fields =
        "24:1 nal=8:0x67 profile=8:66 constraints=8:0 level=8:30 id=u0 frame_number=u0 order=u2 "
        "references=u1 "
        "gaps=1:1 width=u10 height=u8 frames=1:1 direct=1:1 crop=1:0 vui=2:3";
    const struct {
        Changes changes;
        uint32_t result = 0, width = 176, height = 144, profile = 66, profile_result = 0;
    } cases[] = {
        {{}},
        {{{"nal", "8:0x07"}}},
        {{{"nal", "8:0x68"}}, kErr, kUntouched, kUntouched, kUntouched, kErr},
        {{{"profile", "8:77"}}, 0, 176, 144, 77},
        {{{"profile", "8:88"}}, kErr, kUntouched, kUntouched, 88},
        {{{"profile", "8:100"}}, kErr, kUntouched, kUntouched, 100},
        {{{"profile", "8:110"}}, kErr, kUntouched, kUntouched, 110},
        {{{"profile", "8:122"}}, kErr, kUntouched, kUntouched, 122},
        {{{"profile", "8:144"}}, kErr, kUntouched, kUntouched, 144},
        {{{"profile", "8:67"}}, kErr, kUntouched, kUntouched, 0, kErr},
        {{{"constraints", "8:0xF0"}}},
        {{{"constraints", "8:0x08"}}, kErr, kUntouched, kUntouched},
        {{{"constraints", "8:0x01"}}, kErr, kUntouched, kUntouched},
        {{{"id", "u31"}}},
        {{{"id", "u32"}}, kErr, kUntouched, kUntouched},
        {{{"frame_number", "u12"}}},
        {{{"frame_number", "u13"}}, kErr, kUntouched, kUntouched},
        {{{"order", "u0 u12"}}},
        {{{"order", "u0 u13"}}, kErr, kUntouched, kUntouched},
        {{{"order", "u1 1:1 s-5 s70000 u0"}}},
        {{{"order", "u1 1:1 s-5 s70000 u255" + repeated("s-2147483647", 128) + repeated("s1", 127)}}},
        {{{"order", "u1 1:1 s-5 s70000 u256" + repeated("s1", 256)}}, kErr, kUntouched, kUntouched},
        {{{"order", "u3"}}},
        {{{"references", "u16"}}},
        {{{"references", "u17"}}, kErr, kUntouched, kUntouched},
        {{{"width", "u0"}, {"height", "u499"}}, 0, 16, 8000},
        {{{"width", "u268435455"}}, kErr, 0},  // 2^32 samples
        {{{"frames", "1:0 1:1"}}, 0, 176, 288},
        {{{"crop", "1:1 u1 u2 u3 u4"}}, 0, 170, 130},
        {{{"crop", "1:1 u1 u2 u3 u4"}, {"frames", "1:0 1:1"}}, 0, 170, 274},
        {{{"crop", "1:1 u88 u0 u0 u0"}}, kErr, 0},
        {{{"crop", "1:1 u0 u0 u0 u72"}}, kErr, 176, 0},
        {{{"crop", "1:1 u1073741824 u0 u0 u0"}}, 0, 176 - (1u << 31)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.changes.empty() ? "" : c.changes[0].first + ' ' + c.changes[0].second);
        const Bytes sps = with(fields, c.changes);
        ZevVideoParam param = kUntouchedParam;
        uint32_t profile = kUntouched;
        EXPECT_EQ(ZEV_H264_GetVideoParam(&param, sps.data(), size_of(sps)), c.result);
        EXPECT_EQ(ZEV_H264_GetProfileID(&profile, sps.data(), size_of(sps)), c.profile_result);
        EXPECT_EQ(profile, c.profile);
        EXPECT_EQ(param.width, c.width);
        EXPECT_EQ(param.height, c.height);
        EXPECT_EQ(param.time_increment_bits, kUntouched);
    }
}

TEST(H264, EveryNalUnitAndKindOfSlice) {
    for (uint32_t header = 0; header < 256; ++header) {
        for (uint32_t type = 0; type < 12; ++type) {
            SCOPED_TRACE(testing::Message() << "header " << header << " type " << type);
            const bool is_idr = header % 32 == 5, is_slice = is_idr || header % 32 == 1;
            const uint32_t kind = type < 5 ? type : type - 5;
            const Bytes nal = slice_bytes(header, type * 1000, type);
            EXPECT_EQ(slice_type(join({kPrefix, nal})), is_idr ? 5 : is_slice && kind <= 2 ? kind : kErr);
            const uint32_t bare = ZEV_H264_GetSliceType_WithoutStartCode(nal.data(), size_of(nal));
            EXPECT_EQ(bare, is_slice ? (kind <= 2 ? kind : 0) : kErr);
        }
    }
    const Bytes sps = h264_sps(176, 144), slice = slice_bytes(0x41, 0, 6);
    EXPECT_EQ(slice_type(join({sps, Bytes{0}, kPrefix, slice})), 1u);
    // A NAL header of 0 can be the first byte of the next start code.
    EXPECT_EQ(slice_type(join({kPrefix, kPrefix, slice})), 1u);
    for (const Bytes &without : {sps, join({sps, kPrefix}), slice, kPrefix})
        EXPECT_EQ(slice_type(without), kErr);
    ZevVideoParam param;
    uint32_t profile = kUntouched;
    for (const Bytes &other : {join({kPrefix, slice, sps}), Bytes(sps.begin() + 2, sps.end())}) {
        EXPECT_EQ(ZEV_H264_GetVideoParam(&param, other.data(), size_of(other)), kErr);
        EXPECT_EQ(ZEV_H264_GetProfileID(&profile, other.data(), size_of(other)), kErr);
    }
    EXPECT_EQ(profile, kUntouched);
}

// A layer and what a parser must make of it. The fields that have neither a branch nor a result behind them
// are ones, so that a parser that misses a branch goes astray.
struct Layer {
    Changes changes;
    int32_t result = 0;
    uint32_t width = 176, height = 144, increment_bits = 5;
};

void expect_layer(const Layer &layer) {
    static const std::string fields =
        "32:0x120 type=9:0x1FF id=1:0 aspect=4:1 control=1:0 shape=2:0 1:1 resolution=16:25 1:1 fixed=1:0 "
        "behind=1:1 "
        "width=13:176 1:1 height=13:144 1:1 interlaced=1:1 obmc_disable=1:1 sprite=1:0 not_8_bit=1:0 "
        "quant_type=1:0 "
        "quarter= complexity_disable=1:1 resync_disable=1:1 partitioned=1:0 newpred= scalable=1:0";
    SCOPED_TRACE(layer.changes.empty() ? "" : layer.changes.back().first + ' ' + layer.changes.back().second);
    const Bytes vol = with(fields, layer.changes);
    ZevVideoParam param = kUntouchedParam;
    EXPECT_EQ(ZEV_MPEG4_GetVideoParam(vol.data(), size_of(vol), &param), layer.result);
    EXPECT_EQ(param.width, layer.width);
    EXPECT_EQ(param.height, layer.height);
    EXPECT_EQ(param.time_increment_bits, layer.increment_bits);
}

TEST(Mpeg4, EveryBranchOfLayers) {
    constexpr int32_t kUnsupported = VIDHDR_ERR_UNSUPPORTED;
    const std::string points = "14:0x3FFF 14:0x3FFF 14:0x3FFF 14:0x3FFF 9:0x1FF 1:1",
                      buffer = "32:0xFFFFFFFF 32:0xFFFFFFFF";
    const Layer cases[] = {
        {{}},
        {{{"id", "1:1 4:1 3:7"}}},
        {{{"aspect", "4:15 16:0xFFFF"}}},
        {{{"control", "1:1 3:7 1:0"}}},
        {{{"control", "1:1 3:7 1:1 " + buffer + " 15:0x7FFF"}}},
        {{{"width", "13:8191"}, {"height", "13:8191"}}, 0, 8191, 8191},
        {{{"obmc_disable", "1:0"}}, kUnsupported},
        {{{"sprite", "1:1 " + points}}},
        {{{"not_8_bit", "1:1 8:0xFF"}}},
        {{{"quant_type", "1:1 1:0 1:0"}}},
        {{{"quant_type", "1:1 1:1 8:255 8:1 8:0 1:1 8:9 8:0"}}},
        {{{"quant_type", "1:1 1:1" + repeated("8:255", 64) + " 1:1" + repeated("8:255", 64)}}},
        {{{"complexity_disable", "1:0"}}, kUnsupported},
        {{{"partitioned", "1:1 1:1"}}},
    };
    // Of a later version there are four more fields, and one is wider.
    const Changes later = {
        {"id", "1:1 4:2 3:7"}, {"sprite", "2:0"}, {"quarter", "1:1"}, {"newpred", "1:0 1:0"}};
    const Layer later_cases[] = {
        {{{"id", "1:1 4:15 3:7"}}}, {{{"sprite", "2:1 " + points}}}, {{{"sprite", "2:2 9:0x1FF"}}},
        {{{"sprite", "2:3"}}},      {{{"newpred", "1:1 3:7 1:0"}}},  {{{"newpred", "1:0 1:1"}}, kUnsupported},
    };
    std::vector<Layer> layers(std::begin(cases), std::end(cases));
    for (Layer layer : later_cases) {
        for (const auto &change : later)
            if (change.first != layer.changes[0].first) layer.changes.push_back(change);
        layers.push_back(layer);
    }
    for (Layer layer : layers) {
        expect_layer(layer);
        layer.changes.push_back({"scalable", "1:1"});
        layer.result = kUnsupported;
        expect_layer(layer);
    }
    expect_layer({{{"shape", "2:1"}}, kUnsupported, 0, 0, 0});
    expect_layer({{{"shape", "2:3"}}, kUnsupported, 0, 0, 0});
    expect_layer({{{"shape", "2:2"}}, 0, 0, 0});
    expect_layer({{later[0], {"behind", "1:0"}, {"shape", "2:2"}}, 0, 0, 0});
    expect_layer({{later[0], {"behind", "1:1"}, {"shape", "2:2"}}, kUnsupported, 0, 0});  // scalable
    // The bits needed for every value below the resolution, at least one.
    for (uint32_t resolution = 0; resolution < 65536; resolution += resolution < 70 ? 1 : 255) {
        const uint32_t width = resolution > 2 ? static_cast<uint32_t>(std::bit_width(resolution - 1)) : 1;
        expect_layer({{{"resolution", "16:" + std::to_string(resolution)},
                       {"fixed", "1:1 " + std::to_string(width) + ":0xFFFF"}},
                      0,
                      176,
                      144,
                      width});
    }
}

// The result of both functions that look for a VOP, and what they say of it.
struct Vop {
    int32_t result;
    uint32_t coding_type = kUntouched, not_coded = kUntouched;

    explicit Vop(const Bytes &data, uint32_t increment_bits = 16) {
        const ZevVideoParam layer = {0, 0, increment_bits};
        result = ZEV_MPEG4_GetVop_IPB(data.data(), size_of(data), &layer, &coding_type);
        EXPECT_EQ(ZEV_MPEG4_GetVopType(data.data(), size_of(data), &layer, &not_coded), result);
    }
};

TEST(Mpeg4, EveryBranchOfPlanes) {
    for (uint32_t i = 0; i < 4 * 2 * 17 * 4; ++i) {
        const uint32_t type = i % 4, bits = i / 8 % 17;
        const bool coded = i / 4 % 2 != 0;
        const Vop got(vop_bytes({type, i / 136 * 13, bits, 0xA5A5, coded}), bits);
        EXPECT_EQ(got.result, VIDHDR_OK) << i;
        EXPECT_EQ(got.coding_type, coded ? type : uint32_t{VIDHDR_VOP_NOT_CODED}) << i;
        EXPECT_EQ(got.not_coded, coded ? 0u : 1u) << i;
    }
    // A record that no parser wrote: more bits than a reader takes count as 16.
    EXPECT_EQ(Vop(vop_bytes({1, 0, 16}), UINT32_MAX).coding_type, 1u);
}

TEST(Mpeg4, WhereStartCodesAreFound) {
    const Bytes vol = mpeg4_vol(176, 144), vop = vop_bytes({1, 0, 16});
    const Bytes user_data = {0, 0, 1, 0xB2, 'x', 0, 0};
    constexpr int32_t kNoVol = VIDHDR_ERR_NO_VOL, kNoVop = VIDHDR_ERR_NO_VOP;
    const struct {
        Bytes data;
        int32_t vol, vop;
    } cases[] = {
        {join({user_data, vol}), 0, kNoVop},
        {join({user_data, vop}), kNoVol, 0},
        {join({Bytes{0}, vol, mpeg4_vol(8, 8), Bytes{0}, vop, vop_bytes({2, 0, 16})}), 0, 0},
        // A start code is passed over with its value: one that begins in the value of another is hidden.
        {join({kPrefix, vol, kPrefix, vop}), kNoVol, kNoVop},
        {Bytes{0}, kNoVol, kNoVop},
        {kPrefix, kNoVol, kNoVop},
        {{0, 0, 1, 0x20}, VIDHDR_ERR_UNSUPPORTED, kNoVop},
        {{0, 0, 1, 0x1F, 0, 0, 1, 0x30}, kNoVol, kNoVop},
        {{0, 0, 1, 0xB5, 0, 0, 1, 0xB7}, kNoVol, kNoVop},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        ZevVideoParam param;
        EXPECT_EQ(ZEV_MPEG4_GetVideoParam(c.data.data(), size_of(c.data), &param), c.vol);
        EXPECT_EQ(param.width, c.vol == 0 ? 176u : 0u) << "the first";
        EXPECT_EQ(Vop(c.data).result, c.vop);
        EXPECT_EQ(Vop(c.data).coding_type, c.vop == 0 ? 1u : kUntouched);
    }
}

}  // namespace
}  // namespace quorv::test
