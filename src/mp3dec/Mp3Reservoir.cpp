// The bit reservoir of Layer III; see the header.

#include "mp3dec/Mp3Reservoir.h"

#include <string.h>

#include <algorithm>

namespace quorv {

namespace {

// The largest value of main_data_begin, a field of 9 bits.
constexpr uint32_t kLongestBegin = 511;

// main_data_begin of the frame at the read position, 0 when there is no Layer III header. The look-ahead
// behind the frame holds enough bytes.
uint32_t peek_next_begin(const Mp3InputBuffer &input) {
    const uint8_t *next = input.read_position;
    if (next[0] != 0xFF || (next[1] & 0xE6) != 0xE2) return 0;
    const uint8_t *side = next + ((next[1] & 1) != 0 ? 4 : 6);
    const bool mpeg1 = (next[1] & 0x08) != 0;
    return mpeg1 ? side[0] * 2u + (side[1] >> 7) : side[0];
}

void append(Mp3Reservoir *reservoir, const uint8_t *bytes, uint32_t count) {
    memcpy(reservoir->bytes.get() + reservoir->fill, bytes, count);
    reservoir->fill += count;
}

uint32_t room(const Mp3Reservoir &reservoir) {
    return kMp3ReservoirSize - reservoir.fill;
}

void keep_last(Mp3Reservoir *reservoir, uint32_t count) {
    memmove(reservoir->bytes.get(), reservoir->bytes.get() + reservoir->fill - count, count);
    reservoir->fill = count;
}

}  // namespace

bool reservoir_create(Mp3Reservoir *reservoir) {
    if (reservoir->bytes == nullptr) reservoir->bytes = make_array<uint8_t>(kMp3ReservoirSize);
    return reservoir->bytes != nullptr;
}

Mp3MainData reservoir_measure(const Mp3InputBuffer &input, uint32_t main_data_begin) {
    Mp3MainData data{};
    data.here = static_cast<uint32_t>(input.read_position - bit_position(input.header_reader));
    data.begin = main_data_begin;
    data.next_begin = peek_next_begin(input);
    const uint32_t total = data.here + data.begin;
    if (data.next_begin > total) data.next_begin = 0;
    data.length = total - data.next_begin;
    return data;
}

Mp3Error reservoir_open(Mp3Reservoir *reservoir, Mp3InputBuffer *input, Mp3MainData *data) {
    const uint8_t *body = bit_position(input->header_reader);
    if (data->begin == 0) {
        bit_place(&input->main_reader, body, body + data->length);
        return Mp3Error::None;
    }
    if (data->begin > reservoir->fill) return Mp3Error::Reservoir;
    if (data->begin < data->length) {
        const uint32_t missing = data->length - data->begin;
        if (missing > room(*reservoir)) keep_last(reservoir, data->begin);
        if (missing > room(*reservoir)) return Mp3Error::Reservoir;
        append(reservoir, body, missing);
        data->appended = missing;
    }
    const uint8_t *end = reservoir->bytes.get() + reservoir->fill;
    bit_place(&input->main_reader, end - data->appended - data->begin, end);
    return Mp3Error::None;
}

void reservoir_keep(Mp3Reservoir *reservoir, const Mp3InputBuffer &input, const Mp3MainData &data) {
    const uint32_t rest = std::min(data.here - data.appended, kLongestBegin);
    keep_last(reservoir, std::min(reservoir->fill, kLongestBegin - rest));
    append(reservoir, input.read_position - rest, rest);
}

}  // namespace quorv
