// RIFF chunks that one reader has come by; see the header.

#include "splitter/SeenChunks.h"

#include <string.h>

#include <algorithm>

#include "splitter/ByteOrder.h"

namespace quorv {

namespace {

// Longer ones are worth a read of their own, and a few would fill the room.
constexpr uint32_t kLongestKept = 2048;
constexpr uint32_t kTagBytes = 4;
constexpr uint32_t kGoldenRatio = 0x9E3779B1;

}  // namespace

void SeenChunks::set_room(uint8_t *room, uint32_t size) {
    room_ = room;
    size_ = size;
}

uint32_t SeenChunks::set_of(int64_t position) {
    // Multiplied, as chunks of one length may follow each other.
    return static_cast<uint32_t>(position) * kGoldenRatio >> (32 - kSetBits);
}

const SeenChunks::Chunk *SeenChunks::find(int64_t position) const {
    if (position <= 0) return nullptr;
    for (const Chunk &chunk : sets_[set_of(position)]) {
        if (chunk.position == position) return &chunk;
    }
    return nullptr;
}

SeenChunks::Chunk *SeenChunks::find(int64_t position) {
    return const_cast<Chunk *>(static_cast<const SeenChunks *>(this)->find(position));
}

bool SeenChunks::is_whole(const Chunk &chunk) const {
    return chunk.length != 0 && kept_ - chunk.place <= size_;
}

const uint8_t *SeenChunks::find_header(int64_t position) const {
    const Chunk *chunk = find(position);
    return chunk != nullptr ? chunk->header : nullptr;
}

void SeenChunks::keep_header(int64_t position, const uint8_t *bytes) {
    Set &set = sets_[set_of(position)];
    memmove(set + 1, set, sizeof set - sizeof set[0]);
    set[0] = {position, {}, 0, 0};
    memcpy(set[0].header, bytes, kHeaderBytes);
}

bool SeenChunks::wants(int64_t position, uint32_t length) const {
    const Chunk *chunk = find(position);
    return chunk != nullptr && length > kHeaderBytes && length <= std::min(kLongestKept, size_) &&
           !is_whole(*chunk);
}

void SeenChunks::keep(int64_t position, const uint8_t *bytes, uint32_t length) {
    const auto place = static_cast<uint32_t>(kept_ % size_);
    // It lies in one piece.
    if (size_ - place < length) kept_ += size_ - place;
    Chunk *chunk = find(position);
    chunk->place = kept_ & ((uint64_t{1} << 48) - 1);
    chunk->length = length & 0xFFFF;
    memcpy(room_ + kept_ % size_, bytes, length);
    kept_ += length;
}

SeenChunks::Bytes SeenChunks::find_data(int64_t position) const {
    const Chunk *chunk = find(position - kHeaderBytes);
    if (chunk == nullptr || !is_whole(*chunk)) return {};
    return {room_ + chunk->place % size_ + kHeaderBytes, chunk->length - kHeaderBytes};
}

int64_t SeenChunks::end_of_row(int64_t position, uint32_t gap, uint32_t limit) const {
    const Chunk *const first = find(position), *chunk = first;
    const int64_t begin = position;
    int64_t end = position;
    while (chunk != nullptr && position - begin < limit) {
        const uint32_t size = load_le32(chunk->header + kTagBytes);
        const int64_t length = int64_t{kHeaderBytes} + size + (size & 1);
        const bool same = memcmp(chunk->header, first->header, kTagBytes) == 0;
        if (!same && length > gap) return end;
        position += length;
        if (same) end = position;
        chunk = find(position);
    }
    return position - begin >= limit ? begin + limit : 0;
}

void SeenChunks::forget_from(int64_t position) {
    for (Set &set : sets_) {
        for (Chunk &chunk : set) {
            const auto length = std::max<int64_t>(chunk.length, kHeaderBytes);
            if (position - chunk.position < length) chunk = {};
        }
    }
}

}  // namespace quorv
