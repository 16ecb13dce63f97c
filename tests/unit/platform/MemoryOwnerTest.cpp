// Owners of memory: what they free, what they keep and what they do without memory.

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>

#include "platform/MemoryOwner.h"
#include "support/FailingAllocator.h"

namespace quorv::test {
namespace {

struct Node {
    uint64_t numbers[8];
    Owned<char[]> text;
    Owned<Node> next;
};

TEST(MemoryOwner, AnObjectAndAllThatItOwnsAreFreed) {
    const FailingAllocator heap;
    {
        Owned<Node> node = make_owned<Node>();
        ASSERT_NE(node, nullptr);
        for (const uint64_t number : node->numbers)
            EXPECT_EQ(number, 0u);
        node->text = make_array<char>(10);
        node->next = make_owned<Node>();
        Node *const handle = node.release();
        EXPECT_EQ(heap.live_blocks(), 3u);
        const Owned<Node> adopted(handle);
    }
    EXPECT_EQ(heap.live_blocks(), 0u);
}

TEST(MemoryOwner, AnArrayKeepsItsElementsWhenItIsResizedOrCannotBe) {
    Owned<uint64_t[]> array = make_array<uint64_t>(2);
    array[0] = 1;
    array[1] = 2;
    ASSERT_TRUE(resize_array(&array, 100000));
    {
        const FailingAllocator heap(1);
        EXPECT_FALSE(resize_array(&array, 200000));
    }
    EXPECT_FALSE(resize_array(&array, uint64_t{1} << 61)) << "2^64 bytes are not 0 bytes";
    EXPECT_FALSE(resize_array(&array, UINT64_MAX));
    EXPECT_EQ(array[0], 1u);
    EXPECT_EQ(array[1], 2u);
    ASSERT_TRUE(resize_array(&array, 1));
    EXPECT_EQ(array[0], 1u);
    EXPECT_TRUE(resize_array(&array, 0));
    EXPECT_NE(array, nullptr);
}

TEST(MemoryOwner, WithoutMemoryAnOwnerIsEmpty) {
    const FailingAllocator heap(1, FailureSpan::ForGood);
    EXPECT_EQ(make_owned<Node>(), nullptr);
    EXPECT_EQ(make_array<char>(1), nullptr);
}

}  // namespace
}  // namespace quorv::test
