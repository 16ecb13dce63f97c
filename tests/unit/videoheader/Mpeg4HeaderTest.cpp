// MPEG-4 Part 2 headers: written ones of every branch, cut ones, and start codes in odd places.

#include "videoheader/Mpeg4Header.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "unit/videoheader/GuardedBuffer.h"
#include "unit/videoheader/Mpeg4Writer.h"

namespace quorv {
namespace {

using Bytes = std::vector<uint8_t>;
using test::BitWriter;
using test::GuardedBuffer;
using test::VolFields;
using test::VolTruth;
using test::VopFields;

constexpr ZevVideoParam kRubbish = {77, 77, 77};

VolTruth parse_vol(const uint8_t *data, size_t length) {
    VolTruth out = {0, kRubbish};
    out.result = ZEV_MPEG4_GetVideoParam(data, static_cast<uint32_t>(length), &out.param);
    return out;
}

VolTruth parse_vol(const Bytes &data) {
    return parse_vol(data.data(), data.size());
}

void expect_equal(const VolTruth &got, const VolTruth &expected) {
    EXPECT_EQ(got.result, expected.result);
    EXPECT_EQ(got.param.width, expected.param.width);
    EXPECT_EQ(got.param.height, expected.param.height);
    EXPECT_EQ(got.param.time_increment_bits, expected.param.time_increment_bits);
}

Bytes vol_bytes(const VolFields &vol) {
    BitWriter writer;
    test::write_vol(writer, vol);
    return writer.data();
}

Bytes vop_bytes(const VopFields &vop) {
    BitWriter writer;
    test::write_vop(writer, vop);
    return writer.data();
}

Bytes operator+(Bytes first, const Bytes &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

struct VopTruth {
    int32_t result;
    uint32_t coding_type, not_coded;
};

// Asks both functions; they find the same header.
VopTruth parse_vop(const uint8_t *data, size_t length, uint32_t increment_bits) {
    const ZevVideoParam param = {0, 0, increment_bits};
    VopTruth out = {0, 77, 77};
    out.result = ZEV_MPEG4_GetVop_IPB(data, static_cast<uint32_t>(length), &param, &out.coding_type);
    EXPECT_EQ(ZEV_MPEG4_GetVopType(data, static_cast<uint32_t>(length), &param, &out.not_coded), out.result);
    return out;
}

VopTruth parse_vop(const Bytes &data, uint32_t increment_bits) {
    return parse_vop(data.data(), data.size(), increment_bits);
}

TEST(Mpeg4Vol, EveryBranch) {
    std::mt19937 random(1);
    int supported = 0;
    for (int round = 0; round < 30000; ++round) {
        const VolFields vol = test::random_vol(random);
        const VolTruth expected = test::vol_truth(vol);
        supported += expected.result == VIDHDR_OK;
        expect_equal(parse_vol(vol_bytes(vol)), expected);
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_GT(supported, 10000);
}

TEST(Mpeg4Vol, IncrementBitsAreThoseOfTheLargestIncrement) {
    const uint32_t cases[][2] = {{0, 1},  {1, 1},  {2, 1},      {3, 2},      {4, 2},      {5, 3},     {25, 5},
                                 {32, 5}, {33, 6}, {30000, 15}, {32768, 15}, {32769, 16}, {65535, 16}};
    for (const auto &[resolution, bits] : cases) {
        VolFields vol;
        vol.resolution = resolution;
        EXPECT_EQ(parse_vol(vol_bytes(vol)).param.time_increment_bits, bits) << resolution;
    }
}

TEST(Mpeg4Vol, QuantiserMatrixInRasterOrder) {
    // In transmission order the block's diagonals follow each other, each in the other direction.
    Bytes zigzag;
    for (int diagonal = 0; diagonal < 15; ++diagonal) {
        for (int step = 0; step <= diagonal; ++step) {
            const int row = diagonal % 2 != 0 ? step : diagonal - step, column = diagonal - row;
            if (row < 8 && column < 8) zigzag.push_back(static_cast<uint8_t>(row * 8 + column));
        }
    }
    ASSERT_TRUE(std::equal(zigzag.begin(), zigzag.end(), zigzag_scan_table_utitlity));
    for (const size_t count : {0u, 1u, 37u, 64u}) {
        BitWriter writer;
        for (size_t i = 0; i < count; ++i)
            writer.put(static_cast<uint32_t>(i + 1), 8);
        writer.put(count < 64 ? 0 : 200, 8);
        writer.put(99, 8);
        bs_utility bs;
        bs_open_utility(&bs, writer.data().data(), static_cast<uint32_t>(writer.data().size()));
        uint8_t matrix[64];
        mpeg4_read_quant_matrix(&bs, matrix);
        for (size_t i = 0; i < 64; ++i)
            ASSERT_EQ(matrix[zigzag[i]], std::min(i + 1, count)) << count << " values, index " << i;
        EXPECT_EQ(bs_get_bits_utility(&bs, 8), count < 64 ? 99u : 200u);
    }
}

TEST(Mpeg4Vop, EveryBranch) {
    for (uint32_t type = 0; type < 4; ++type) {
        for (const uint32_t seconds : {0u, 1u, 15u, 40u}) {
            for (uint32_t bits = 0; bits <= 16; ++bits) {
                for (const bool coded : {false, true}) {
                    const uint32_t increment = (0xA5A5 >> (16 - bits)) & 0xFFFF;
                    const Bytes data = vop_bytes({type, seconds, bits, increment, coded});
                    const VopTruth got = parse_vop(data, bits);
                    EXPECT_EQ(got.result, VIDHDR_OK);
                    EXPECT_EQ(got.coding_type, coded ? type : uint32_t{VIDHDR_VOP_NOT_CODED});
                    EXPECT_EQ(got.not_coded, coded ? 0u : 1u);
                    ASSERT_FALSE(HasFailure()) << type << ' ' << seconds << ' ' << bits << ' ' << coded;
                }
            }
        }
    }
    // A record that no parser wrote: more bits than a reader takes count as 16.
    const Bytes data = vop_bytes({1, 0, 16, 0x1234, true});
    EXPECT_EQ(parse_vop(data, 17).coding_type, 1u);
    EXPECT_EQ(parse_vop(data, UINT32_MAX).coding_type, 1u);
}

TEST(Mpeg4StartCode, WhereItIsFound) {
    const Bytes vol = vol_bytes({}), vop = vop_bytes({1, 0, 5, 3, true});
    const Bytes user_data = {0, 0, 1, 0xB2, 'x', 0, 0};
    EXPECT_EQ(parse_vol(user_data + vop).result, VIDHDR_ERR_NO_VOL);
    EXPECT_EQ(parse_vop(user_data + vol, 5).result, VIDHDR_ERR_NO_VOP);
    EXPECT_EQ(parse_vol(Bytes{0}).result, VIDHDR_ERR_NO_VOL);
    // A start code is passed over with its value: one that begins in the value of another is hidden.
    const Bytes prefix = {0, 0, 1};
    EXPECT_EQ(parse_vol(prefix + vol).result, VIDHDR_ERR_NO_VOL);
    EXPECT_EQ(parse_vop(prefix + vop, 5).result, VIDHDR_ERR_NO_VOP);
    EXPECT_EQ(parse_vol(Bytes{0} + vol).result, VIDHDR_OK);
    // Only a whole start code counts.
    EXPECT_EQ(parse_vol({0, 0, 1}).result, VIDHDR_ERR_NO_VOL);
    EXPECT_EQ(parse_vop({0, 0, 1}, 5).result, VIDHDR_ERR_NO_VOP);
    EXPECT_EQ(parse_vol({0, 0, 1, 0x20}).result, VIDHDR_ERR_UNSUPPORTED);
    EXPECT_EQ(parse_vop({0, 0, 1, 0xB6}, 5).not_coded, 1u);
    for (const uint8_t other : Bytes{0x00, 0x1F, 0x30, 0xB5, 0xB7})
        EXPECT_EQ(parse_vol(Bytes{0, 0, 1, other}).result, VIDHDR_ERR_NO_VOL);
    // The first of two wins.
    VolFields second;
    second.width = 8;
    EXPECT_EQ(parse_vol(user_data + vol + vol_bytes(second)).param.width, 176u);
    EXPECT_EQ(parse_vop(user_data + vol + vop + vop_bytes({2, 0, 5, 0, true}), 5).coding_type, 1u);
}

TEST(Mpeg4StartCode, SearchLimit) {
    const Bytes vol = vol_bytes({});
    for (const uint32_t limit : {0u, 1u, 2u, 3u, 5u, 256u}) {
        for (uint32_t at = 0; at < limit + 5; ++at) {
            const Bytes data = Bytes(at, 0xFF) + vol + Bytes(limit, 0xFF);
            ZevVideoParam param;
            const int32_t result =
                mpeg4_find_vol(data.data(), static_cast<uint32_t>(data.size()), limit, &param);
            // A header that begins inside the limit is read to its end.
            EXPECT_EQ(result, at < limit ? VIDHDR_OK : VIDHDR_ERR_NO_VOL) << at << " of " << limit;
        }
    }
    ZevVideoParam param;
    EXPECT_EQ(mpeg4_find_vol(nullptr, 0, 256, &param), VIDHDR_ERR_NO_VOL);
    EXPECT_EQ(mpeg4_find_vol(vol.data(), static_cast<uint32_t>(vol.size()), UINT32_MAX, &param), VIDHDR_OK);
}

// Cuts the data at every length, behind 0 to 15 other bytes, against an inaccessible page. A cut header reads
// as if zeros followed.
TEST(Mpeg4Cut, ReadsZerosAndNothingElse) {
    std::mt19937 random(2);
    std::vector<Bytes> samples;
    for (int i = 0; i < 20; ++i)
        samples.push_back(vol_bytes(test::random_vol(random)) + vop_bytes({3, 9, 16, 0x1234, true}));
    samples.push_back({0, 0, 1, 0xB6, 0xFF, 0xFF, 0xFF, 0xFF});
    for (const Bytes &sample : samples) {
        GuardedBuffer buffer(sample.size() + 16);
        for (size_t lead = 0; lead < 16; ++lead) {
            for (size_t length = 0; length <= sample.size(); ++length) {
                const auto cut = sample.begin() + static_cast<ptrdiff_t>(length);
                const Bytes head = Bytes(lead, 0xFF) + Bytes(sample.begin(), cut);
                const Bytes padded = head + Bytes(400, 0);
                const uint8_t *placed = buffer.place(head);
                expect_equal(parse_vol(placed, head.size()), parse_vol(padded));
                const VopTruth got = parse_vop(placed, head.size(), 16), expected = parse_vop(padded, 16);
                EXPECT_EQ(got.result, expected.result);
                EXPECT_EQ(got.coding_type, expected.coding_type);
                EXPECT_EQ(got.not_coded, expected.not_coded);
                ASSERT_FALSE(HasFailure()) << "lead " << lead << ", " << length << " bytes";
            }
        }
    }
}

TEST(Mpeg4Arguments, NullPointersAreRefusedBeforeAnythingIsTouched) {
    const Bytes vop = vop_bytes({});
    const uint32_t length = static_cast<uint32_t>(vop.size());
    ZevVideoParam param = kRubbish;
    uint32_t out = 77;
    EXPECT_EQ(ZEV_MPEG4_GetVideoParam(nullptr, length, &param), VIDHDR_ERR_INVALID_ARG);
    EXPECT_EQ(ZEV_MPEG4_GetVideoParam(vop.data(), length, nullptr), VIDHDR_ERR_INVALID_ARG);
    for (const auto function : {ZEV_MPEG4_GetVopType, ZEV_MPEG4_GetVop_IPB}) {
        EXPECT_EQ(function(nullptr, length, &param, &out), VIDHDR_ERR_INVALID_ARG);
        EXPECT_EQ(function(vop.data(), length, nullptr, &out), VIDHDR_ERR_INVALID_ARG);
        EXPECT_EQ(function(vop.data(), length, &param, nullptr), VIDHDR_ERR_INVALID_ARG);
        EXPECT_EQ(function(vop.data(), 0, &param, &out), VIDHDR_ERR_NO_VOP);
    }
    EXPECT_EQ(param.width, kRubbish.width);
    EXPECT_EQ(out, 77u);
}

}  // namespace
}  // namespace quorv
