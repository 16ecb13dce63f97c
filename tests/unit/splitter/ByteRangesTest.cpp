// Places in a file count once, in whatever order and however often they come; memory is bounded.

#include "splitter/ByteRanges.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "support/FailingAllocator.h"

namespace quorv::test {
namespace {

TEST(ByteRanges, CountEveryByteOnce) {
    std::mt19937 random(1);
    for (const uint64_t span : {40u, 400u, 4000u}) {
        ByteRanges ranges;
        std::set<int64_t> truth;
        for (int i = 0; i < 300; ++i) {
            const auto begin = static_cast<int64_t>(random() % span);
            const int64_t end = begin + static_cast<int64_t>(random() % 9);
            ranges.add(begin, end);
            for (int64_t at = begin; at < end; ++at)
                truth.insert(at);
            ASSERT_EQ(ranges.count(), truth.size());
            ASSERT_EQ(ranges.first(), truth.empty() ? -1 : *truth.begin());
        }
        ByteRanges twice;
        twice.add(ranges);
        twice.add(ranges);
        EXPECT_EQ(twice.count(), truth.size());
    }
}

TEST(ByteRanges, NeverCountTooManyWithoutRoomForAll) {
    constexpr int64_t kPlaces = 3 * ByteRanges::kMaxRanges;
    for (const uint64_t failing : {0u, 1u, 2u}) {
        FailingAllocator heap(failing);
        ByteRanges ranges;
        for (int pass = 0; pass < 2; ++pass) {
            for (int64_t i = kPlaces; i-- > 0;)
                ranges.add(i * 10);
            EXPECT_LE(ranges.count(), static_cast<uint64_t>(kPlaces));
        }
        EXPECT_GE(ranges.count(), uint64_t{ByteRanges::kMaxRanges});
        EXPECT_EQ(ranges.first(), 0);
        EXPECT_LE(heap.peak_bytes(), 4 * ByteRanges::kMaxRanges * 16);
    }
}

}  // namespace
}  // namespace quorv::test
