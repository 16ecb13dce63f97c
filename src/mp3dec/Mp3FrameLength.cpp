// Frame lengths, of free format by measuring; see the header.

#include "mp3dec/Mp3FrameLength.h"

#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

// Free format: rates that no frame can have.
constexpr uint32_t kFreeFormatTooLow = 7;
constexpr uint32_t kFreeFormatTooHigh = 641;
constexpr uint32_t kMostBitrate = 1600;  // more than the samples of Layers I and II can take
// How far the next header is waited for, in bytes: 640 kbit/s at 32 kHz take 2880. A chance header in other
// data must not make the decoder ask for more input than it ever gathers.
constexpr uint64_t kMaxFreeFormatBytes = 3000;

uint32_t slots_per_kbit(const Mp3FrameHeader &header) {
    return header.layer == 3 && mp3_is_low_rate(header) ? 72 : 144;
}

uint32_t padding(const Mp3FrameHeader &header) {
    return mp3_has_flag(header, MP3_FLAG_PADDING) ? 1 : 0;
}

// The kind of frame that a measured length belongs to. Every version has sample rates of its own.
uint32_t format_key(const Mp3FrameHeader &header) {
    return header.sample_rate * 4 + header.layer;
}

// The bit rate of a frame of this kind and length, in kbit/s.
uint64_t bitrate_of_distance(const Mp3FrameHeader &header, uint64_t distance) {
    const uint64_t rate = header.sample_rate, pad = padding(header);
    if (header.layer == 1) return (4 - 4 * pad + distance) * rate / 48000;
    return (1 - pad + distance) * rate / slots_per_kbit(header) / 1000;
}

// The most bytes that a frame of this kind can take.
uint64_t largest_distance(const Mp3FrameHeader &header) {
    const uint64_t bitrate = header.layer == 3 ? kFreeFormatTooHigh : kMostBitrate;
    return bitrate * (header.layer == 1 ? 48 : slots_per_kbit(header)) * 1000 / header.sample_rate;
}

// Whether the reader stands on a header that can be that of the next frame. One that differs in what all
// frames of a stream share is a chance pattern in the data.
bool parses_as_neighbour(const Mp3FrameHeader &header, Mp3BitReader *reader) {
    Mp3FrameHeader candidate = header;
    return mp3_parse_header(&candidate, reader) == 0 && candidate.bitrate_index == 0 &&
           format_key(candidate) == format_key(header) &&
           mp3_has_flag(candidate, MP3_FLAG_CRC) == mp3_has_flag(header, MP3_FLAG_CRC);
}

// Measures the distance from the frame start to the next header of the same kind. 0 or an error code; the
// header reader moves.
uint32_t measure_distance(const Mp3FrameHeader &header, Mp3InputBuffer *state, uint64_t *distance) {
    // Each of many headers in a large input might be looked behind to its end otherwise.
    Mp3InputBuffer near = *state;
    const uint64_t reach = largest_distance(header) + kMp3LookAhead;
    if (reach < buffer_left(*state, state->frame_start)) near.end = state->frame_start + reach;
    for (const uint8_t *position = state->frame_start;; position = state->header_reader->byte) {
        // The next header may begin in the bytes of one that is none.
        bit_place(state->header_reader, position + 1, state->end);
        if (buffer_sync(&near) != 0) break;
        *distance = static_cast<uint64_t>(state->header_reader->byte - state->frame_start);
        Mp3BitReader candidate = *state->header_reader;
        if (parses_as_neighbour(header, &candidate) &&
            bitrate_of_distance(header, *distance) > kFreeFormatTooLow)
            return 0;
    }
    // Within the size of the largest frame, more input may show its end; beyond it there is no frame.
    const uint64_t seen = buffer_left(*state, state->frame_start);
    const bool may_follow =
        seen < kMaxFreeFormatBytes && bitrate_of_distance(header, seen) < kFreeFormatTooHigh;
    return may_follow ? MP3_ERR_NEED_INPUT : MP3_ERR_SYNC;
}

uint32_t measure_free_format(const Mp3FrameHeader &header, Mp3InputBuffer *state) {
    const Mp3BitReader behind_header = *state->header_reader;
    uint64_t distance = 0;
    const uint32_t error = measure_distance(header, state, &distance);
    *state->header_reader = behind_header;
    if (error != 0) return error;
    const uint64_t bitrate = bitrate_of_distance(header, distance);
    if (header.layer == 3 && bitrate >= kFreeFormatTooHigh) return MP3_ERR_SYNC;
    state->free_format_bitrate = static_cast<uint32_t>(bitrate);
    state->free_format_slots =
        static_cast<uint32_t>(header.layer == 1 ? distance / 4 : distance) - padding(header);
    state->free_format_key = format_key(header);
    return 0;
}

// Gives a free-format frame the bit rate of the frames before it, or the measured one. 0 or an error code.
uint32_t find_free_format_rate(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    const bool known = state->free_format_bitrate != 0 && state->in_sync != 0 &&
                       (header->layer != 3 || state->free_format_bitrate < kFreeFormatTooHigh);
    const uint32_t error = known ? 0 : measure_free_format(*header, state);
    if (error == MP3_ERR_SYNC) state->in_sync = 0;
    if (error != 0) return error;
    header->bitrate = state->free_format_bitrate;
    header->flags |= MP3_FLAG_FREE_FORMAT;
    return 0;
}

}  // namespace

uint32_t mp3_frame_length(Mp3FrameHeader *header, Mp3InputBuffer *state, uint64_t *length) {
    uint64_t slots = 0;
    if (header->bitrate_index == 0) {
        const uint32_t error = find_free_format_rate(header, state);
        if (error != 0) return error;
        if (state->free_format_key == format_key(*header)) slots = state->free_format_slots;
    }
    const uint64_t bitrate = header->bitrate, rate = header->sample_rate;
    if (header->layer == 1) {
        if (slots == 0) slots = 12000 * bitrate / rate;
        *length = (slots + padding(*header)) * 4;
    } else {
        if (slots == 0) slots = slots_per_kbit(*header) * bitrate * 1000 / rate;
        *length = slots + padding(*header);
    }
    return 0;
}

}  // namespace quorv
