// The bytes that a decoder works on: the caller's own, or a copy once a piece was too short for a frame.
#ifndef QUORV_SRC_MP3DEC_MP3FEED_H
#define QUORV_SRC_MP3DEC_MP3FEED_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "platform/MemoryOwner.h"

namespace quorv {

struct Mp3Feed {
    Owned<uint8_t[]> copy;  // none while the caller's bytes do
    uint32_t held;          // bytes in the copy
    uint32_t unconsumed;    // of those, the last ones
    uint32_t capacity;      // beside which there is always room for the padding of the end
    bool padded;            // the end of the stream was signalled and padded
};

// What to decode next.
struct Mp3InputBytes {
    const uint8_t *data;
    uint32_t length;
    const uint8_t *stream_end;  // behind which there is padding only; null while the stream goes on
};

// Takes the caller's next piece and returns what to decode: with a copy, as much of the piece as fits into it
// is appended and counts as consumed. A piece of length 0 is the end of the stream.
Mp3InputBytes feed_take(Mp3Feed *feed, QuMp3Buffer *input);

// Everything in front of the position has been decoded.
void feed_consume(Mp3Feed *feed, QuMp3Buffer *input, const uint8_t *position);

// What a copy must have room for; one that has it does not grow. Two frames of the largest size and what must
// lie behind them fit; input that needs more is not a frame.
inline constexpr uint32_t kMp3RoomForFrames = 6912;

// What lies from the position on is too short although no frame came before it in this piece: makes or
// enlarges the copy where that helps. False when there is no memory, or the copy has the room wanted and is
// full.
[[nodiscard]] bool feed_extend(Mp3Feed *feed, QuMp3Buffer *input, const uint8_t *position,
                               uint32_t wanted_room);

}  // namespace quorv

#endif
