// H.264 headers: written ones of every branch, cut ones, and start codes in odd places.

#include "videoheader/H264Header.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "unit/videoheader/GuardedBuffer.h"
#include "unit/videoheader/H264Writer.h"

namespace quorv {
namespace {

using Bytes = std::vector<uint8_t>;
using test::BitWriter;
using test::GuardedBuffer;
using test::SpsFields;
using test::SpsTruth;

constexpr uint32_t kErr = VIDHDR_H264_ERR;
constexpr uint32_t kUntouched = 77;

uint32_t size_of(const Bytes &data) {
    return static_cast<uint32_t>(data.size());
}

Bytes operator+(Bytes first, const Bytes &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes sps_bytes(const SpsFields &sps) {
    BitWriter writer;
    test::write_sps(writer, sps);
    return writer.data();
}

uint32_t slice_type(const Bytes &data) {
    return ZEV_H264_GetSliceType(data.data(), size_of(data));
}

uint32_t bare_slice_type(const Bytes &nal) {
    return ZEV_H264_GetSliceType_WithoutStartCode(nal.data(), size_of(nal));
}

void expect_sps(const Bytes &data, const SpsTruth &expected) {
    ZevVideoParam param = {kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(ZEV_H264_GetVideoParam(&param, data.data(), size_of(data)), expected.result);
    EXPECT_EQ(param.width, expected.has_size ? expected.width : kUntouched);
    EXPECT_EQ(param.height, expected.has_size ? expected.height : kUntouched);
    EXPECT_EQ(param.time_increment_bits, kUntouched);
}

TEST(H264Sps, EveryBranch) {
    std::mt19937 random(1);
    int good = 0;
    for (int round = 0; round < 30000; ++round) {
        const SpsFields sps = test::random_sps(random);
        const SpsTruth expected = test::sps_truth(sps);
        good += expected.result == VIDHDR_OK;
        expect_sps(sps_bytes(sps), expected);
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_GT(good, 10000);
}

TEST(H264Sps, SizesOfUsualPictures) {
    SpsFields full_hd;
    full_hd.width_mbs = 120;
    full_hd.height_units = 68;
    full_hd.cropped = true;
    full_hd.bottom = 4;
    expect_sps(sps_bytes(full_hd), {VIDHDR_OK, true, 1920, 1080});
    full_hd.frame_mbs_only = full_hd.cropped = false;
    full_hd.height_units = 34;
    expect_sps(sps_bytes(full_hd), {VIDHDR_OK, true, 1920, 1088});
    // The size is stored before it is refused.
    SpsFields empty;
    empty.cropped = true;
    empty.left = 88;
    expect_sps(sps_bytes(empty), {kErr, true, 0, 144});
    // Cut behind the width: the zeros that follow are no height, and no profile's limit of reference frames.
    Bytes cut = sps_bytes({});
    cut.resize(9);
    expect_sps(cut, {kErr, true, 176, 0});
    cut.resize(7);
    expect_sps(cut, {kErr, false, 0, 0});
}

TEST(H264Sps, Profiles) {
    for (uint32_t profile = 0; profile < 256; ++profile) {
        SpsFields sps;
        sps.profile = profile;
        const Bytes data = sps_bytes(sps);
        uint32_t got = kUntouched;
        bool known = false;
        for (const uint32_t one : {66u, 77u, 88u, 100u, 110u, 122u, 144u})
            known = known || one == profile;
        EXPECT_EQ(ZEV_H264_GetProfileID(&got, data.data(), size_of(data)), known ? 0 : kErr);
        EXPECT_EQ(got, known ? profile : 0);
    }
    uint32_t got = kUntouched;
    const Bytes sps = sps_bytes({}), slice = Bytes{0, 0, 1} + test::slice_bytes(0x65, 0, 7);
    const Bytes no_start_code(sps.begin() + 1, sps.end());
    for (const Bytes &data : {slice + sps, no_start_code, Bytes{0, 0, 1}, Bytes{9, 0, 0, 1}})
        EXPECT_EQ(ZEV_H264_GetProfileID(&got, data.data(), size_of(data)), kErr);
    EXPECT_EQ(got, kUntouched);
}

TEST(H264Slice, EveryKind) {
    for (uint32_t type = 0; type < 12; ++type) {
        for (const uint32_t first_mb : {0u, 1u, 1000u, 139263u}) {
            const uint32_t kind = type < 5 ? type : type - 5;
            const Bytes slice = test::slice_bytes(0x41, first_mb, type);
            const Bytes idr = test::slice_bytes(0x65, first_mb, type);
            EXPECT_EQ(slice_type(Bytes{0, 0, 1} + slice), kind <= 2 ? kind : kErr) << type;
            EXPECT_EQ(slice_type(Bytes{0, 0, 1} + idr), uint32_t{VIDHDR_H264_SLICE_IDR});
            EXPECT_EQ(bare_slice_type(slice), kind <= 2 ? kind : 0) << type;
            EXPECT_EQ(bare_slice_type(idr), kind <= 2 ? kind : 0) << type;
        }
    }
    for (uint32_t header = 0; header < 256; ++header) {
        const uint32_t type = header & 31;
        const Bytes nal = test::slice_bytes(header, 0, 1);
        EXPECT_EQ(bare_slice_type(nal), type == 1 || type == 5 ? 1 : kErr) << header;
        EXPECT_EQ(slice_type(Bytes{0, 0, 1} + nal), type == 1 ? 1 : type == 5 ? 5 : kErr) << header;
    }
}

TEST(H264Slice, OtherNalUnitsArePassedOver) {
    const Bytes prefix = {0, 0, 1}, sps = sps_bytes({}), slice = test::slice_bytes(0x41, 0, 6);
    EXPECT_EQ(slice_type(sps + Bytes{0} + prefix + slice), 1u);
    // A NAL header of 0 can be the first byte of the next start code.
    EXPECT_EQ(slice_type(prefix + prefix + slice), 1u);
    EXPECT_EQ(slice_type(sps), kErr);
    EXPECT_EQ(slice_type(sps + prefix), kErr);
    EXPECT_EQ(slice_type(slice), kErr);
    EXPECT_EQ(slice_type(prefix), kErr);
}

TEST(H264Nal, OffsetsOfAllStartCodes) {
    const Bytes data = {0, 0, 0, 1, 0x67, 9, 0, 0, 1, 0x68, 0, 0, 1, 0, 0, 1};
    const uint32_t expected[] = {1, 6, 10, 13};
    for (uint32_t capacity = 0; capacity < 6; ++capacity) {
        uint32_t offsets[6] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
        EXPECT_EQ(ZEV_H264_GetNALHdr(data.data(), size_of(data), offsets, capacity), capacity < 4 ? kErr : 4);
        for (uint32_t i = 0; i < 6; ++i)
            EXPECT_EQ(offsets[i], i < std::min(capacity, 4u) ? expected[i] : kUntouched) << capacity;
    }
    uint32_t offset;
    for (uint32_t length = 0; length < 3; ++length)
        EXPECT_EQ(ZEV_H264_GetNALHdr(data.data() + 1, length, &offset, 1), 0u);
    EXPECT_EQ(ZEV_H264_GetNALHdr(data.data() + 1, 3, &offset, 1), 1u);
}

// Cuts the data at every length, behind 0 to 15 other bytes, against an inaccessible page. A cut header reads
// as if zeros followed.
TEST(H264Cut, ReadsZerosAndNothingElse) {
    std::mt19937 random(2);
    const Bytes prefix = {0, 0, 0, 1};
    std::vector<Bytes> samples = {prefix + test::slice_bytes(0x41, 8159, 7),
                                  prefix + test::slice_bytes(0x65, 8159, 7)};
    for (int i = 0; i < 20; ++i)
        samples.push_back(sps_bytes(test::random_sps(random)) + prefix + test::slice_bytes(0x61, 1, 5));
    for (const Bytes &sample : samples) {
        GuardedBuffer buffer(sample.size() + 16);
        for (size_t lead = 0; lead < 16; ++lead) {
            for (size_t length = 0; length <= sample.size(); ++length) {
                const auto cut = sample.begin() + static_cast<ptrdiff_t>(length);
                const Bytes head = Bytes(lead, 0xFF) + Bytes(sample.begin(), cut),
                            padded = head + Bytes(1200, 0);
                const uint8_t *placed = buffer.place(head);
                ZevVideoParam got = {}, expected = {};
                EXPECT_EQ(ZEV_H264_GetVideoParam(&got, placed, size_of(head)),
                          ZEV_H264_GetVideoParam(&expected, padded.data(), size_of(padded)));
                EXPECT_EQ(got.width, expected.width);
                EXPECT_EQ(got.height, expected.height);
                uint32_t profile = 0, expected_profile = 0;
                EXPECT_EQ(ZEV_H264_GetProfileID(&profile, placed, size_of(head)),
                          ZEV_H264_GetProfileID(&expected_profile, padded.data(), size_of(padded)));
                EXPECT_EQ(profile, expected_profile);
                EXPECT_EQ(ZEV_H264_GetSliceType(placed, size_of(head)), slice_type(padded));
                uint32_t offsets[8], expected_offsets[8];
                const uint32_t count =
                    ZEV_H264_GetNALHdr(padded.data(), size_of(padded), expected_offsets, 8);
                EXPECT_EQ(ZEV_H264_GetNALHdr(placed, size_of(head), offsets, 8), count);
                ASSERT_FALSE(HasFailure()) << "lead " << lead << ", " << length << " bytes";
            }
        }
    }
}

TEST(H264Cut, BareSlices) {
    const Bytes nal = test::slice_bytes(0x41, 1u << 20, 6);
    GuardedBuffer buffer(nal.size());
    for (size_t length = 0; length <= nal.size(); ++length) {
        Bytes head(nal.begin(), nal.begin() + static_cast<ptrdiff_t>(length));
        const uint8_t *placed = buffer.place(head);
        const uint32_t got = ZEV_H264_GetSliceType_WithoutStartCode(placed, size_of(head));
        head.resize(nal.size() + 16);
        EXPECT_EQ(got, length < 4 ? kErr : bare_slice_type(head)) << length;
    }
    EXPECT_EQ(bare_slice_type(nal), 1u);
}

TEST(H264Arguments, NullPointersAndShortDataAreRefused) {
    const Bytes sps = sps_bytes({});
    const uint32_t length = size_of(sps);
    ZevVideoParam param;
    uint32_t out;
    EXPECT_EQ(ZEV_H264_GetVideoParam(nullptr, sps.data(), length), kErr);
    EXPECT_EQ(ZEV_H264_GetVideoParam(&param, nullptr, length), kErr);
    EXPECT_EQ(ZEV_H264_GetProfileID(nullptr, sps.data(), length), kErr);
    EXPECT_EQ(ZEV_H264_GetProfileID(&out, nullptr, length), kErr);
    EXPECT_EQ(ZEV_H264_GetSliceType(nullptr, length), kErr);
    EXPECT_EQ(ZEV_H264_GetSliceType_WithoutStartCode(nullptr, length), kErr);
    EXPECT_EQ(ZEV_H264_GetNALHdr(nullptr, length, &out, 1), kErr);
    EXPECT_EQ(ZEV_H264_GetNALHdr(sps.data(), length, nullptr, 1), kErr);
    for (uint32_t few = 0; few < 4; ++few) {
        EXPECT_EQ(ZEV_H264_GetVideoParam(&param, sps.data(), few), kErr);
        EXPECT_EQ(ZEV_H264_GetProfileID(&out, sps.data(), few), kErr);
    }
}

}  // namespace
}  // namespace quorv
