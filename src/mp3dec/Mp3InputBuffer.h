// The input of a decoder: where the current frame starts and where the next one is expected.
#ifndef QUORV_SRC_MP3DEC_MP3INPUTBUFFER_H
#define QUORV_SRC_MP3DEC_MP3INPUTBUFFER_H

#include <stddef.h>
#include <stdint.h>

#include "mp3dec/Mp3BitReader.h"

namespace quorv {

// Bytes that must lie behind a frame before it is taken: room to look at the next frame's start.
inline constexpr size_t kMp3LookAhead = 8;
// What is put behind the end of a stream, so that its last frame passes even when a byte of it is missing.
inline constexpr uint32_t kMp3EndPadding = kMp3LookAhead + 1;
// How much of a tag among the frames is kept until it is clear that it is one.
inline constexpr uint32_t kMp3KeptTagBytes = 16 << 10;

struct Mp3InputBuffer {
    const uint8_t *end;            // of the bytes that are there
    const uint8_t *stream_end;     // where the stream ends, null while that is not known
    const uint8_t *frame_start;    // first byte of the current frame's header
    const uint8_t *read_position;  // where the next frame is expected; null before the first bytes
    Mp3BitReader header_reader;    // header, side information, Layer I and II data
    bool in_sync;                  // a frame was confirmed: each header is looked for where it must be
    uint32_t options;              // bit 0: check words are not compared

    // Where a frame's audio data ended, and how many bits there are from there to the end of its data. That
    // is where ancillary data stands, which nobody has asked for so far.
    Mp3BitReader main_reader;
    int32_t leftover_bits;

    // Of a free-format frame: the measured kbit/s, 0 when it was not. As whole kbit/s cannot give every frame
    // length back, the length without padding in slots as well, and the layer and sample rate that it is of.
    uint32_t free_format_bitrate;
    uint32_t free_format_slots;
    uint32_t free_format_key;

    bool at_start;       // nothing but tags so far
    bool tag_is_open;    // what may be a tag waits for more input; kMp3KeptTagBytes are enough to tell
    uint64_t tag_left;   // bytes of a tag that are still to be passed over
    uint64_t tag_bytes;  // that were passed over
};

// Empties the state for a new stream.
void buffer_init(Mp3InputBuffer *state);

// Points the state at new bytes, which must stay until the next call. Whether the stream ends in them is to
// be set afterwards.
void buffer_set(Mp3InputBuffer *state, const uint8_t *data, size_t length);

// Moves the reader to the next sync word at or behind it. False, with the reader left where it is, when there
// is none that has kMp3LookAhead bytes in front of the end.
[[nodiscard]] bool buffer_sync(Mp3BitReader *reader, const uint8_t *end);

// Bytes from a position to the end of the input.
inline size_t buffer_left(const Mp3InputBuffer &state, const uint8_t *position) {
    return static_cast<size_t>(state.end - position);
}

// Whether a position holds the 11 set bits that start a frame; the bytes must be there.
inline bool mp3_is_sync_word(const uint8_t *position) {
    return position[0] == 0xFF && position[1] >= 0xE0;
}

}  // namespace quorv

#endif
