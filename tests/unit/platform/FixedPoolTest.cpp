// The fixed pool: layout and thresholds by table, and random use against a model of the chain of blocks.

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>
#include <string.h>

#include <list>
#include <random>
#include <vector>

namespace {

struct Block {
    uint32_t size;
    uint32_t used;
    bool operator==(const Block &other) const = default;
};

// The chain as it lies in memory, terminating header not included.
std::vector<Block> chain(MMemMgr pool) {
    std::vector<Block> blocks;
    for (const uint8_t *at = static_cast<uint8_t *>(pool);; at += 8 + blocks.back().size) {
        Block block;
        memcpy(&block, at, sizeof block);
        if (block.size == 0xFFFFFFFF) {
            EXPECT_EQ(block.used, 0u);
            return blocks;
        }
        blocks.push_back(block);
    }
}

void PrintTo(const Block &block, std::ostream *out) {
    *out << (block.used ? "used " : "free ") << block.size;
}

TEST(FixedPool, CreationSpendsSixteenBytesAndTheMisalignment) {
    alignas(4) uint8_t buffer[256];
    const struct {
        size_t offset;
        uint32_t size, usable;  // usable 0: refused
    } cases[] = {{0, 0, 0},     {0, 3, 0},  {0, 16, 0}, {0, 19, 0},         {0, 20, 4},        {0, 256, 240},
                 {0, 255, 236}, {1, 18, 0}, {1, 22, 0}, {1, 23, 4},         {3, 20, 0},        {3, 21, 4},
                 {2, 200, 180}, {1, 2, 0},  {3, 0, 0},  {0, 0x80000000, 0}, {0, 0xFFFFFFFF, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "offset " << c.offset << " size " << c.size);
        MMemMgr pool = MMemMgrCreate(buffer + c.offset, c.size);
        ASSERT_EQ(pool != nullptr, c.usable != 0);
        if (pool != nullptr) {
            EXPECT_EQ(pool, buffer + (c.offset == 0 ? 0 : 4));
            EXPECT_EQ(chain(pool), (std::vector<Block>{{c.usable, 0}}));
        }
    }
    EXPECT_EQ(MMemMgrCreate(nullptr, 100), nullptr);
}

TEST(FixedPool, SplitThresholds) {
    alignas(4) uint8_t buffer[216];  // 200 usable
    const struct {
        uint32_t first, then;
        std::vector<Block> expected;
    } cases[] = {
        {200, 0, {{200, 1}}},
        {164, 0, {{200, 1}}},
        {161, 0, {{200, 1}}},
        {160, 0, {{160, 1}, {32, 0}}},
        {204, 0, {{200, 0}}},
        {0xFFFFFFFD, 0, {{200, 0}}},
        {200, 160, {{200, 1}}},           // 40 less: stays whole
        {200, 156, {{156, 1}, {36, 0}}},  // 44 less: splits
        {100, 60, {{100, 1}, {92, 0}}},   // 40 less, although the next block is free
        {100, 56, {{56, 1}, {136, 0}}},   // merged with the free block behind
        {100, 160, {{160, 1}, {32, 0}}},  // grows in place
        {100, 161, {{200, 1}}},           // grows in place, too little left to split
        {100, 192, {{200, 1}}},           // need equals both payloads
        {100, 193, {{100, 1}, {92, 0}}},  // fits only with the freed header: not taken
        {100, 0xFFFFFFFF, {{100, 1}, {92, 0}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.first << ", then " << c.then);
        MMemMgr pool = MMemMgrCreate(buffer, sizeof buffer);
        void *const ptr = MMemAlloc(pool, c.first);
        if (c.then != 0) MMemRealloc(pool, ptr, c.then);
        EXPECT_EQ(chain(pool), c.expected);
    }
}

TEST(FixedPool, RefusesWhatItCannotServe) {
    alignas(4) uint8_t buffer[64];
    int outside = 0;
    MMemMgr pool = MMemMgrCreate(buffer, sizeof buffer);
    void *const ptr = MMemRealloc(pool, nullptr, 4);
    const std::vector<Block> before = chain(pool);
    ASSERT_NE(ptr, nullptr);
    EXPECT_EQ(MMemRealloc(pool, ptr, 0), nullptr);
    EXPECT_EQ(MMemRealloc(pool, &outside, 8), nullptr);
    EXPECT_EQ(MMemAlloc(pool, 0), nullptr);
    EXPECT_EQ(MMemAllocStatic(nullptr, 8), nullptr);
    EXPECT_EQ(MMemReallocStatic(nullptr, ptr, 8), nullptr);
    EXPECT_EQ(MMemAlloc(pool, size_t{0x80000000}), nullptr);
    MMemFree(pool, &outside);
    MMemFree(pool, nullptr);
    MMemFreeStatic(nullptr, ptr);
    EXPECT_EQ(chain(pool), before);
    if constexpr (sizeof(size_t) > 4) {
        EXPECT_EQ(MMemAlloc(pool, (size_t{1} << (sizeof(size_t) * 4)) + 4), nullptr) << "must not wrap to 4";
    }
}

// A second opinion on the pool: the chain as a list, first fit and merging by the rules.
class PoolModel {
public:
    using Place = std::list<Block>::iterator;
    explicit PoolModel(uint32_t usable) : blocks_{{usable, 0}} {}

    Place allocate(uint32_t size) {
        Place at = blocks_.begin();
        while (at != blocks_.end() && (at->used || at->size < rounded(size)))
            ++at;
        if (at == blocks_.end()) return at;
        cut(at, rounded(size), 40);
        at->used = 1;
        return at;
    }
    void release(Place at) {
        at->used = 0;
        for (Place b = blocks_.begin(); std::next(b) != blocks_.end();) {
            if (!b->used && !std::next(b)->used)
                swallow_next(b);
            else
                ++b;
        }
    }
    Place resize(Place at, uint32_t size) {
        const Place next = std::next(at);
        const bool next_free = next != blocks_.end() && !next->used;
        if (at->size >= rounded(size)) {
            if (cut(at, rounded(size), 41) && next_free) swallow_next(std::next(at));
            return at;
        }
        if (next_free && rounded(size) <= at->size + next->size) {
            swallow_next(at);
            cut(at, rounded(size), 40);
            return at;
        }
        const Place moved = allocate(size);
        if (moved != blocks_.end()) release(at);
        return moved;
    }
    Place none() { return blocks_.end(); }
    uint32_t payload_offset(Place place) {
        uint32_t offset = 8;
        for (Place at = blocks_.begin(); at != place; ++at)
            offset += at->size + 8;
        return offset;
    }
    std::vector<Block> chain() const { return {blocks_.begin(), blocks_.end()}; }

private:
    static uint32_t rounded(uint32_t size) { return (size + 3) / 4 * 4; }
    bool cut(Place at, uint32_t need, uint32_t least_spare) {
        if (at->size < need + least_spare) return false;
        blocks_.insert(std::next(at), {at->size - need - 8, 0});
        at->size = need;
        return true;
    }
    void swallow_next(Place at) {
        at->size += std::next(at)->size + 8;
        blocks_.erase(std::next(at));
    }
    std::list<Block> blocks_;
};

TEST(FixedPool, AgreesWithAModelUnderRandomUse) {
    struct Held {
        PoolModel::Place place;
        uint8_t *ptr;
        std::vector<uint8_t> contents;
    };
    for (uint32_t seed = 0; seed < 40; ++seed) {
        std::mt19937 engine(seed);
        const auto random = [&engine] { return static_cast<uint32_t>(engine()); };
        std::vector<uint8_t> buffer(2048 + 16);
        MMemMgr pool = MMemMgrCreate(buffer.data(), static_cast<uint32_t>(buffer.size()));
        PoolModel model(2048);
        std::vector<Held> held;
        for (int step = 0; step < 2000; ++step) {
            const uint32_t size = 1 + random() % (random() % 8 == 0 ? 900 : 120);
            const uint32_t action = random() % 5;
            const size_t pick = held.empty() ? 0 : random() % held.size();
            if (action < 2 || held.empty()) {
                uint8_t *const ptr = static_cast<uint8_t *>(MMemAlloc(pool, size));
                const PoolModel::Place place = model.allocate(size);
                ASSERT_EQ(ptr != nullptr, place != model.none());
                if (ptr != nullptr) held.push_back({place, ptr, std::vector<uint8_t>(size)});
            } else if (action < 4) {
                Held &h = held[pick];
                uint8_t *const ptr = static_cast<uint8_t *>(MMemRealloc(pool, h.ptr, size));
                const PoolModel::Place place = model.resize(h.place, size);
                ASSERT_EQ(ptr != nullptr, place != model.none());
                if (ptr != nullptr) {
                    const size_t kept = std::min<size_t>(size, h.contents.size());
                    ASSERT_EQ(memcmp(ptr, h.contents.data(), kept), 0) << "contents lost by resizing";
                    h = {place, ptr, std::vector<uint8_t>(size)};
                }
                std::swap(held[pick], held.back());
            } else {
                MMemFree(pool, held[pick].ptr);
                model.release(held[pick].place);
                held.erase(held.begin() + static_cast<ptrdiff_t>(pick));
                continue;
            }
            if (!held.empty()) {
                Held &last = held.back();
                for (uint8_t &byte : last.contents)
                    byte = static_cast<uint8_t>(random());
                memcpy(last.ptr, last.contents.data(), last.contents.size());
            }
            ASSERT_EQ(chain(pool), model.chain()) << "seed " << seed << " step " << step;
            for (const Held &h : held) {
                ASSERT_EQ(h.ptr, static_cast<uint8_t *>(pool) + model.payload_offset(h.place));
                ASSERT_EQ(memcmp(h.ptr, h.contents.data(), h.contents.size()), 0);
            }
        }
    }
}

TEST(Memory, WithoutAManagerTheHeapIsUsed) {
    uint8_t *ptr = static_cast<uint8_t *>(MMemAlloc(nullptr, 10));
    ASSERT_NE(ptr, nullptr);
    EXPECT_EQ(MMemSet(ptr, 0x141, 10), ptr);
    ptr = static_cast<uint8_t *>(MMemRealloc(nullptr, ptr, 100000));
    ASSERT_NE(ptr, nullptr);
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

}  // namespace
