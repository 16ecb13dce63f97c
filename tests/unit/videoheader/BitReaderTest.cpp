// The bit reader against a model that looks up one bit at a time.

#include "videoheader/BitReader.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/BitWriter.h"
#include "unit/videoheader/GuardedBuffer.h"
#include "videoheader/H264Header.h"

namespace quorv {
namespace {

using test::BitWriter;
using test::GuardedBuffer;
using Edge = GuardedBuffer::Edge;

// The next bits at a position in bits; what lies beyond the data is 0.
uint32_t model_bits(const std::vector<uint8_t> &data, size_t position, uint32_t count) {
    uint32_t value = 0;
    for (size_t at = position; at < position + count; ++at) {
        const uint32_t byte = at / 8 < data.size() ? data[at / 8] : 0;
        value = value << 1 | (byte >> (7 - at % 8) & 1);
    }
    return value;
}

// Runs `steps` random operations over the data and compares each with the model.
void compare_with_model(const uint8_t *placed, const std::vector<uint8_t> &data, std::mt19937 &random,
                        int steps) {
    bs_utility bs;
    bs_open_utility(&bs, placed, static_cast<uint32_t>(data.size()));
    ASSERT_EQ(bs.end, placed + data.size());
    ASSERT_EQ(bs.length, data.size());
    size_t at = 0;
    for (int step = 0; step < steps; ++step) {
        ASSERT_EQ(bs.position % 2, 0u);
        ASSERT_GE(bs.extra, 1);
        ASSERT_LE(bs.extra, 16);
        ASSERT_EQ(
            (bs.position - reinterpret_cast<uintptr_t>(placed)) * 8 - static_cast<size_t>(bs.extra + 16), at);
        ASSERT_EQ(bs_show_32bits_utility(&bs), model_bits(data, at, 32));
        const uint32_t n = static_cast<uint32_t>(random() % 17);
        switch (random() % 6) {
            case 0:
                ASSERT_EQ(bs_get_bits_utility(&bs, n), model_bits(data, at, n));
                at += n;
                break;
            case 1:
                ASSERT_EQ(bs_get_1bit_utility(&bs), model_bits(data, at, 1));
                at += 1;
                break;
            case 2:
                bs_skip_bits_utility(&bs, n);
                at += n;
                break;
            case 3:
                bs_bytealign_utility(&bs);
                at = (at + 7) / 8 * 8;
                break;
            case 4:
                ASSERT_EQ(bs_get_16bits_utility(&bs), model_bits(data, at, 16));
                at += 16;
                break;
            default:
                bs_skip_32bits_utility(&bs);
                at += 32;
                break;
        }
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
            // Against the page behind, odd lengths begin at odd addresses; against the page in front, none
            // do.
            for (const Edge edge : {Edge::Front, Edge::Back}) {
                compare_with_model(buffer.place(data, edge), data, random, 60);
                if (testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

TEST(BitReader, ExpGolombCodesOfEveryLength) {
    std::vector<uint32_t> values;
    for (uint32_t bits = 0; bits < 32; ++bits)
        for (const uint32_t offset : {0u, 1u, (uint32_t{1} << bits) - 1})
            values.push_back((uint32_t{1} << bits) - 1 + offset);
    values.back() = UINT32_MAX - 1;
    for (const int lead : {0, 1, 7, 8, 15}) {
        BitWriter writer;
        writer.put(0, lead);
        for (const uint32_t value : values) {
            writer.ue(value);
            writer.se(static_cast<int32_t>(value / 2));
            writer.se(-static_cast<int32_t>(value / 2));
        }
        GuardedBuffer buffer(writer.data().size());
        bs_utility bs;
        bs_open_utility(&bs, buffer.place(writer.data()), static_cast<uint32_t>(writer.data().size()));
        bs_skip_bits_utility(&bs, static_cast<uint32_t>(lead));
        for (const uint32_t value : values) {
            ASSERT_EQ(ue_utility(&bs), value);
            ASSERT_EQ(se_utility(&bs), static_cast<int32_t>(value / 2));
            ASSERT_EQ(se_utility(&bs), -static_cast<int32_t>(value / 2));
        }
        EXPECT_EQ(ue_utility(&bs), UINT32_MAX);  // nothing but zeros beyond the end
    }
}

}  // namespace
}  // namespace quorv
