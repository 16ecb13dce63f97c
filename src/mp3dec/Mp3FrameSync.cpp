// Synchronisation; see the header.

#include "mp3dec/Mp3FrameSync.h"

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameLength.h"
#include "mp3dec/Mp3FrameSearch.h"
#include "mp3dec/Mp3TagStep.h"

namespace quorv {

namespace {

Mp3Error read_header(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    // A header that fails must not be found again.
    ++state->read_position;
    if (!mp3_is_sync_word(state->frame_start)) return Mp3Error::Sync;
    bit_place(&state->header_reader, state->frame_start, state->end);
    return mp3_parse_header(header, &state->header_reader);
}

Mp3Error decode_in_sync(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    if (buffer_left(*state, state->read_position) < kMp3LookAhead) return Mp3Error::NeedInput;
    state->frame_start = state->read_position;
    Mp3Error error = read_header(header, state);
    if (error != Mp3Error::None) {
        state->in_sync = false;
        return error;
    }
    uint32_t length = 0;
    error = mp3_frame_length(header, state, &length);
    if (error == Mp3Error::None && !mp3_fits(*state, length)) error = Mp3Error::NeedInput;
    if (error == Mp3Error::None) state->read_position = state->frame_start + length;
    if (error == Mp3Error::NeedInput) state->read_position = state->frame_start;
    return error;
}

}  // namespace

Mp3Error header_decode(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    if (state->read_position == nullptr) return Mp3Error::NoInput;
    const Mp3Error error = mp3_step_over_tags(state);
    if (error != Mp3Error::None) return error;
    return state->in_sync ? decode_in_sync(header, state) : mp3_search_frame(header, state);
}

}  // namespace quorv
