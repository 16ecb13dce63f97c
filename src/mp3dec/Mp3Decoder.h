// A decoder behind its handle.
#ifndef QUORV_SRC_MP3DEC_MP3DECODER_H
#define QUORV_SRC_MP3DEC_MP3DECODER_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3Error.h"
#include "mp3dec/Mp3Feed.h"
#include "mp3dec/Mp3Frame.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "mp3dec/Mp3Output.h"
#include "mp3dec/Mp3Synthesis.h"

namespace quorv {

struct Mp3Decoder {
    Mp3Feed feed;
    Mp3OutputRoom room;  // of the current output
    Mp3InputBuffer input;
    Mp3Frame frame;
    Mp3Synthesis synthesis;
    Mp3Error error;  // why the last frame failed
    uint32_t rate_word;
    Mp3Delivery delivery;
    QuMp3Config config;

    ~Mp3Decoder() { synth_close(&synthesis); }
};

// The result of QU_MP3_player_output when samples wait for more room.
inline constexpr int32_t kMp3OutputIsFull = 16;

// Records the caller's output, empty so far.
void mp3_set_output(Mp3Decoder *decoder, QuMp3Buffer *output);

// Tells the caller what is in the output. QU_MP3_OUTPUT_FULL when samples wait, else `code`.
int32_t mp3_report_output(const Mp3Decoder &decoder, QuMp3Buffer *output, int32_t code);

}  // namespace quorv

#endif
