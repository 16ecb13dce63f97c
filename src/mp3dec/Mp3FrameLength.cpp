// Frame lengths, of free format by measuring; see the header.

#include "mp3dec/Mp3FrameLength.h"

#include <algorithm>

#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

// Free format: rates that no frame can have.
constexpr uint32_t kFreeFormatTooLow = 7;
constexpr uint32_t kFreeFormatTooHigh = 641;
constexpr uint32_t kMostBitrate = 1600;  // more than the samples of Layers I and II can take
// How far the next header is waited for, in bytes: 640 kbit/s at 32 kHz take 2880. A chance header in other
// data must not make the decoder ask for more input than it ever gathers.
constexpr size_t kMaxFreeFormatBytes = 3000;

uint32_t slot_bytes(const Mp3FrameHeader &header) {
    return header.layer == 1 ? 4 : 1;
}

// Slots of a frame at 1 kbit/s and 1 kHz.
uint32_t slots_per_kbit(const Mp3FrameHeader &header) {
    if (header.layer == 1) return 12;
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
uint32_t bitrate_of_distance(const Mp3FrameHeader &header, uint32_t distance) {
    const uint32_t rate = header.sample_rate, pad = padding(header);
    if (header.layer == 1) return (4 - 4 * pad + distance) * rate / 48000;
    return (1 - pad + distance) * rate / slots_per_kbit(header) / 1000;
}

// The most bytes that a frame of this kind can take.
uint32_t largest_distance(const Mp3FrameHeader &header) {
    const uint32_t bitrate = header.layer == 3 ? kFreeFormatTooHigh : kMostBitrate;
    return bitrate * slots_per_kbit(header) * slot_bytes(header) * 1000 / header.sample_rate;
}

// Whether the reader stands on a header that can be that of the next frame. One that differs in what all
// frames of a stream share is a chance pattern in the data.
bool parses_as_neighbour(const Mp3FrameHeader &header, Mp3BitReader reader) {
    Mp3FrameHeader candidate = header;
    return mp3_parse_header(&candidate, &reader) == Mp3Error::None && candidate.bitrate_index == 0 &&
           format_key(candidate) == format_key(header) &&
           mp3_has_flag(candidate, MP3_FLAG_CRC) == mp3_has_flag(header, MP3_FLAG_CRC);
}

// Measures the distance from the frame start to the next header of the same kind.
Mp3Error measure_distance(const Mp3FrameHeader &header, const Mp3InputBuffer &state, uint32_t *distance) {
    const size_t seen = buffer_left(state, state.frame_start);
    // Each of many headers in a large input might be looked behind to its end otherwise.
    const uint8_t *end = state.frame_start + std::min<size_t>(seen, largest_distance(header) + kMp3LookAhead);
    Mp3BitReader reader{};
    // The next header may begin in the bytes of one that is none.
    bit_place(&reader, state.frame_start + 1, state.end);
    for (; buffer_sync(&reader, end); bit_skip(&reader, 8)) {
        *distance = static_cast<uint32_t>(reader.byte - state.frame_start);
        if (parses_as_neighbour(header, reader) && bitrate_of_distance(header, *distance) > kFreeFormatTooLow)
            return Mp3Error::None;
    }
    // Within the size of the largest frame, more input may show its end; beyond it there is no frame.
    const bool may_follow = seen < kMaxFreeFormatBytes &&
                            bitrate_of_distance(header, static_cast<uint32_t>(seen)) < kFreeFormatTooHigh;
    return may_follow ? Mp3Error::NeedInput : Mp3Error::Sync;
}

Mp3Error measure_free_format(const Mp3FrameHeader &header, Mp3InputBuffer *state) {
    uint32_t distance = 0;
    const Mp3Error error = measure_distance(header, *state, &distance);
    if (error != Mp3Error::None) return error;
    const uint32_t bitrate = bitrate_of_distance(header, distance);
    if (header.layer == 3 && bitrate >= kFreeFormatTooHigh) return Mp3Error::Sync;
    state->free_format_bitrate = bitrate;
    state->free_format_slots = distance / slot_bytes(header) - padding(header);
    state->free_format_key = format_key(header);
    return Mp3Error::None;
}

// Gives a free-format frame the bit rate of the frames before it, or the measured one.
Mp3Error find_free_format_rate(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    const bool known = state->free_format_bitrate != 0 && state->in_sync &&
                       (header->layer != 3 || state->free_format_bitrate < kFreeFormatTooHigh);
    const Mp3Error error = known ? Mp3Error::None : measure_free_format(*header, state);
    if (error == Mp3Error::Sync) state->in_sync = false;
    if (error != Mp3Error::None) return error;
    header->bitrate = state->free_format_bitrate;
    header->flags |= MP3_FLAG_FREE_FORMAT;
    return Mp3Error::None;
}

}  // namespace

Mp3Error mp3_frame_length(Mp3FrameHeader *header, Mp3InputBuffer *state, uint32_t *length) {
    uint32_t slots = 0;
    if (header->bitrate_index == 0) {
        const Mp3Error error = find_free_format_rate(header, state);
        if (error != Mp3Error::None) return error;
        if (state->free_format_key == format_key(*header)) slots = state->free_format_slots;
    }
    // No bit rate is so high that 32 bits are too few.
    if (slots == 0) slots = slots_per_kbit(*header) * 1000 * header->bitrate / header->sample_rate;
    *length = (slots + padding(*header)) * slot_bytes(*header);
    return Mp3Error::None;
}

}  // namespace quorv
