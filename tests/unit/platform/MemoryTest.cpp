// Memory: the fixed pool, its layout and its rules step by step; the heap; owners without memory.

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "platform/MemoryOwner.h"
#include "support/FailingAllocator.h"

using namespace quorv;
using namespace quorv::test;

namespace {

// The sizes of the blocks as they lie in memory, those of free ones in brackets.
std::string layout(MMemMgr pool) {
    std::ostringstream text;
    for (const uint8_t *at = static_cast<uint8_t *>(pool);;) {
        uint32_t size, used;
        memcpy(&size, at, 4);
        memcpy(&used, at + 4, 4);
        if (size == 0xFFFFFFFF) return text.str();
        text << (at == pool ? "" : " ") << (used ? "" : "(") << size << (used ? "" : ")");
        at += 8 + size;
    }
}

TEST(FixedPool, CreationSpendsSixteenBytesAndTheMisalignment) {
    alignas(4) uint8_t buffer[256];
    const struct {
        size_t offset;
        uint32_t size;
        std::string layout;  // empty: refused
    } cases[] = {{0, 0, ""},          {0, 19, ""},    {0, 20, "(4)"},     {0, 255, "(236)"},
                 {1, 22, ""},         {1, 23, "(4)"}, {3, 20, ""},        {3, 21, "(4)"},
                 {0, 0x80000000, ""}, {1, 2, ""},     {0, 0xFFFFFFFF, ""}};
    for (const auto &c : cases) {
        MMemMgr pool = MMemMgrCreate(buffer + c.offset, c.size);
        ASSERT_EQ(pool != nullptr, !c.layout.empty()) << "offset " << c.offset << " size " << c.size;
        if (pool == nullptr) continue;
        EXPECT_EQ(pool, buffer + (c.offset == 0 ? 0 : 4));
        EXPECT_EQ(layout(pool), c.layout);
    }
    EXPECT_EQ(MMemMgrCreate(nullptr, 100), nullptr);
}

TEST(FixedPool, RefusesWhatItCannotServe) {
    alignas(4) uint8_t buffer[64];
    MMemMgr pool = MMemMgrCreate(buffer, sizeof(buffer));
    void *ptr = MMemRealloc(pool, nullptr, 4);
    const size_t wraps = sizeof(size_t) > 4 ? (size_t{1} << (sizeof(size_t) * 4)) + 4 : 0xFFFFFFFD;
    for (const size_t size : {size_t{0}, size_t{0x80000000}, wraps})
        EXPECT_EQ(MMemAlloc(pool, size), nullptr);
    EXPECT_EQ(MMemRealloc(pool, ptr, 0), nullptr);
    EXPECT_EQ(MMemRealloc(pool, buffer + 40, 8), nullptr);
    EXPECT_EQ(MMemAllocStatic(nullptr, 8), nullptr);
    EXPECT_EQ(MMemReallocStatic(nullptr, ptr, 8), nullptr);
    MMemFree(pool, buffer + 40);
    MMemFree(pool, nullptr);
    MMemFreeStatic(nullptr, ptr);
    EXPECT_EQ(layout(pool), "4 (36)");
}

TEST(FixedPool, FitsSplitsMergesAndMoves) {
    alignas(4) uint8_t buffer[216];
    MMemMgr pool = MMemMgrCreate(buffer, sizeof(buffer));
    const struct {
        size_t block;
        uint32_t size;    // 0 frees the block
        uint32_t offset;  // 0: refused, or freed
        const char *layout;
    } steps[] = {
        {0, 41, 8, "44 (148)"},
        {1, 61, 60, "44 64 (76)"},
        {2, 37, 132, "44 64 76"},  // 28 bytes left are too few for a block of their own
        {3, 1, 0, "44 64 76"},
        {2, 36, 132, "44 64 76"},  // 32 are when a block shrinks
        {2, 32, 132, "44 64 32 (36)"},
        {2, 0, 0, "44 64 (76)"},
        {2, 36, 132, "44 64 36 (32)"},
        {2, 69, 0, "44 64 36 (32)"},  // the next header does not count
        {2, 68, 132, "44 64 76"},
        {0, 0, 0, "(44) 64 76"},
        {3, 4, 8, "4 (32) 64 76"},
        {1, 65, 0, "4 (32) 64 76"},
        {2, 0, 0, "4 (32) 64 (76)"},
        {1, 100, 60, "4 (32) 100 (40)"},
        {1, 60, 60, "4 (32) 100 (40)"},
        {1, 56, 60, "4 (32) 56 (84)"},
        {3, 40, 124, "(44) 56 40 (36)"},
        {0, 30, 8, "44 56 40 (36)"},
        {3, 0, 0, "44 56 (84)"},
        {0, 0, 0, "(44) 56 (84)"},
        {1, 0, 0, "(200)"},
    };
    uint8_t *blocks[4] = {};
    std::vector<uint8_t> held[4];
    for (const auto &step : steps) {
        SCOPED_TRACE(&step - steps);
        uint8_t *old = blocks[step.block];
        if (step.size == 0) {
            MMemFree(pool, old);
            held[step.block].clear();
            blocks[step.block] = nullptr;
        } else {
            void *ptr = MMemRealloc(pool, old, step.size);
            ASSERT_EQ(ptr, step.offset == 0 ? nullptr : buffer + step.offset);
            if (ptr != nullptr) blocks[step.block] = buffer + step.offset;
        }
        EXPECT_EQ(layout(pool), step.layout);
        for (size_t i = 0; i < 4; ++i) {
            std::vector<uint8_t> &bytes = held[i];
            if (i == step.block && step.offset != 0) bytes.resize(std::min<size_t>(bytes.size(), step.size));
            EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), blocks[i])) << "contents of block " << i;
        }
        if (step.offset == 0) continue;
        held[step.block].assign(step.size, static_cast<uint8_t>(&step - steps));
        std::copy(held[step.block].begin(), held[step.block].end(), blocks[step.block]);
    }
}

TEST(Memory, WithoutAManagerTheHeapIsUsed) {
    uint8_t *ptr = static_cast<uint8_t *>(MMemSet(MMemAlloc(nullptr, 10), 0x141, 10));
    ptr = static_cast<uint8_t *>(MMemRealloc(nullptr, ptr, 100000));
    EXPECT_EQ(ptr[9], 0x41);
    EXPECT_EQ(MMemMove(ptr + 1, MMemCpy(ptr, "abcdef", 6), 6), ptr + 1);
    EXPECT_EQ(MMemCmp(ptr, "aabcdef", 7), 0);
    EXPECT_LT(MMemCmp("\x01", "\xFF", 1), 0);
    MMemFree(nullptr, ptr);
    // Large blocks ignore the manager: this one would crash as a pool.
    MMemMgr nonsense = &ptr;
    void *huge = MHugeMemReAlloc(nonsense, MHugeMemAlloc(nonsense, 8), 16);
    EXPECT_EQ(MHugeMemLock(nonsense, huge), huge);
    MHugeMemUnlock(nonsense, huge);
    MHugeMemFree(nonsense, huge);
    EXPECT_EQ(MGetAppMemInfo(nullptr), uint32_t{ResultUnsupported});
}

TEST(MemoryOwner, WithoutMemoryAnOwnerIsEmptyOrKeepsWhatItHas) {
    Owned<uint64_t[]> array = make_array<uint64_t>(2);
    array[0] = 1;
    ASSERT_TRUE(resize_array(&array, 100000));
    EXPECT_FALSE(resize_array(&array, uint64_t{1} << 61)) << "2^64 bytes are not 0 bytes";
    EXPECT_EQ(make_owned_with_tail<uint64_t>(UINT64_MAX), nullptr);
    {
        const FailingAllocator heap(1, FailureSpan::ForGood);
        EXPECT_FALSE(resize_array(&array, 200000));
        EXPECT_EQ(make_owned<uint64_t>(), nullptr);
        EXPECT_EQ(make_owned_with_tail<uint64_t>(1), nullptr);
        EXPECT_EQ(make_array<char>(1), nullptr);
    }
    ASSERT_TRUE(resize_array(&array, 1));
    EXPECT_EQ(array[0], 1u);
    EXPECT_TRUE(resize_array(&array, 0));
    EXPECT_NE(array, nullptr);
}

}  // namespace
