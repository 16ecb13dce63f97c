// H.264 headers: written ones of every branch, cut ones, and start codes in odd places.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "support/RiffPieces.h"
#include "unit/videoheader/GuardedBuffer.h"
#include "unit/videoheader/H264Writer.h"

namespace quorv::test {
namespace {

constexpr uint32_t kErr = VIDHDR_H264_ERR;
constexpr uint32_t kUntouched = 77;
const Bytes kPrefix = {0, 0, 1};

uint32_t size_of(const Bytes &data) {
    return static_cast<uint32_t>(data.size());
}

const Bytes kSps = h264_sps(176, 144);

uint32_t slice_type(const Bytes &data) {
    return ZEV_H264_GetSliceType(data.data(), size_of(data));
}

uint32_t bare_slice_type(const Bytes &nal) {
    return ZEV_H264_GetSliceType_WithoutStartCode(nal.data(), size_of(nal));
}

TEST(H264Sps, EveryBranch) {
    std::mt19937 random(1);
    int good = 0;
    for (int round = 0; round < 30000; ++round) {
        BitWriter writer;
        const SpsTruth expected = write_random_sps(writer, random);
        const Bytes &data = writer.data();
        ZevVideoParam param = {kUntouched, kUntouched, kUntouched};
        EXPECT_EQ(ZEV_H264_GetVideoParam(&param, data.data(), size_of(data)), expected.result);
        EXPECT_EQ(param.width, expected.has_size ? expected.width : kUntouched);
        EXPECT_EQ(param.height, expected.has_size ? expected.height : kUntouched);
        EXPECT_EQ(param.time_increment_bits, kUntouched);
        ASSERT_FALSE(HasFailure()) << "round " << round;
        good += expected.result == VIDHDR_OK;
    }
    EXPECT_GT(good, 10000);
}

TEST(H264Sps, Profiles) {
    uint32_t got = kUntouched;
    Bytes sps = kSps;
    const Bytes slice = join({kPrefix, slice_bytes(0x65, 0, 7)});
    for (const Bytes &other : {join({slice, sps}), Bytes(sps.begin() + 2, sps.end()), Bytes{9, 0, 0, 1}})
        EXPECT_EQ(ZEV_H264_GetProfileID(&got, other.data(), size_of(other)), kErr);
    EXPECT_EQ(got, kUntouched);
    for (uint32_t profile = 0; profile < 256; ++profile) {
        sps[5] = static_cast<uint8_t>(profile);
        const bool is_known = std::set<uint32_t>{66, 77, 88, 100, 110, 122, 144}.contains(profile);
        EXPECT_EQ(ZEV_H264_GetProfileID(&got, sps.data(), size_of(sps)), is_known ? 0 : kErr);
        EXPECT_EQ(got, is_known ? profile : 0);
    }
}

TEST(H264Slice, EveryNalUnitAndKind) {
    for (uint32_t header = 0; header < 256; ++header) {
        for (uint32_t type = 0; type < 12; ++type) {
            const uint32_t unit = header & 31, kind = type < 5 ? type : type - 5;
            const Bytes nal = slice_bytes(header, type * 1000, type);
            EXPECT_EQ(slice_type(join({kPrefix, nal})), unit == 5 ? 5 : unit == 1 && kind <= 2 ? kind : kErr);
            EXPECT_EQ(bare_slice_type(nal), unit != 1 && unit != 5 ? kErr : kind <= 2 ? kind : 0);
        }
    }
    const Bytes sps = kSps, slice = slice_bytes(0x41, 0, 6);
    EXPECT_EQ(slice_type(join({sps, Bytes{0}, kPrefix, slice})), 1u);
    // A NAL header of 0 can be the first byte of the next start code.
    EXPECT_EQ(slice_type(join({kPrefix, kPrefix, slice})), 1u);
    for (const Bytes &without : {sps, join({sps, kPrefix}), slice, kPrefix})
        EXPECT_EQ(slice_type(without), kErr);
}

// What every function makes of the data, for comparison.
std::vector<uint32_t> all_results(const uint8_t *data, uint32_t length) {
    ZevVideoParam param = {};
    uint32_t profile = 0, offsets[8];
    std::vector<uint32_t> results = {
        ZEV_H264_GetVideoParam(&param, data, length), ZEV_H264_GetProfileID(&profile, data, length),
        ZEV_H264_GetSliceType(data, length), ZEV_H264_GetSliceType_WithoutStartCode(data, length),
        ZEV_H264_GetNALHdr(data, length, offsets, 8)};
    results.insert(results.end(), {param.width, param.height, profile});
    return results;
}

// Cuts the data at every length, behind 0 to 15 other bytes, in front of an inaccessible page. A cut header
// reads as if zeros followed.
TEST(H264Cut, ReadsZerosAndNothingElse) {
    std::mt19937 random(2);
    std::vector<Bytes> samples = {join({kPrefix, slice_bytes(0x41, 8159, 7)})};
    for (int i = 0; i < 20; ++i) {
        BitWriter writer;
        write_random_sps(writer, random);
        samples.push_back(join({writer.data(), kPrefix, slice_bytes(0x61, 1, 5)}));
    }
    for (const Bytes &sample : samples) {
        GuardedBuffer buffer(sample.size() + 16);
        for (size_t lead = 0; lead < 16; ++lead) {
            const Bytes junk(lead, 0x41);  // a slice, where no start code is needed
            for (size_t length = 4; length <= sample.size(); ++length) {
                const Bytes head =
                    join({junk, Bytes(sample.begin(), sample.begin() + static_cast<ptrdiff_t>(length))});
                const Bytes padded = join({head, Bytes(1200)});
                ASSERT_EQ(all_results(buffer.place(head), size_of(head)),
                          all_results(padded.data(), size_of(padded)))
                    << "lead " << lead << ", " << length << " bytes";
            }
        }
    }
    GuardedBuffer buffer(4);
    for (uint32_t length = 0; length < 4; ++length) {
        const uint8_t *const placed = buffer.place(std::span(samples[0]).first(length));
        EXPECT_EQ(all_results(placed, length),
                  (std::vector<uint32_t>{kErr, kErr, kErr, kErr, length / 3, 0, 0, 0}));
    }
}

}  // namespace
}  // namespace quorv::test
