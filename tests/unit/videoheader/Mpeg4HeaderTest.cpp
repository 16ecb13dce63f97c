// MPEG-4 Part 2 headers: written ones of every branch, cut ones, and start codes in odd places.

#include "videoheader/Mpeg4Header.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/RiffPieces.h"
#include "unit/videoheader/GuardedBuffer.h"
#include "unit/videoheader/Mpeg4Writer.h"

namespace quorv::test {
namespace {

constexpr int32_t kNoVol = VIDHDR_ERR_NO_VOL, kNoVop = VIDHDR_ERR_NO_VOP;

uint32_t size_of(const Bytes &data) {
    return static_cast<uint32_t>(data.size());
}

const Bytes kVol = mpeg4_vol(176, 144);

// What the functions make of the data. The two VOP functions find the same header.
struct Results {
    int32_t vol, vop;
    ZevVideoParam param = {77, 77, 77};
    uint32_t coding_type = 77, not_coded = 77;

    Results(const uint8_t *data, uint32_t length, uint32_t increment_bits) {
        const ZevVideoParam layer = {0, 0, increment_bits};
        vol = ZEV_MPEG4_GetVideoParam(data, length, &param);
        vop = ZEV_MPEG4_GetVop_IPB(data, length, &layer, &coding_type);
        EXPECT_EQ(ZEV_MPEG4_GetVopType(data, length, &layer, &not_coded), vop);
    }
    explicit Results(const Bytes &data, uint32_t increment_bits = 5)
        : Results(data.data(), size_of(data), increment_bits) {}

    std::vector<uint32_t> all() const {
        return {static_cast<uint32_t>(vol), param.width, param.height, param.time_increment_bits,
                static_cast<uint32_t>(vop), coding_type, not_coded};
    }
};

TEST(Mpeg4Vol, EveryBranch) {
    std::mt19937 random(1);
    int supported = 0;
    for (int round = 0; round < 30000; ++round) {
        BitWriter writer;
        const uint32_t any = static_cast<uint32_t>(random() % 65536) >> random() % 16;
        const VolTruth expected =
            write_random_vol(writer, random, round < 70 ? static_cast<uint32_t>(round) : any);
        const Results got(writer.data());
        EXPECT_EQ(got.vol, expected.result);
        EXPECT_EQ(got.param.width, expected.param.width);
        EXPECT_EQ(got.param.height, expected.param.height);
        EXPECT_EQ(got.param.time_increment_bits, expected.param.time_increment_bits);
        ASSERT_FALSE(HasFailure()) << "round " << round;
        supported += expected.result == VIDHDR_OK;
    }
    EXPECT_GT(supported, 10000);
}

TEST(Mpeg4Vop, EveryBranch) {
    for (uint32_t i = 0; i < 4 * 2 * 17 * 4; ++i) {
        const VopFields vop = {i % 4, i / 136 * 13, i / 8 % 17, 0xA5A5, i / 4 % 2 != 0};
        const Results got(vop_bytes(vop), vop.increment_bits);
        EXPECT_EQ(got.vop, VIDHDR_OK);
        EXPECT_EQ(got.coding_type, vop.coded ? vop.coding_type : uint32_t{VIDHDR_VOP_NOT_CODED});
        EXPECT_EQ(got.not_coded, vop.coded ? 0u : 1u);
        ASSERT_FALSE(HasFailure()) << i;
    }
    // A record that no parser wrote: more bits than a reader takes count as 16.
    EXPECT_EQ(Results(vop_bytes({1, 0, 16, 0x1234, true}), UINT32_MAX).coding_type, 1u);
}

TEST(Mpeg4StartCode, WhereItIsFound) {
    const Bytes vol = kVol, vop = vop_bytes({1, 0, 5, 3, true}), prefix = {0, 0, 1};
    const Bytes user_data = {0, 0, 1, 0xB2, 'x', 0, 0};
    struct Case {
        Bytes data;
        int32_t vol, vop;
    };
    const Case cases[] = {
        {join({user_data, vol}), 0, kNoVop},
        {join({user_data, vop}), kNoVol, 0},
        {join({user_data, vol, vop}), 0, 0},
        {join({Bytes{0}, vol, Bytes{0}, vop}), 0, 0},
        // A start code is passed over with its value: one that begins in the value of another is hidden.
        {join({prefix, vol, prefix, vop}), kNoVol, kNoVop},
        {Bytes{0}, kNoVol, kNoVop},
        {prefix, kNoVol, kNoVop},
        {{0, 0, 1, 0x20}, VIDHDR_ERR_UNSUPPORTED, kNoVop},
        {{0, 0, 1, 0x1F, 0, 0, 1, 0x30}, kNoVol, kNoVop},
        {{0, 0, 1, 0xB5, 0, 0, 1, 0xB7}, kNoVol, kNoVop},
        {{0, 0, 1, 0xB6}, kNoVol, 0},
    };
    for (const Case &each : cases) {
        const Results got(each.data);
        EXPECT_EQ(got.vol, each.vol) << &each - cases;
        EXPECT_EQ(got.vop, each.vop) << &each - cases;
    }
    const Results first(join({vol, mpeg4_vol(8, 8), vop, vop_bytes({2})}));
    EXPECT_EQ(first.param.width, 176u);
    EXPECT_EQ(first.coding_type, 1u);
}

// Cuts the data at every length, behind 0 to 15 other bytes, in front of an inaccessible page. A cut header
// reads as if zeros followed.
TEST(Mpeg4Cut, ReadsZerosAndNothingElse) {
    std::mt19937 random(2);
    std::vector<Bytes> samples = {{0, 0, 1, 0xB6, 0xFF, 0xFF, 0xFF, 0xFF}};
    for (int i = 0; i < 20; ++i) {
        BitWriter writer;
        write_random_vol(writer, random, 65535u >> i % 16);
        samples.push_back(join({writer.data(), vop_bytes({3, 9, 16, 0x1234, true})}));
    }
    for (const Bytes &sample : samples) {
        GuardedBuffer buffer(sample.size() + 16);
        for (size_t lead = 0; lead < 16; ++lead) {
            for (size_t length = 0; length <= sample.size(); ++length) {
                const Bytes cut(sample.begin(), sample.begin() + static_cast<ptrdiff_t>(length));
                const Bytes head = join({Bytes(lead, 0xFF), cut});
                ASSERT_EQ(Results(buffer.place(head), size_of(head), 16).all(),
                          Results(join({head, Bytes(400)}), 16).all())
                    << "lead " << lead << ", " << length << " bytes";
            }
        }
    }
}

}  // namespace
}  // namespace quorv::test
