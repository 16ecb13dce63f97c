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

// Moves the frame start to the next sync word at or behind the read position.
Mp3Error find_candidate(Mp3InputBuffer *state) {
    bit_place(&state->header_reader, state->read_position, state->end);
    if (buffer_sync(&state->header_reader, state->end)) {
        state->frame_start = state->header_reader.byte;
        state->read_position = state->frame_start + 1;
        return Mp3Error::None;
    }
    if (buffer_left(*state, state->read_position) >= kMp3LookAhead)
        state->frame_start = state->read_position = state->end - kMp3LookAhead;
    return Mp3Error::NeedInput;
}

Mp3Error need_input(const HeldFrame &held, Mp3InputBuffer *state) {
    state->read_position = state->frame_start;
    if (held.start != nullptr) state->frame_start = held.start;
    return Mp3Error::NeedInput;
}

// Goes back to the frame that was held; the frame start is that of the next one.
Mp3Error confirm(const HeldFrame &held, Mp3FrameHeader *header, Mp3InputBuffer *state) {
    state->read_position = state->frame_start;
    state->frame_start = held.start;
    state->header_reader = held.behind_header;
    state->in_sync = true;
    *header = held.header;
    return Mp3Error::None;
}

}  // namespace

Mp3Error mp3_search_frame(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    HeldFrame held;
    bool at_candidate = false;
    for (;;) {
        if (!at_candidate && find_candidate(state) != Mp3Error::None) return Mp3Error::NeedInput;
        at_candidate = false;
        if (mp3_parse_header(header, &state->header_reader) != Mp3Error::None) {
            if (held.start != nullptr) state->read_position = held.start + 1;
            held.start = nullptr;
            continue;
        }
        uint32_t length = 0;
        const Mp3Error error = mp3_frame_length(header, state, &length);
        if (mp3_skips_frame(error)) return error;
        if (error != Mp3Error::None || !mp3_fits(*state, length)) return need_input(held, state);

        const uint8_t *next = state->frame_start + length;
        if (!mp3_is_sync_word(next)) continue;
        if (held.start != nullptr) return confirm(held, header, state);
        held = {state->frame_start, state->header_reader, *header};
        state->frame_start = next;
        state->read_position = next + 1;
        bit_place(&state->header_reader, next, state->end);
        at_candidate = true;
    }
}

}  // namespace quorv
