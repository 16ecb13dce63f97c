// The bytes that a decoder works on; see the header.

#include "mp3dec/Mp3InputStore.h"

#include <quorv/platform/memory.h>
#include <string.h>

#include <algorithm>

#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

namespace {

constexpr uint64_t kGrowth = 4;

uint8_t *allocate(uint64_t size, uint32_t *capacity) {
    *capacity = static_cast<uint32_t>(std::min<uint64_t>(size, UINT32_MAX - kMp3EndPadding));
    return static_cast<uint8_t *>(MMemAlloc(nullptr, size_t{*capacity} + kMp3EndPadding));
}

void append(Mp3InputStore *store, const void *bytes, uint32_t count) {
    if (count == 0) return;
    memcpy(store->bytes + store->held, bytes, count);
    store->held += count;
    store->unconsumed += count;
}

void pad_end(Mp3InputStore *store) {
    // Once an end: a caller may ask again and again.
    if (store->padded) return;
    constexpr uint8_t kZeros[kMp3EndPadding] = {};
    append(store, kZeros, kMp3EndPadding);
    store->padded = true;
}

// The stream goes on after all; what is left of the padding would tear its bytes apart.
void remove_padding(Mp3InputStore *store) {
    const uint32_t count = store->padded ? std::min(kMp3EndPadding, store->unconsumed) : 0;
    store->held -= count;
    store->unconsumed -= count;
    store->padded = false;
}

// Appends what fits of the piece's rest.
void append_piece(Mp3InputStore *store, QuMp3Buffer *input) {
    const uint32_t count = std::min(input->length - input->result, store->capacity - store->held);
    append(store, static_cast<const uint8_t *>(input->data) + input->result, count);
    input->result += count;
}

int32_t make_copy(Mp3InputStore *store, QuMp3Buffer *input, const uint8_t *position) {
    const auto *data = static_cast<const uint8_t *>(input->data);
    const auto offset = static_cast<uint32_t>(position - data);
    const uint32_t rest = input->length - offset;
    if (rest > 0) {
        store->bytes = allocate(kGrowth * rest, &store->capacity);
        if (store->bytes == nullptr) return QU_MP3_ERROR;
    }
    append(store, position, rest);
    input->result = input->length;
    return QU_MP3_NEED_INPUT;
}

int32_t grow_copy(Mp3InputStore *store, QuMp3Buffer *input, uint32_t wanted_room) {
    uint32_t capacity = 0;
    uint8_t *grown = nullptr;
    if (store->capacity < wanted_room) {
        const uint64_t total = uint64_t{store->held} + (input->length - input->result);
        grown = allocate(kGrowth * total, &capacity);
    }
    if (grown == nullptr) {
        input->result = 0;
        return QU_MP3_ERROR;
    }
    memcpy(grown, store->bytes, store->held);
    MMemFree(nullptr, store->bytes);
    store->bytes = grown;
    store->capacity = capacity;
    append_piece(store, input);
    return QU_MP3_NEED_INPUT;
}

}  // namespace

Mp3InputBytes store_take(Mp3InputStore *store, QuMp3Buffer *input) {
    if (store->bytes == nullptr) return {static_cast<const uint8_t *>(input->data), input->length, nullptr};
    memmove(store->bytes, store->bytes + (store->held - store->unconsumed), store->unconsumed);
    store->held = store->unconsumed;
    if (input->length == 0) {
        pad_end(store);
    } else {
        remove_padding(store);
        append_piece(store, input);
    }
    const uint8_t *const end = store->bytes + store->held;
    return {store->bytes, store->held, store->padded ? end - std::min(kMp3EndPadding, store->held) : nullptr};
}

void store_consume(Mp3InputStore *store, QuMp3Buffer *input, const uint8_t *position) {
    if (store->bytes == nullptr) {
        input->result = static_cast<uint32_t>(position - static_cast<const uint8_t *>(input->data));
    } else {
        store->unconsumed = store->held - static_cast<uint32_t>(position - store->bytes);
    }
}

int32_t store_extend(Mp3InputStore *store, QuMp3Buffer *input, const uint8_t *position,
                     uint32_t wanted_room) {
    if (store->bytes == nullptr) return make_copy(store, input, position);
    store_consume(store, input, position);
    const bool can_take_more = store->unconsumed < store->held || store->held < store->capacity;
    return can_take_more || input->length == 0 ? static_cast<int32_t>(QU_MP3_NEED_INPUT)
                                               : grow_copy(store, input, wanted_room);
}

void store_close(Mp3InputStore *store) {
    MMemFree(nullptr, store->bytes);
    *store = {};
}

}  // namespace quorv
