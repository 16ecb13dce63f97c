// The bit reservoir of Layer III; see the header.

#include "mp3dec/Mp3Reservoir.h"

#include <quorv/mp3_decoder.h>
#include <quorv/platform/memory.h>

namespace quorv {

namespace {

// main_data_begin of the frame at the read position, 0 when there is no Layer III header. The look-ahead
// behind the frame holds enough bytes.
uint32_t peek_next_begin(const Mp3InputBuffer &state) {
    const uint8_t *const next = state.read_position;
    if (next[0] != 0xFF || (next[1] & 0xE6) != 0xE2) return 0;
    const uint8_t *const side = next + ((next[1] & 1) != 0 ? 4 : 6);
    const bool mpeg1 = (next[1] & 0x08) != 0;
    return mpeg1 ? side[0] * 2u + (side[1] >> 7) : side[0];
}

void append(Mp3InputBuffer *state, const uint8_t *bytes, uint32_t count) {
    MMemCpy(state->reservoir + state->reservoir_fill, bytes, count);
    state->reservoir_fill += count;
}

uint32_t room(const Mp3InputBuffer &state) {
    return kMp3ReservoirSize - state.reservoir_fill;
}

}  // namespace

int32_t reservoir_create(Mp3InputBuffer *state) {
    if (state->reservoir == nullptr)
        state->reservoir = static_cast<uint8_t *>(MMemAlloc(nullptr, kMp3ReservoirSize));
    return state->reservoir == nullptr ? -1 : 0;
}

Mp3MainData reservoir_measure(const Mp3InputBuffer &state, uint32_t main_data_begin) {
    Mp3MainData data{};
    data.here = static_cast<uint32_t>(state.read_position - bit_position(*state.header_reader));
    data.begin = main_data_begin;
    data.next_begin = peek_next_begin(state);
    const uint32_t total = data.here + data.begin;
    if (data.next_begin > total) data.next_begin = 0;
    data.length = total - data.next_begin;
    return data;
}

uint32_t reservoir_open(Mp3InputBuffer *state, Mp3MainData *data) {
    const uint8_t *const body = bit_position(*state->header_reader);
    if (data->begin == 0) {
        state->reservoir_fill = 0;
        bit_place(state->main_reader, body, body + data->length);
        return 0;
    }
    if (data->begin > state->reservoir_fill) return MP3_ERR_RESERVOIR;
    const uint8_t *const start = state->reservoir + state->reservoir_fill - data->begin;
    if (data->begin < data->length) {
        const uint32_t missing = data->length - data->begin;
        if (missing > room(*state)) return MP3_ERR_RESERVOIR;
        append(state, body, missing);
        data->appended = missing;
    }
    bit_place(state->main_reader, start, state->reservoir + state->reservoir_fill);
    return 0;
}

void reservoir_keep(Mp3InputBuffer *state, const Mp3MainData &data) {
    uint32_t rest = data.here - data.appended;
    if (data.begin == 0) rest = data.next_begin;
    if (data.next_begin <= rest) {
        state->reservoir_fill = 0;
        append(state, state->read_position - data.next_begin, data.next_begin);
        return;
    }
    uint32_t keep = 0;
    if (data.begin > data.length) {
        const uint32_t wanted = data.next_begin - rest, unread = data.begin - data.length;
        keep = wanted < unread ? wanted : unread;
    }
    if (keep < state->reservoir_fill) {
        MMemMove(state->reservoir, state->reservoir + state->reservoir_fill - keep, keep);
        state->reservoir_fill = keep;
    }
    if (rest <= room(*state)) append(state, state->read_position - rest, rest);
}

}  // namespace quorv
