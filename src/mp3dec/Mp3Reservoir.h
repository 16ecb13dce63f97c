// The bit reservoir of Layer III: a frame's main data may begin in the frames before it.
#ifndef QUORV_SRC_MP3DEC_MP3RESERVOIR_H
#define QUORV_SRC_MP3DEC_MP3RESERVOIR_H

#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "platform/MemoryOwner.h"

namespace quorv {

inline constexpr uint32_t kMp3ReservoirSize = 2567;

struct Mp3Reservoir {
    Owned<uint8_t[]> bytes;  // kMp3ReservoirSize, none before the first Layer III frame
    uint32_t fill;           // valid bytes at the start
};

// Where the bytes of one frame are, counted from the end of its side information.
struct Mp3MainData {
    uint32_t here;        // bytes of the frame behind the side information
    uint32_t begin;       // bytes that it takes from the reservoir
    uint32_t next_begin;  // bytes that the frame right behind takes from this one and the reservoir
    uint32_t length;      // bytes of the frame's data
    uint32_t appended;    // bytes of the frame that were copied to the reservoir to follow on its data there
};

// Allocates the reservoir if that was not done yet.
[[nodiscard]] bool reservoir_create(Mp3Reservoir *reservoir);

// Measures the frame's data. The header reader must stand behind the side information, the read position at
// the next frame.
Mp3MainData reservoir_measure(const Mp3InputBuffer &input, uint32_t main_data_begin);

// Puts the main reader on the frame's data, made contiguous.
Mp3Error reservoir_open(Mp3Reservoir *reservoir, Mp3InputBuffer *input, Mp3MainData *data);

// Keeps as much as any frame may need: which one comes next is not known where other bytes stand in between.
void reservoir_keep(Mp3Reservoir *reservoir, const Mp3InputBuffer &input, const Mp3MainData &data);

}  // namespace quorv

#endif
