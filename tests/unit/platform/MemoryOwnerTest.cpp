// Owners of memory: what they free, what they keep and what they do without memory.

#include <gtest/gtest.h>

#include "platform/MemoryOwner.h"
#include "support/FailingAllocator.h"

namespace quorv::test {
namespace {

struct Node {
    uint64_t numbers[8];
    Owned<char[]> text;
    Owned<Node> next;
};

TEST(MemoryOwner, AnObjectIsZeroAndFreedWithAllThatItOwns) {
    const FailingAllocator heap;
    {
        Owned<Node> node = make_owned<Node>();
        for (const uint64_t number : node->numbers)
            EXPECT_EQ(number, 0u);
        node->text = make_array<char>(10);
        node->next = make_owned_with_tail<Node>(1000);
        for (const auto *tail = reinterpret_cast<char *>(node->next.get() + 1), *end = tail + 1000;
             tail < end; ++tail)
            ASSERT_EQ(*tail, 0);
        const Owned<Node> adopted(node.release());
        EXPECT_EQ(heap.live_blocks(), 3u);
    }
    EXPECT_EQ(heap.live_blocks(), 0u);
}

TEST(MemoryOwner, WithoutMemoryAnOwnerIsEmptyOrKeepsWhatItHas) {
    Owned<uint64_t[]> array = make_array<uint64_t>(2);
    array[0] = 1;
    ASSERT_TRUE(resize_array(&array, 100000));
    EXPECT_FALSE(resize_array(&array, uint64_t{1} << 61)) << "2^64 bytes are not 0 bytes";
    EXPECT_EQ(make_owned_with_tail<Node>(UINT64_MAX), nullptr);
    {
        const FailingAllocator heap(1, FailureSpan::ForGood);
        EXPECT_FALSE(resize_array(&array, 200000));
        EXPECT_EQ(make_owned<Node>(), nullptr);
        EXPECT_EQ(make_owned_with_tail<Node>(1), nullptr);
        EXPECT_EQ(make_array<char>(1), nullptr);
    }
    ASSERT_TRUE(resize_array(&array, 1));
    EXPECT_EQ(array[0], 1u);
    EXPECT_TRUE(resize_array(&array, 0));
    EXPECT_NE(array, nullptr);
}

}  // namespace
}  // namespace quorv::test
