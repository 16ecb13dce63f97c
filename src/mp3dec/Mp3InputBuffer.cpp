// The input of a decoder; see the header.

#include "mp3dec/Mp3InputBuffer.h"

#include <string.h>

namespace quorv {

void buffer_init(Mp3InputBuffer *state) {
    *state = {};
    state->at_start = true;
}

void buffer_set(Mp3InputBuffer *state, const uint8_t *data, size_t length) {
    state->frame_start = state->read_position = data;
    state->end = data + length;
    state->stream_end = nullptr;
}

bool buffer_sync(Mp3BitReader *reader, const uint8_t *end) {
    const uint8_t *position = bit_position(*reader);
    while (end - position >= static_cast<ptrdiff_t>(kMp3LookAhead)) {
        if (mp3_is_sync_word(position)) {
            bit_place(reader, position, reader->end);
            return true;
        }
        // memchr passes over what cannot be a sync word faster than a loop of ours.
        const void *next = memchr(position + 1, 0xFF, static_cast<size_t>(end - position - 1));
        if (next == nullptr) return false;
        position = static_cast<const uint8_t *>(next);
    }
    return false;
}

}  // namespace quorv
