// The start code searches against a plain loop.

#include "videoheader/StartCode.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "unit/videoheader/GuardedBuffer.h"

namespace quorv {
namespace {

using test::GuardedBuffer;

const uint8_t *plain_search(const uint8_t *begin, const uint8_t *end) {
    for (const uint8_t *p = begin; end - p >= 3; ++p)
        if (p[0] == 0 && p[1] == 0 && p[2] == 1) return p;
    return end;
}

void expect_same(const uint8_t *begin, const uint8_t *end) {
    const uint8_t *const expected = plain_search(begin, end);
    ASSERT_EQ(find_start_code(begin, end) - begin, expected - begin);
    ASSERT_EQ(find_start_code_portable(begin, end) - begin, expected - begin);
}

TEST(StartCode, FoundAtEveryPositionOfEveryLength) {
    constexpr size_t kLongest = 200;
    GuardedBuffer buffer(kLongest);
    // 0xFF cannot be part of a start code, 0 can begin many that do not end, 1 ends many that did not begin.
    for (const uint8_t filler : std::vector<uint8_t>{0xFF, 0x00, 0x01}) {
        for (size_t length = 0; length <= kLongest; ++length) {
            for (size_t at = 0; at <= length; ++at) {
                std::vector<uint8_t> data(length, filler);
                for (size_t i = 0; i < 3 && at + i < length; ++i)
                    data[at + i] = i == 2 ? 1 : 0;
                const uint8_t *placed = buffer.place(data);
                expect_same(placed, placed + length);
                placed = buffer.place(data, GuardedBuffer::Edge::Front);
                expect_same(placed, placed + length);
                if (testing::Test::HasFatalFailure())
                    FAIL() << "filler " << int{filler} << " length " << length << " at " << at;
            }
        }
    }
}

TEST(StartCode, AllOfThemInDataFullOfNearMisses) {
    std::mt19937 random(1);
    std::vector<uint8_t> data(100000);
    for (uint8_t &byte : data)
        byte = static_cast<uint8_t>(random() % 3);
    GuardedBuffer buffer(data.size());
    const uint8_t *p = buffer.place(data);
    const uint8_t *const end = p + data.size();
    size_t count = 0;
    while (p != end) {
        expect_same(p, end);
        ASSERT_FALSE(testing::Test::HasFatalFailure()) << "after " << count;
        p = plain_search(p, end);
        if (p != end) {
            ++p;
            ++count;
        }
    }
    EXPECT_GT(count, 3000u);
}

}  // namespace
}  // namespace quorv
