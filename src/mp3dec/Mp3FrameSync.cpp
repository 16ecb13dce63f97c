// Synchronisation; see the header.

#include "mp3dec/Mp3FrameSync.h"

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameLength.h"

namespace quorv {

namespace {

// Whether a frame that begins at the frame start fits with the look-ahead behind it.
bool fits(const Mp3InputBuffer &state, uint64_t length) {
    return length + kMp3LookAhead <= buffer_left(state, state.frame_start);
}

int32_t decode_in_sync(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    if (buffer_left(*state, state->read_position) < kMp3LookAhead) return mp3_fail(state, MP3_ERR_NEED_INPUT);
    state->frame_start = state->read_position;
    if (!mp3_is_sync_word(state->read_position)) {
        state->in_sync = 0;
        ++state->read_position;
        return mp3_fail(state, MP3_ERR_SYNC);
    }
    bit_place(state->header_reader, state->frame_start, state->end);
    // A header that fails must not be found again.
    ++state->read_position;
    uint32_t error = mp3_parse_header(header, state->header_reader);
    if (error != 0) {
        state->in_sync = 0;
        return mp3_fail(state, error);
    }
    uint64_t length = 0;
    error = mp3_frame_length(header, state, &length);
    if (error == 0 && !fits(*state, length)) error = MP3_ERR_NEED_INPUT;
    if (error != 0) {
        if (error == MP3_ERR_NEED_INPUT) state->read_position = state->frame_start;
        return mp3_fail(state, error);
    }
    state->read_position = state->frame_start + length;
    return 0;
}

// The first frame of the look-ahead, kept until the second one confirms it.
struct HeldFrame {
    const uint8_t *start = nullptr;  // null: none is held
    Mp3BitReader behind_header{};
    Mp3FrameHeader header{};
};

// Moves the frame start to the next sync word at or behind the read position. 0 or -1.
int32_t find_candidate(Mp3InputBuffer *state) {
    bit_place(state->header_reader, state->read_position, state->end);
    if (buffer_sync(state) == 0) {
        state->frame_start = state->header_reader->byte;
        state->read_position = state->frame_start + 1;
        return 0;
    }
    if (buffer_left(*state, state->read_position) >= kMp3LookAhead)
        state->frame_start = state->read_position = state->end - kMp3LookAhead;
    return mp3_fail(state, MP3_ERR_NEED_INPUT);
}

int32_t need_input(Mp3InputBuffer *state, const HeldFrame &held) {
    state->read_position = state->frame_start;
    if (held.start != nullptr) state->frame_start = held.start;
    return mp3_fail(state, MP3_ERR_NEED_INPUT);
}

int32_t search_frame(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    HeldFrame held;
    bool at_candidate = false;
    for (;;) {
        if (!at_candidate && find_candidate(state) != 0) return -1;
        at_candidate = false;
        uint32_t error = mp3_parse_header(header, state->header_reader);
        if (error != 0) {
            if (held.start != nullptr) state->read_position = held.start + 1;
            held.start = nullptr;
            continue;
        }
        uint64_t length = 0;
        error = mp3_frame_length(header, state, &length);
        if (error != 0 && error != MP3_ERR_NEED_INPUT) return mp3_fail(state, error);
        if (error != 0 || !fits(*state, length)) return need_input(state, held);

        const uint8_t *const next = state->frame_start + length;
        if (!mp3_is_sync_word(next)) continue;
        if (held.start == nullptr) {
            held = {state->frame_start, *state->header_reader, *header};
            state->frame_start = next;
            state->read_position = next + 1;
            bit_place(state->header_reader, next, state->end);
            at_candidate = true;
            continue;
        }
        state->read_position = state->frame_start;
        state->frame_start = held.start;
        *state->header_reader = held.behind_header;
        *header = held.header;
        state->in_sync = 1;
        return 0;
    }
}

}  // namespace

int32_t header_decode(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    if (state->read_position == nullptr) return mp3_fail(state, MP3_ERR_NO_INPUT);
    return state->in_sync != 0 ? decode_in_sync(header, state) : search_frame(header, state);
}

}  // namespace quorv
