// H.264 and MPEG-4 Part 2 headers: written ones of every branch, and start codes in odd places. The fuzz
// harness cuts them and finds every NAL unit.

#include <gtest/gtest.h>
#include <quorv/video_header.h>

#include <random>
#include <set>

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

// A header with, now and then, a value that is refused, and what a parser must make of it.
struct RandomHeader {
    Bytes bytes;
    uint32_t result;
    ZevVideoParam param;
    uint32_t profile = 0;  // of H.264 only
};

// A writer that makes its values up.
struct RandomWriter : BitWriter {
    std::mt19937 &random;

    explicit RandomWriter(std::mt19937 &engine) : random(engine) {}
    uint32_t up_to(uint32_t most) { return static_cast<uint32_t>(random() % (most + 1)); }
    bool rarely() { return random() % 16 == 0; }
    bool flag(bool set) {
        put(set, 1);
        return set;
    }
    bool any() { return flag(random() % 2 != 0); }
    uint32_t field(uint32_t most, int bits) {
        const uint32_t value = up_to(most);
        put(value, bits);
        return value;
    }
    // Whether the value is within its limit, as nearly all are.
    bool limited(uint32_t limit) {
        const uint32_t value = up_to(rarely() ? limit + 8 : limit);
        ue(value);
        return value <= limit;
    }
};

// An H.264 sequence parameter set.
RandomHeader random_sps(std::mt19937 &random) {
    RandomWriter out(random);
    const uint32_t kind = out.rarely() ? out.up_to(31) : 7;
    const uint32_t flags = out.rarely() ? out.up_to(255) : out.up_to(15) << 4;
    const uint32_t profile = out.rarely() ? out.up_to(255) : random() % 2 != 0 ? 66 : 77;
    out.put(1, 24);
    out.put(out.up_to(7) << 5 | kind, 8);
    out.put(profile, 8);
    out.put(flags, 8);  // six constraints and two reserved bits
    out.put(30, 8);
    bool good = kind == 7 && (profile == 66 || profile == 77) && (flags & 0x0F) == 0;
    good &= out.limited(31);  // id
    good &= out.limited(12);  // frame number bits
    const uint32_t order_count_type = out.up_to(3);
    out.ue(order_count_type);
    if (order_count_type == 0) good &= out.limited(12);
    if (order_count_type == 1) {
        const uint32_t count = out.up_to(out.rarely() ? 260 : 4);
        out.put(1, 1);
        out.se(-5);
        out.se(70000);
        out.ue(count);
        for (uint32_t i = 0; i < count; ++i)
            out.se(static_cast<int32_t>(random()) >> random() % 32);
        good &= count <= 255;
    }
    good &= out.limited(16);  // reference frames
    out.put(1, 1);
    const uint32_t width_mbs = 1 + out.up_to(out.rarely() ? 1u << 28 : 500);
    const uint32_t height_units = 1 + out.up_to(500);
    out.ue(width_mbs - 1);
    out.ue(height_units - 1);
    const bool frames_only = out.any();
    if (!frames_only) out.put(1, 1);
    out.put(1, 1);
    uint32_t size[] = {width_mbs * 16, height_units * (frames_only ? 16 : 32)};
    const bool cropped = out.any();
    for (int side = 0; cropped && side < 4; ++side) {
        const uint32_t all = size[side / 2] / 2;  // nothing left: stored, then refused
        const uint32_t crop = out.rarely() ? all : out.up_to(out.rarely() ? 1u << 30 : 8);
        out.ue(crop);
        size[side / 2] -= 2 * crop;
    }
    out.put(3, 2);
    const uint32_t known = std::set<uint32_t>{66, 77, 88, 100, 110, 122, 144}.contains(profile) ? profile : 0;
    return {out.data(), good && size[0] != 0 && size[1] != 0 ? VIDHDR_OK : VIDHDR_H264_ERR,
            good ? ZevVideoParam{size[0], size[1], kUntouched} : kUntouchedParam,
            kind != 7 ? kUntouched : known};
}

// A loaded matrix has up to 64 values in transmission order; a shorter list is ended by a 0.
void write_random_matrix(RandomWriter &out) {
    const uint32_t count = out.up_to(64);
    out.put(count != 0, 1);
    for (uint32_t i = 0; i < count; ++i)
        out.put(1 + out.up_to(254), 8);
    if (count != 0 && count < 64) out.put(0, 8);
}

// An MPEG-4 video object layer of any shape and version. The fields that have neither a branch nor a result
// behind them are ones, so that a parser that misses a branch goes astray.
RandomHeader random_vol(std::mt19937 &random, uint32_t resolution) {
    RandomWriter out(random);
    const auto header = [&out](bool good, uint32_t width, uint32_t height, int increment_bits) {
        return RandomHeader{out.data(), good ? VIDHDR_OK : VIDHDR_ERR_UNSUPPORTED,
                            ZevVideoParam{width, height, static_cast<uint32_t>(increment_bits)}};
    };
    out.put(0x120 + out.up_to(15), 32);
    out.put(0x1FF, 9);
    bool later_version = false;
    if (out.any()) {
        later_version = out.field(random() % 8 == 0 ? 1 : 15, 4) != 1;
        out.put(7, 3);
    }
    if (out.field(15, 4) == 15) out.put(0xFFFF, 16);  // aspect ratio
    if (out.any()) {                                  // control parameters
        out.put(7, 3);
        if (out.any()) {
            for (const int bits : {32, 32, 15})
                out.put(UINT32_MAX, bits);
        }
    }
    const uint32_t shape = out.field(out.rarely() ? 3 : 0, 2);
    out.marker();
    out.put(resolution, 16);
    out.marker();
    // The bits needed for every value below the resolution, at least one.
    const int increment_bits = resolution > 2 ? static_cast<int>(std::bit_width(resolution - 1)) : 1;
    if (out.any()) out.put(UINT32_MAX, increment_bits);
    if (shape != 0) {
        const bool scalable = later_version && out.flag(out.rarely());
        out.put(1, 1);
        return shape == 2 ? header(!scalable, 0, 0, increment_bits) : header(false, 0, 0, 0);
    }
    out.marker();
    const uint32_t width = out.field(8191, 13);
    out.marker();
    const uint32_t height = out.field(8191, 13);
    out.marker();
    out.put(1, 1);                        // interlaced
    bool good = out.flag(!out.rarely());  // obmc_disable
    const uint32_t sprite = later_version ? out.field(3, 2) : out.field(1, 1);
    if (sprite == 1) {
        for (int field = 0; field < 4; ++field)
            out.put(UINT32_MAX, 14);
    }
    if (sprite == 1 || sprite == 2) out.put(UINT32_MAX, 6 + 2 + 1);
    if (sprite == 1) out.put(1, 1);
    if (out.any()) out.put(UINT32_MAX, 8);  // not_8_bit
    if (out.any()) {                        // quant_type
        write_random_matrix(out);
        write_random_matrix(out);
    }
    if (later_version) out.put(1, 1);  // quarter_sample
    good &= out.flag(!out.rarely());   // complexity_estimation_disable
    out.put(1, 1);                     // resync_marker_disable
    if (out.any()) out.put(1, 1);      // data_partitioned
    if (later_version) {
        if (out.any()) out.put(7, 3);     // newpred
        good &= !out.flag(out.rarely());  // reduced resolution
    }
    good &= !out.flag(out.rarely());  // scalability
    return header(good, width, height, increment_bits);
}

uint32_t slice_type(const Bytes &data) {
    return ZEV_H264_GetSliceType(data.data(), size_of(data));
}

void expect_param(const ZevVideoParam &got, const ZevVideoParam &expected, int round) {
    ASSERT_EQ(got.width, expected.width) << "round " << round;
    ASSERT_EQ(got.height, expected.height) << "round " << round;
    ASSERT_EQ(got.time_increment_bits, expected.time_increment_bits) << "round " << round;
}

TEST(H264, EveryBranchOfSequenceParameterSets) {
    std::mt19937 random(1);
    int good = 0;
    for (int round = 0; round < 30000; ++round) {
        const RandomHeader sps = random_sps(random);
        const uint8_t *const data = sps.bytes.data();
        ZevVideoParam param = kUntouchedParam;
        uint32_t profile = kUntouched;
        ASSERT_EQ(ZEV_H264_GetVideoParam(&param, data, size_of(sps.bytes)), sps.result) << "round " << round;
        const uint32_t result = ZEV_H264_GetProfileID(&profile, data, size_of(sps.bytes));
        ASSERT_EQ(result, sps.profile == kUntouched || sps.profile == 0 ? kErr : 0) << "round " << round;
        ASSERT_EQ(profile, sps.profile) << "round " << round;
        expect_param(param, sps.param, round);
        good += sps.result == VIDHDR_OK;
    }
    EXPECT_GT(good, 10000);
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

TEST(Mpeg4, EveryBranchOfLayers) {
    std::mt19937 random(1);
    int supported = 0;
    for (int round = 0; round < 30000; ++round) {
        const uint32_t any = static_cast<uint32_t>(random() % 65536) >> random() % 16;
        const RandomHeader layer = random_vol(random, round < 70 ? static_cast<uint32_t>(round) : any);
        ZevVideoParam param = kUntouchedParam;
        const int32_t result = ZEV_MPEG4_GetVideoParam(layer.bytes.data(), size_of(layer.bytes), &param);
        ASSERT_EQ(static_cast<uint32_t>(result), layer.result) << "round " << round;
        expect_param(param, layer.param, round);
        supported += result == VIDHDR_OK;
    }
    EXPECT_GT(supported, 10000);
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
