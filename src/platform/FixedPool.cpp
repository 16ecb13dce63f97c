// The fixed pool: a first-fit allocator inside one buffer of the caller.
//
// The pool is a chain of blocks laid end to end, each a header followed by its payload, and ends with a
// terminating header. The handle is the address of the first header.

#include <quorv/platform/memory.h>
#include <string.h>

namespace quorv {
namespace {

struct BlockHeader {
    uint32_t size;  // payload bytes, a multiple of 4; kEndOfChain in the terminating header
    uint32_t used;  // 1 while handed out, else 0
};
static_assert(sizeof(BlockHeader) == 8);

constexpr uint32_t kHeaderSize = sizeof(BlockHeader);
constexpr uint32_t kEndOfChain = 0xFFFFFFFF;

// What must be left over for a split, header not counted. Shrinking in place is more reluctant by one byte,
// so a block that shrinks by exactly 40 bytes stays whole while an allocation would have split it.
constexpr int64_t kMinSplitOnAllocation = 32;
constexpr int64_t kMinSplitOnShrink = 33;

// The request in whole words. 64 bits wide, so that a request near the limit fails the comparison with a
// block's size and does not wrap to a small one.
constexpr uint64_t round_to_words(uint64_t size) {
    return (size + 3) & ~uint64_t{3};
}

BlockHeader *first_block(MMemMgr mgr) {
    return static_cast<BlockHeader *>(mgr);
}

uint8_t *payload(BlockHeader *block) {
    return static_cast<uint8_t *>(static_cast<void *>(block)) + kHeaderSize;
}

BlockHeader *next_block(BlockHeader *block) {
    return static_cast<BlockHeader *>(static_cast<void *>(payload(block) + block->size));
}

bool is_end(const BlockHeader *block) {
    return block->size == kEndOfChain;
}

bool is_free_block(const BlockHeader *block) {
    return !is_end(block) && block->used == 0;
}

void absorb_next(BlockHeader *block) {
    block->size += next_block(block)->size + kHeaderSize;
}

// Cuts the payload down to `need` bytes and makes a free block of the rest; false, with nothing changed,
// when the rest has fewer than `min_rest` bytes.
bool split(BlockHeader *block, uint64_t need, int64_t min_rest) {
    const int64_t rest = int64_t{block->size} - static_cast<int64_t>(need) - kHeaderSize;
    if (rest < min_rest) return false;
    block->size = static_cast<uint32_t>(need);
    BlockHeader *tail = next_block(block);
    tail->size = static_cast<uint32_t>(rest);
    tail->used = 0;
    return true;
}

// The block whose payload is `ptr`, and the block before it (null for the first); null when no block of the
// pool has that payload.
BlockHeader *find_block(MMemMgr mgr, const void *ptr, BlockHeader **previous) {
    *previous = nullptr;
    for (BlockHeader *block = first_block(mgr); !is_end(block); block = next_block(block)) {
        if (payload(block) == ptr) return block;
        *previous = block;
    }
    return nullptr;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

MMemMgr MMemMgrCreate(void *buffer, uint32_t size) {
    if (buffer == nullptr || size > 0x7FFFFFFF) return nullptr;
    const uintptr_t misalignment = -reinterpret_cast<uintptr_t>(buffer) & 3;
    const int64_t usable =
        ((int64_t{size} - static_cast<int64_t>(misalignment)) & ~int64_t{3}) - int64_t{2} * kHeaderSize;
    if (usable < 1) return nullptr;
    void *pool = static_cast<uint8_t *>(buffer) + misalignment;
    BlockHeader *first = first_block(pool);
    first->size = static_cast<uint32_t>(usable);
    first->used = 0;
    BlockHeader *end = next_block(first);
    end->size = kEndOfChain;
    end->used = 0;
    return pool;
}

void MMemMgrDestroy(MMemMgr /*mgr*/) {}

void *MMemAllocStatic(MMemMgr mgr, uint32_t size) {
    if (mgr == nullptr || size == 0) return nullptr;
    const uint64_t need = round_to_words(size);
    for (BlockHeader *block = first_block(mgr); !is_end(block); block = next_block(block)) {
        if (block->used != 0 || block->size < need) continue;
        split(block, need, kMinSplitOnAllocation);
        block->used = 1;
        return payload(block);
    }
    return nullptr;
}

void MMemFreeStatic(MMemMgr mgr, void *ptr) {
    if (mgr == nullptr || ptr == nullptr) return;
    BlockHeader *previous;
    BlockHeader *block = find_block(mgr, ptr, &previous);
    if (block == nullptr) return;
    block->used = 0;
    if (is_free_block(next_block(block))) absorb_next(block);
    if (previous != nullptr && previous->used == 0) absorb_next(previous);
}

void *MMemReallocStatic(MMemMgr mgr, void *ptr, uint32_t size) {
    if (mgr == nullptr || size == 0) return nullptr;
    if (ptr == nullptr) return MMemAllocStatic(mgr, size);
    BlockHeader *previous;
    BlockHeader *block = find_block(mgr, ptr, &previous);
    if (block == nullptr) return nullptr;

    const uint64_t need = round_to_words(size);
    BlockHeader *next = next_block(block);
    if (block->size >= need) {
        if (split(block, need, kMinSplitOnShrink) && is_free_block(next)) absorb_next(next_block(block));
        return ptr;
    }
    // The freed header is not counted here: a block that would fit only with it moves.
    if (is_free_block(next) && need <= uint64_t{block->size} + next->size) {
        absorb_next(block);
        split(block, need, kMinSplitOnAllocation);
        return ptr;
    }
    void *moved = MMemAllocStatic(mgr, size);
    if (moved == nullptr) return nullptr;
    memcpy(moved, ptr, block->size);
    MMemFreeStatic(mgr, ptr);
    return moved;
}
