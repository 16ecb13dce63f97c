// The input of a decoder; see the header.

#include "mp3dec/Mp3InputBuffer.h"

#include <quorv/platform/memory.h>
#include <string.h>

namespace quorv {

namespace {

Mp3BitReader *new_reader() {
    return static_cast<Mp3BitReader *>(MMemAlloc(nullptr, sizeof(Mp3BitReader)));
}

}  // namespace

int32_t buffer_init(Mp3InputBuffer *state, bool again) {
    Mp3InputBuffer fresh{};
    fresh.header_reader = again ? state->header_reader : new_reader();
    fresh.main_reader = again ? state->main_reader : new_reader();
    if (again) fresh.reservoir = state->reservoir;
    fresh.at_start = true;
    *state = fresh;
    if (state->header_reader == nullptr || state->main_reader == nullptr) {
        buffer_close(state);
        return -1;
    }
    bit_place(state->header_reader, nullptr, nullptr);
    bit_place(state->main_reader, nullptr, nullptr);
    return 0;
}

void buffer_set(Mp3InputBuffer *state, const uint8_t *data, size_t length) {
    state->start = state->frame_start = state->read_position = data;
    state->end = data + length;
    state->stream_end = nullptr;
    bit_place(state->header_reader, data, state->end);
}

int32_t buffer_sync(Mp3InputBuffer *state) {
    const uint8_t *position = bit_position(*state->header_reader);
    while (buffer_left(*state, position) >= kMp3LookAhead) {
        if (mp3_is_sync_word(position)) {
            bit_place(state->header_reader, position, state->end);
            return 0;
        }
        // memchr passes over what cannot be a sync word faster than a loop of ours.
        const void *next = memchr(position + 1, 0xFF, buffer_left(*state, position + 1));
        if (next == nullptr) return -1;
        position = static_cast<const uint8_t *>(next);
    }
    return -1;
}

void buffer_close(Mp3InputBuffer *state) {
    MMemFree(nullptr, state->reservoir);
    MMemFree(nullptr, state->header_reader);
    MMemFree(nullptr, state->main_reader);
    *state = {};
}

int32_t mp3_fail(Mp3InputBuffer *state, uint32_t error) {
    state->error = static_cast<uint16_t>(error);
    return -1;
}

}  // namespace quorv
