// The memory kind of stream: over a buffer of the caller, or over a chain of heap blocks that grows.

#include <string.h>

#include <algorithm>

#include "platform/StreamKinds.h"

namespace quorv {
namespace {

constexpr uint32_t kBlockCapacity = 16384;
constexpr uintptr_t kGrowableFlags = 0x1001;

// Followed directly by its data.
struct MemoryBlock {
    uintptr_t capacity;
    Owned<MemoryBlock> next;
};

// Shares one allocation with the first block, which comes last in it: its data follow.
struct BlockChain {
    MemoryBlock *current;
    uintptr_t current_start;  // stream offset of the current block's first byte
    MemoryBlock first;

    ~BlockChain() {
        // One after the other: block within block would take a stack as deep as the chain is long.
        while (first.next != nullptr)
            first.next = std::move(first.next->next);
    }
};

uint8_t *data_of(MemoryBlock *block) {
    return static_cast<uint8_t *>(static_cast<void *>(block + 1));
}

uint8_t *data_of(MStream stream) {
    return static_cast<uint8_t *>(stream->handle);
}

BlockChain *chain_of(MStream stream) {
    return static_cast<BlockChain *>(stream->chain);
}

void set_current(MStream stream, MemoryBlock *block, uintptr_t start, uintptr_t position) {
    BlockChain *chain = chain_of(stream);
    chain->current = block;
    chain->current_start = start;
    stream->handle = data_of(block);
    stream->block_capacity = block->capacity;
    stream->block_position = position;
}

// Moves to the start of the next block; false when there is none.
bool enter_next_block(MStream stream) {
    BlockChain *chain = chain_of(stream);
    if (chain == nullptr || chain->current->next == nullptr) return false;
    set_current(stream, chain->current->next.get(), chain->current_start + chain->current->capacity, 0);
    return true;
}

// Links a new block behind the current one, which must be the last, and enters it; false when the stream
// cannot grow. Blocks begin as zeros: the size can be set beyond what was written, and must not show what the
// heap held.
bool enter_new_block(MStream stream) {
    BlockChain *chain = chain_of(stream);
    if (chain == nullptr || stream->capacity > INTPTR_MAX - kBlockCapacity) return false;
    chain->current->next = make_owned_with_tail<MemoryBlock>(kBlockCapacity);
    if (chain->current->next == nullptr) return false;
    chain->current->next->capacity = kBlockCapacity;
    stream->capacity += kBlockCapacity;
    return enter_next_block(stream);
}

bool make_chain(MStream stream, uint32_t capacity) {
    BlockChain *chain = make_owned_with_tail<BlockChain>(capacity).release();
    if (chain == nullptr) return false;
    chain->first.capacity = capacity;
    stream->chain = chain;
    stream->flags = kGrowableFlags;
    set_current(stream, &chain->first, 0, 0);
    return true;
}

uintptr_t position_of(MStream stream) {
    const BlockChain *chain = chain_of(stream);
    return chain == nullptr ? stream->block_position : chain->current_start + stream->block_position;
}

uintptr_t room_in_block(MStream stream) {
    return stream->block_capacity - stream->block_position;
}

// base + offset, limited to 0 and `size`; `base` is at most the stream's capacity.
uintptr_t clamped_target(uintptr_t base, intptr_t offset, uintptr_t size) {
    if (offset < 0) {
        const uintptr_t back = uintptr_t{0} - static_cast<uintptr_t>(offset);
        return std::min(base - std::min(back, base), size);
    }
    if (base >= size) return size;
    return base + std::min(static_cast<uintptr_t>(offset), size - base);
}

}  // namespace
}  // namespace quorv

using namespace quorv;

MStream MStreamOpenFromMemoryBlock(void *buffer, uint32_t size) {
    Owned<MStreamRecord> stream = new_stream_record(kMemoryStream);
    if (stream == nullptr) return nullptr;
    uint32_t capacity = size;
    if (buffer != nullptr) {
        stream->handle = buffer;
        stream->block_capacity = size;
    } else {
        if (size == 0 || size > kBlockCapacity) capacity = kBlockCapacity;
        if (!make_chain(stream.get(), capacity)) return nullptr;
    }
    stream->size = capacity;
    stream->capacity = capacity;
    return stream.release();
}

int32_t ZEVStreamMemRead(MStream stream, void *buffer, int32_t count) {
    if (!is_memory_stream(stream) || count < 1) return 0;
    auto wanted = static_cast<uintptr_t>(count);
    if (stream->chain != nullptr) {
        const uintptr_t position = position_of(stream);
        wanted = std::min(wanted, stream->size - std::min(position, stream->size));
    }
    auto *out = static_cast<uint8_t *>(buffer);
    uintptr_t done = 0;
    while (done < wanted) {
        if (room_in_block(stream) == 0 && !enter_next_block(stream)) break;
        const uintptr_t piece = std::min(wanted - done, room_in_block(stream));
        memcpy(out + done, data_of(stream) + stream->block_position, piece);
        stream->block_position += piece;
        done += piece;
    }
    return static_cast<int32_t>(done);
}

int32_t ZEVStreamMemWrite(MStream stream, const void *data, int32_t count) {
    if (!is_memory_stream(stream) || count < 0) return 0;
    const auto *in = static_cast<const uint8_t *>(data);
    const auto wanted = static_cast<uintptr_t>(count);
    uintptr_t done = 0;
    while (done < wanted) {
        if (room_in_block(stream) == 0 && !enter_next_block(stream) && !enter_new_block(stream)) break;
        const uintptr_t piece = std::min(wanted - done, room_in_block(stream));
        memcpy(data_of(stream) + stream->block_position, in + done, piece);
        stream->block_position += piece;
        done += piece;
    }
    // Also when there was nothing to write: the position may lie behind a size that was set.
    if (position_of(stream) > stream->size) stream->size = position_of(stream);
    return static_cast<int32_t>(done);
}

int32_t ZEVStreamMemSeek(MStream stream, uint32_t origin, intptr_t offset) {
    if (!is_memory_stream(stream)) return 0;
    uintptr_t base;
    switch (origin) {
        case MSTREAM_SEEK_START:
            base = 0;
            break;
        case MSTREAM_SEEK_END:
            base = stream->size;
            break;
        case MSTREAM_SEEK_CURRENT:
            base = position_of(stream);
            break;
        default:
            return 1;
    }
    const uintptr_t target = clamped_target(base, offset, stream->size);
    BlockChain *chain = chain_of(stream);
    if (chain == nullptr) {
        stream->block_position = target;
        return 0;
    }
    // A target at the boundary of two blocks stays at the end of the first one, so blocks before the current
    // one can be passed over only when the target lies inside or behind it.
    const bool ahead = target > chain->current_start;
    MemoryBlock *block = ahead ? chain->current : &chain->first;
    uintptr_t start = ahead ? chain->current_start : 0;
    while (block->capacity < target - start) {
        start += block->capacity;
        block = block->next.get();
    }
    set_current(stream, block, start, target - start);
    return 0;
}

intptr_t ZEVStreamMemTell(MStream stream) {
    return is_memory_stream(stream) ? static_cast<intptr_t>(position_of(stream)) : 0;
}

intptr_t ZEVStreamMemGetSize(MStream stream) {
    return is_memory_stream(stream) ? static_cast<intptr_t>(stream->size) : 0;
}

int32_t ZEVStreamMemClose(MStream stream) {
    if (!is_memory_stream(stream)) return 0;
    const Owned<MStreamRecord> own(stream);
    const Owned<BlockChain> own_chain(chain_of(stream));
    return 1;
}
