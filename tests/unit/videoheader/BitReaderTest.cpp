// The bit reader and the start code searches against models that look at one bit or byte at a time.

#include "videoheader/BitReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "unit/videoheader/GuardedBuffer.h"
#include "videoheader/H264Header.h"
#include "videoheader/StartCode.h"

namespace quorv::test {
namespace {

// The next bits at a position in bits; what lies beyond the data is 0.
uint32_t model_bits(const std::vector<uint8_t> &data, size_t position, uint32_t count) {
    uint32_t value = 0;
    for (size_t at = position; at < position + count; ++at) {
        const uint32_t byte = at / 8 < data.size() ? data[at / 8] : 0;
        value = value << 1 | (byte >> (7 - at % 8) & 1);
    }
    return value;
}

// Does a random operation, compares its result with the model and returns the new position.
size_t step(bs_utility *bs, const std::vector<uint8_t> &data, size_t at, std::mt19937 &random) {
    EXPECT_EQ(bs_show_32bits_utility(bs), model_bits(data, at, 32));
    const uint32_t n = static_cast<uint32_t>(random() % 17);
    switch (random() % 6) {
        case 0:
            EXPECT_EQ(bs_get_bits_utility(bs, n), model_bits(data, at, n));
            return at + n;
        case 1:
            EXPECT_EQ(bs_get_1bit_utility(bs), model_bits(data, at, 1));
            return at + 1;
        case 2:
            bs_skip_bits_utility(bs, n);
            return at + n;
        case 3:
            bs_bytealign_utility(bs);
            return (at + 7) / 8 * 8;
        case 4:
            EXPECT_EQ(bs_get_16bits_utility(bs), model_bits(data, at, 16));
            return at + 16;
        default:
            bs_skip_32bits_utility(bs);
            return at + 32;
    }
}

TEST(BitReader, AgreesWithTheModelAtEveryLengthAndAlignment) {
    std::mt19937 random(1);
    GuardedBuffer buffer(64);
    for (size_t length = 0; length <= 40; ++length) {
        for (int round = 0; round < 40; ++round) {
            std::vector<uint8_t> data(length);
            for (uint8_t &byte : data)
                byte = static_cast<uint8_t>(random());
            // The guard page makes odd lengths begin at odd addresses.
            const uint8_t *const placed = buffer.place(data);
            bs_utility bs;
            bs_open_utility(&bs, placed, static_cast<uint32_t>(length));
            size_t at = 0;
            for (int i = 0; i < 60; ++i) {
                const size_t read = (bs.position - reinterpret_cast<uintptr_t>(placed)) * 8;
                EXPECT_EQ(read - static_cast<size_t>(bs.extra + 16), at);
                at = step(&bs, data, at, random);
                ASSERT_FALSE(HasFailure()) << "length " << length << ", step " << i;
            }
        }
    }
}

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
