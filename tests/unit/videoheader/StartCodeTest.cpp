// The start code searches against a plain one.

#include "videoheader/StartCode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "unit/videoheader/GuardedBuffer.h"

namespace quorv::test {
namespace {

TEST(StartCode, FoundWhereThePlainLoopFindsIt) {
    std::mt19937 random(1);
    GuardedBuffer buffer(200);
    size_t found = 0;
    // Few values make many near misses.
    for (const uint32_t values : {2u, 3u, 20u, 256u}) {
        for (size_t length = 0; length <= 200; ++length) {
            for (int round = 0; round < 100; ++round) {
                std::vector<uint8_t> data(length);
                for (uint8_t &byte : data)
                    byte = static_cast<uint8_t>(random() % values);
                const uint8_t *const begin = buffer.place(data), *const end = begin + length;
                const uint8_t code[] = {0, 0, 1}, *const expected = std::search(begin, end, code, code + 3);
                ASSERT_EQ(find_start_code(begin, end) - begin, expected - begin) << "of " << length;
                ASSERT_EQ(find_start_code_portable(begin, end) - begin, expected - begin) << "of " << length;
                found += expected != end;
            }
        }
    }
    EXPECT_GT(found, 30000u);
}

}  // namespace
}  // namespace quorv::test
