// Stepping over tags; see the header.

#include "mp3dec/Mp3TagStep.h"

#include <algorithm>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameSearch.h"
#include "mp3dec/Mp3Tag.h"

namespace quorv {

namespace {

enum class Answer { No, Yes, Open };

bool begins_frame(const Mp3InputBuffer &state, const uint8_t *position) {
    Mp3BitReader reader{};
    bit_place(&reader, position, state.end);
    Mp3FrameHeader header{};
    return mp3_is_sync_word(position) && mp3_parse_header(&header, &reader) == Mp3Error::None;
}

// Whether frames follow one another somewhere in the bytes from the read position on.
bool has_frames(const Mp3InputBuffer &state, size_t length) {
    Mp3InputBuffer part = state;
    part.end = state.read_position + length;
    part.in_sync = false;
    Mp3FrameHeader header{};
    Mp3Error error = Mp3Error::Sync;
    while (mp3_skips_frame(error))
        error = mp3_search_frame(&header, &part);
    return error == Mp3Error::None;
}

// Whether what claims to be a tag of this length among the frames is one: a frame, another tag or the end
// follows it. The answer must not depend on how much of the stream is there, so it stays open until it is
// sure. Of a tag longer than what is kept of the input, the end is never seen; it is none if there are frames
// in it.
Answer ends_as_tag(const Mp3InputBuffer &state, uint64_t length) {
    const uint8_t *start = state.read_position;
    if (state.stream_end != nullptr) {
        const auto left = static_cast<uint64_t>(state.stream_end - start);
        if (length >= left) return length == left ? Answer::Yes : Answer::No;
    }
    if (buffer_left(state, start) < std::min<uint64_t>(length + kMp3LookAhead, kMp3KeptTagBytes))
        return Answer::Open;
    if (length + kMp3LookAhead > kMp3KeptTagBytes)
        return has_frames(state, kMp3KeptTagBytes) ? Answer::No : Answer::Yes;
    const uint8_t *next = start + length;
    return begins_frame(state, next) || mp3_begins_like_tag(next) ? Answer::Yes : Answer::No;
}

// Whether a tag stands at the read position, which has the look-ahead behind it, and its length.
Answer find_tag(const Mp3InputBuffer &state, uint64_t *length) {
    const size_t left = buffer_left(state, state.read_position);
    if (!mp3_begins_like_tag(state.read_position)) return Answer::No;
    if (left < kMp3TagHead) return state.stream_end != nullptr ? Answer::No : Answer::Open;
    *length = mp3_tag_length(state.read_position);
    if (*length == 0) return Answer::No;
    return state.at_start ? Answer::Yes : ends_as_tag(state, *length);
}

// Moves over as much of the tag as is there.
void pass_tag(Mp3InputBuffer *state) {
    const uint64_t count = std::min<uint64_t>(state->tag_left, buffer_left(*state, state->read_position));
    state->read_position += count;
    state->frame_start = state->read_position;
    state->tag_left -= count;
    state->tag_bytes += count;
}

}  // namespace

Mp3Error mp3_step_over_tags(Mp3InputBuffer *state) {
    state->tag_is_open = false;
    for (;;) {
        if (state->tag_left > 0) pass_tag(state);
        if (state->tag_left > 0) return Mp3Error::NeedInput;
        if (!state->in_sync && !state->at_start) return Mp3Error::None;
        if (buffer_left(*state, state->read_position) < kMp3LookAhead) return Mp3Error::None;
        uint64_t length = 0;
        const Answer answer = find_tag(*state, &length);
        if (answer == Answer::Yes) {
            state->tag_left = length;
        } else if (answer == Answer::No) {
            state->at_start = false;
            return Mp3Error::None;
        } else {
            state->frame_start = state->read_position;
            state->tag_is_open = true;
            return Mp3Error::NeedInput;
        }
    }
}

}  // namespace quorv
