// Synchronisation; see the header.

#include "mp3dec/Mp3FrameSync.h"

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameLength.h"
#include "mp3dec/Mp3FrameSearch.h"
#include "mp3dec/Mp3TagStep.h"

namespace quorv {

namespace {

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
    if (error == 0 && !mp3_fits(*state, length)) error = MP3_ERR_NEED_INPUT;
    if (error != 0) {
        if (error == MP3_ERR_NEED_INPUT) state->read_position = state->frame_start;
        return mp3_fail(state, error);
    }
    state->read_position = state->frame_start + length;
    return 0;
}

}  // namespace

int32_t header_decode(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    if (state->read_position == nullptr) return mp3_fail(state, MP3_ERR_NO_INPUT);
    if (mp3_step_over_tags(state) != 0) return -1;
    return state->in_sync != 0 ? decode_in_sync(header, state) : mp3_search_frame(header, state);
}

}  // namespace quorv
