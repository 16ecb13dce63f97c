// The bit reservoir of Layer III; see the header.

#include "mp3dec/Mp3Reservoir.h"

#include <quorv/mp3_decoder.h>
#include <quorv/platform/memory.h>

#include <algorithm>

namespace quorv {

namespace {

// The largest value of main_data_begin, a field of 9 bits.
constexpr uint32_t kLongestBegin = 511;

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

void keep_last(Mp3InputBuffer *state, uint32_t count) {
    MMemMove(state->reservoir, state->reservoir + state->reservoir_fill - count, count);
    state->reservoir_fill = count;
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
        bit_place(state->main_reader, body, body + data->length);
        return 0;
    }
    if (data->begin > state->reservoir_fill) return MP3_ERR_RESERVOIR;
    if (data->begin < data->length) {
        const uint32_t missing = data->length - data->begin;
        if (missing > room(*state)) keep_last(state, data->begin);
        if (missing > room(*state)) return MP3_ERR_RESERVOIR;
        append(state, body, missing);
        data->appended = missing;
    }
    const uint8_t *const end = state->reservoir + state->reservoir_fill;
    bit_place(state->main_reader, end - data->appended - data->begin, end);
    return 0;
}

void reservoir_keep(Mp3InputBuffer *state, const Mp3MainData &data) {
    const uint32_t rest = std::min(data.here - data.appended, kLongestBegin);
    keep_last(state, std::min(state->reservoir_fill, kLongestBegin - rest));
    append(state, state->read_position - rest, rest);
}

}  // namespace quorv
