// The fixed pool: its layout, and random use against a model of the chain of blocks.

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>
#include <string.h>

#include <algorithm>
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
    } cases[] = {{0, 0, 0},  {0, 19, 0}, {0, 20, 4}, {0, 255, 236},      {1, 22, 0},        {1, 23, 4},
                 {3, 20, 0}, {3, 21, 4}, {1, 2, 0},  {0, 0x80000000, 0}, {0, 0xFFFFFFFF, 0}};
    for (const auto &c : cases) {
        MMemMgr pool = MMemMgrCreate(buffer + c.offset, c.size);
        ASSERT_EQ(pool != nullptr, c.usable != 0) << "offset " << c.offset << " size " << c.size;
        if (pool == nullptr) continue;
        EXPECT_EQ(pool, buffer + (c.offset == 0 ? 0 : 4));
        EXPECT_EQ(chain(pool), (std::vector<Block>{{c.usable, 0}}));
    }
    EXPECT_EQ(MMemMgrCreate(nullptr, 100), nullptr);
}

TEST(FixedPool, RefusesWhatItCannotServe) {
    alignas(4) uint8_t buffer[64];
    MMemMgr pool = MMemMgrCreate(buffer, sizeof buffer);
    void *const ptr = MMemRealloc(pool, nullptr, 4);
    const std::vector<Block> before = chain(pool);
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
    EXPECT_EQ(chain(pool), before);
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
            const uint32_t action = held.empty() ? 0 : random() % 5;
            if (!held.empty()) std::swap(held[random() % held.size()], held.back());
            if (action == 4) {
                MMemFree(pool, held.back().ptr);
                model.release(held.back().place);
                held.pop_back();
            } else {
                Held old = action < 2 ? Held{model.none(), nullptr, {}} : held.back();
                uint8_t *const ptr = static_cast<uint8_t *>(MMemRealloc(pool, old.ptr, size));
                const PoolModel::Place place =
                    old.ptr == nullptr ? model.allocate(size) : model.resize(old.place, size);
                ASSERT_EQ(ptr != nullptr, place != model.none());
                if (ptr != nullptr) {
                    const size_t kept = std::min<size_t>(size, old.contents.size());
                    ASSERT_TRUE(std::equal(ptr, ptr + kept, old.contents.begin())) << "lost by resizing";
                    if (old.ptr != nullptr) held.pop_back();
                    std::generate_n(ptr, size, random);
                    held.push_back({place, ptr, {ptr, ptr + size}});
                }
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

}  // namespace
