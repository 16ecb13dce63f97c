// The input of a decoder: where the current frame starts, where the next one is expected, the bit reservoir.
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
inline constexpr uint32_t kMp3ReservoirSize = 2567;
// How much of a tag among the frames is kept until it is clear that it is one.
inline constexpr uint32_t kMp3KeptTagBytes = 16 << 10;
// Error codes from here on mean a bad frame that was skipped; those below want more input or memory.
inline constexpr uint32_t kMp3FirstSkippingError = 256;

struct Mp3InputBuffer {
    const uint8_t *start;  // the caller's bytes
    const uint8_t *end;
    uint32_t in_sync;              // a frame was confirmed: each header is looked for where it must be
    uint32_t free_format_bitrate;  // kbit/s as measured, 0 when it was not
    const uint8_t *frame_start;    // first byte of the current frame's header
    const uint8_t *read_position;  // where the next frame is expected
    Mp3BitReader *header_reader;   // header, side information, Layer I and II data; owned
    Mp3BitReader *main_reader;     // after a frame: where its audio data ended; owned
    int32_t leftover_bits;         // between there and the end of the frame's data (ancillary data)
    uint8_t *reservoir;            // kMp3ReservoirSize bytes, null before the first Layer III frame; owned
    uint32_t reservoir_fill;       // valid bytes at the start of the reservoir
    uint32_t options;              // bit 0: check words are not compared
    uint16_t error;                // why the last call failed, MP3_ERR_...
    // Beside the rate in whole kbit/s, which cannot give every frame length back: the length of an unpadded
    // free-format frame in slots, and the layer and sample rate that it was measured for.
    uint32_t free_format_slots;
    uint32_t free_format_key;
    const uint8_t *stream_end;  // where the stream ends, null while that is not known
    bool at_start;              // nothing but tags so far
    bool tag_is_open;           // what may be a tag waits for more input; kMp3KeptTagBytes are enough to tell
    uint64_t tag_left;          // bytes of a tag that are still to be passed over
    uint64_t tag_bytes;         // that were passed over
};

// Makes an empty state and allocates the readers; with `again`, empties a state that was made before, which
// cannot fail. 0 or -1.
int32_t buffer_init(Mp3InputBuffer *state, bool again);

// Points the state at new bytes, which must stay until the next call. Whether the stream ends in them is to
// be set afterwards.
void buffer_set(Mp3InputBuffer *state, const uint8_t *data, size_t length);

// Moves the header reader to the next sync word at or behind it. -1, with the reader left where it is, when
// there is none that has kMp3LookAhead bytes.
int32_t buffer_sync(Mp3InputBuffer *state);

// Frees what the state owns.
void buffer_close(Mp3InputBuffer *state);

// Stores the reason of a failure and returns -1.
int32_t mp3_fail(Mp3InputBuffer *state, uint32_t error);

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
