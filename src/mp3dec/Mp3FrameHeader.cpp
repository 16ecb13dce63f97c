// Synchronisation, header parsing and frame length; see the header.

#include "mp3dec/Mp3FrameHeader.h"

#include "mp3dec/tables/ScaleFactorBands.h"

namespace quorv {

namespace {

// kbit/s by row and bit rate index. Rows: MPEG-1 Layer I, II, III; low sampling rates Layer I, then Layers II
// and III together.
constexpr uint16_t kBitrates[5][15] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
};
constexpr uint32_t kSampleRates[3] = {44100, 48000, 32000};

// Free format: rates that no frame can have.
constexpr uint32_t kFreeFormatTooLow = 7;
constexpr uint32_t kFreeFormatTooHigh = 641;
constexpr uint32_t kMostBitrate = 1600;  // more than the samples of Layers I and II can take
// How far the next header is waited for, in bytes: 640 kbit/s at 32 kHz take 2880. A chance header in other
// data must not make the decoder ask for more input than it ever gathers.
constexpr uint64_t kMaxFreeFormatBytes = 3000;

// Parses the header that the header reader stands on; 0 or an error code.
uint32_t parse_header(Mp3FrameHeader *header, Mp3BitReader *reader) {
    header->flags = 0;
    header->private_bits = 0;
    bit_skip(reader, 8);
    const uint32_t version_byte = bit_read(reader, 8);
    if ((version_byte & 0x10) == 0) header->flags |= MP3_FLAG_MPEG25;
    if ((version_byte & 0x08) == 0)
        header->flags |= MP3_FLAG_LOW_SAMPLING_RATE;
    else if (mp3_has_flag(*header, MP3_FLAG_MPEG25))
        return MP3_ERR_SYNC;
    const uint32_t layer = 4 - (version_byte >> 1 & 3);
    if (layer == 4) return MP3_ERR_LAYER;
    header->layer = static_cast<uint8_t>(layer);
    if ((version_byte & 1) == 0) {
        header->flags |= MP3_FLAG_CRC;
        header->computed_crc = bit_crc(reader, 16, 0xFFFF);
    }

    const uint32_t rate_byte = bit_read(reader, 8);
    header->bitrate_index = rate_byte >> 4;
    if (header->bitrate_index == 15) return MP3_ERR_BITRATE;
    const uint32_t row = !mp3_is_low_rate(*header) ? layer - 1 : layer == 1 ? 3 : 4;
    header->bitrate = kBitrates[row][header->bitrate_index];
    const uint32_t rate_index = rate_byte >> 2 & 3;
    if (rate_index == 3) return MP3_ERR_SAMPLE_RATE;
    const uint32_t version = mp3_has_flag(*header, MP3_FLAG_MPEG25) ? 2 : mp3_is_low_rate(*header) ? 1 : 0;
    header->sample_rate_index = rate_index;
    header->sample_rate = kSampleRates[rate_index] >> version;
    header->scale_factor_bands = sfband[rate_index + 3 * version];
    if ((rate_byte & 2) != 0) header->flags |= MP3_FLAG_PADDING;
    if ((rate_byte & 1) != 0) header->private_bits = 0x100;

    const uint32_t mode_byte = bit_read(reader, 8);
    header->channel_code = static_cast<uint8_t>(3 - (mode_byte >> 6));
    header->mode_extension = mode_byte >> 4 & 3;
    if ((mode_byte & 8) != 0) header->flags |= MP3_FLAG_COPYRIGHT;
    if ((mode_byte & 4) != 0) header->flags |= MP3_FLAG_ORIGINAL;
    header->emphasis = mode_byte & 3;
    if (mp3_has_flag(*header, MP3_FLAG_CRC)) header->stored_crc = static_cast<uint16_t>(bit_read(reader, 16));
    return 0;
}

uint32_t slots_per_kbit(const Mp3FrameHeader &header) {
    return header.layer == 3 && mp3_is_low_rate(header) ? 72 : 144;
}

uint32_t padding(const Mp3FrameHeader &header) {
    return mp3_has_flag(header, MP3_FLAG_PADDING) ? 1 : 0;
}

// The kind of frame that a measured length belongs to.
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

bool parses_as_same_kind(const Mp3FrameHeader &header, Mp3BitReader *reader) {
    Mp3FrameHeader candidate = header;
    return parse_header(&candidate, reader) == 0 && format_key(candidate) == format_key(header);
}

// Measures the distance from the frame start to the next header of the same kind. 0 or an error code; the
// header reader moves.
uint32_t measure_distance(const Mp3FrameHeader &header, Mp3InputBuffer *state, uint64_t *distance) {
    // Each of many headers in a large input might be looked behind to its end otherwise.
    Mp3InputBuffer near = *state;
    const uint64_t reach = largest_distance(header) + kMp3LookAhead;
    if (reach < buffer_left(*state, state->frame_start)) near.end = state->frame_start + reach;
    for (;;) {
        bit_skip(state->header_reader, 8);
        if (buffer_sync(&near) != 0) break;
        *distance = static_cast<uint64_t>(state->header_reader->byte - state->frame_start);
        if (parses_as_same_kind(header, state->header_reader) &&
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

// The length of the frame in bytes. 0 or an error code.
uint32_t frame_length(Mp3FrameHeader *header, Mp3InputBuffer *state, uint64_t *length) {
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

// Whether a frame that begins at the frame start fits with the look-ahead behind it.
bool fits(const Mp3InputBuffer &state, uint64_t length) {
    return length + kMp3LookAhead <= buffer_left(state, state.frame_start);
}

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
    uint32_t error = parse_header(header, state->header_reader);
    if (error != 0) {
        state->in_sync = 0;
        return mp3_fail(state, error);
    }
    uint64_t length = 0;
    error = frame_length(header, state, &length);
    if (error == 0 && !fits(*state, length)) error = MP3_ERR_NEED_INPUT;
    if (error != 0) {
        if (error == MP3_ERR_NEED_INPUT) state->read_position = state->frame_start;
        return mp3_fail(state, error);
    }
    state->read_position = state->frame_start + length;
    return 0;
}

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

int32_t search_frame(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    HeldFrame held;
    bool at_candidate = false;
    for (;;) {
        if (!at_candidate && find_candidate(state) != 0) return -1;
        at_candidate = false;
        uint32_t error = parse_header(header, state->header_reader);
        if (error != 0) {
            if (held.start != nullptr) state->read_position = held.start + 1;
            held.start = nullptr;
            continue;
        }
        uint64_t length = 0;
        error = frame_length(header, state, &length);
        if (error != 0 && error != MP3_ERR_NEED_INPUT) return mp3_fail(state, error);
        if (error != 0 || !fits(*state, length)) return need_input(state, held);

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

}  // namespace

void header_init(Mp3FrameHeader *header) {
    *header = {};
}

int32_t header_decode(Mp3FrameHeader *header, Mp3InputBuffer *state) {
    if (state->read_position == nullptr) return mp3_fail(state, MP3_ERR_NO_INPUT);
    return state->in_sync != 0 ? decode_in_sync(header, state) : search_frame(header, state);
}

bool mp3_crc_matches(const Mp3FrameHeader &header, const Mp3BitReader &reader, uint32_t bits) {
    if (!mp3_has_flag(header, MP3_FLAG_CRC) || (header.options & kMp3IgnoreCrc) != 0) return true;
    return bit_crc(&reader, bits, header.computed_crc) == header.stored_crc;
}

}  // namespace quorv
