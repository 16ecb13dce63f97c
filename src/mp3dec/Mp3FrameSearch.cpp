// The search for frames; see the header.

#include "mp3dec/Mp3FrameSearch.h"

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameLength.h"

namespace quorv {

namespace {

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

}  // namespace

int32_t mp3_search_frame(Mp3FrameHeader *header, Mp3InputBuffer *state) {
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
        if (error != 0 || !mp3_fits(*state, length)) return need_input(state, held);

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

}  // namespace quorv
