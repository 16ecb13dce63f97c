// A decoder with an input buffer of its own, and the decoding of whole streams.

#include <string.h>

#include <algorithm>

#include "mp3dec/Mp3Decoder.h"
#include "mp3dec/Mp3Tag.h"
#include "platform/MemoryOwner.h"

namespace quorv {

namespace {

struct Mp3Player {
    QuMp3Buffer input;   // what the buffer holds
    QuMp3Buffer output;  // as QU_MP3_player_read_append recorded it
    Owned<uint8_t[]> buffer;
    uint32_t capacity;
    bool ended;  // the end of the stream was signalled
    Owned<Mp3Decoder> decoder;
};

// What was presented and not consumed comes again, with what follows behind it.
void drop_consumed(Mp3Player *player) {
    player->input.length -= player->input.result;
    memmove(player->buffer.get(), player->buffer.get() + player->input.result, player->input.length);
}

// Without input there may be samples left; a read of no bytes would end the stream.
int32_t drain(Mp3Decoder *decoder, QuMp3Buffer *output) {
    mp3_set_output(decoder, output);
    QU_MP3_player_output(decoder);
    return mp3_report_output(*decoder, output, QU_MP3_NEED_INPUT);
}

// What a whole-stream run needs beside its decoder.
struct Mp3FileRun {
    QuMp3Buffer input;
    bool ended;
    uint8_t bytes[0x8000];
    uint8_t samples[0x8000];
};

void read_piece(Mp3FileRun *run, MStream from) {
    const int32_t got = MStreamRead(from, run->bytes, sizeof(run->bytes));
    run->ended = got <= 0;
    run->input = {run->bytes, static_cast<uint32_t>(std::max(got, 0)), 0};
}

int32_t decode_stream(Mp3FileRun *run, QuMp3Decoder decoder, MStream from, MStream to) {
    for (;;) {
        if (run->input.length == 0 && !run->ended) read_piece(run, from);
        QuMp3Buffer output = {run->samples, sizeof(run->samples), 0};
        const int32_t code = QU_MP3_decoder_read(decoder, &run->input, &output);
        run->input.data = static_cast<uint8_t *>(run->input.data) + run->input.result;
        run->input.length -= run->input.result;
        const auto produced = static_cast<int32_t>(output.result);
        if (code == QU_MP3_ERROR || MStreamWrite(to, run->samples, produced) != produced) return -1;
        if (run->ended && run->input.length == 0 && code == QU_MP3_NEED_INPUT) return 0;
    }
}

}  // namespace
}  // namespace quorv

using namespace quorv;

int32_t QU_MP3_decoder_file(QuMp3Decoder decoder, void *input_stream, void *output_stream) {
    if (input_stream == nullptr || output_stream == nullptr || QU_MP3_decoder_reset(decoder) != 0) return -1;
    auto *from = static_cast<MStream>(input_stream);
    const Owned<Mp3FileRun> run = make_owned<Mp3FileRun>();
    if (run == nullptr) return -1;
    // A stream too short for a tag has no frame either.
    return mp3_skip_tag(from) < 0
               ? 0
               : decode_stream(run.get(), decoder, from, static_cast<MStream>(output_stream));
}

int32_t QU_MP3_decode_file(void *input_stream, void *output_stream) {
    const Owned<Mp3Decoder> decoder(static_cast<Mp3Decoder *>(QU_MP3_decoder_init(nullptr, nullptr)));
    return QU_MP3_decoder_file(decoder.get(), input_stream, output_stream);
}

QuMp3Player QU_MP3_player_init(uint32_t value, uint32_t input_size) {
    Owned<Mp3Player> player = make_owned<Mp3Player>();
    if (player == nullptr || input_size == 0) return nullptr;
    const QuMp3OutputRequest request = {value, 0};
    player->capacity = input_size;
    player->buffer = make_array<uint8_t>(input_size);
    if (player->buffer == nullptr) return nullptr;
    player->decoder.reset(static_cast<Mp3Decoder *>(QU_MP3_decoder_init(nullptr, &request)));
    return player->decoder != nullptr ? player.release() : nullptr;
}

int32_t QU_MP3_player_input(QuMp3Player handle, const void *data, uint32_t length) {
    auto *player = static_cast<Mp3Player *>(handle);
    if (player == nullptr || (data == nullptr && length != 0)) return -1;
    player->ended = length == 0;
    const uint32_t room = std::min<uint32_t>(player->capacity - player->input.length, INT32_MAX);
    const uint32_t count = std::min(length, room);
    if (count != 0) memcpy(player->buffer.get() + player->input.length, data, count);
    player->input.length += count;
    return static_cast<int32_t>(count);
}

int32_t QU_MP3_player_read_append(QuMp3Player handle, void *output, uint32_t length) {
    auto *player = static_cast<Mp3Player *>(handle);
    if (player == nullptr || (output == nullptr && length != 0)) return -1;
    player->output = {output, length, 0};
    return 0;
}

int32_t QU_MP3_player_read(QuMp3Player handle, uint32_t *produced) {
    auto *player = static_cast<Mp3Player *>(handle);
    if (player == nullptr || produced == nullptr) return -1;
    *produced = 0;
    for (QuMp3Buffer output = player->output;;) {
        player->input.data = player->buffer.get();
        player->input.result = 0;
        const bool is_end = player->input.length == 0 && player->ended;
        const int32_t code = player->input.length == 0 && !is_end
                                 ? drain(player->decoder.get(), &output)
                                 : QU_MP3_decoder_read(player->decoder.get(), &player->input, &output);
        drop_consumed(player);
        *produced += output.result;
        // What the decoder leaves at the end is the last frame, too short by the look-ahead: the next turn
        // tells it of the end.
        if (code != QU_MP3_NEED_INPUT || !player->ended || is_end) return code;
        output.data = static_cast<uint8_t *>(output.data) + output.result;
        output.length -= output.result;
    }
}

void QU_MP3_player_close(QuMp3Player handle) {
    const Owned<Mp3Player> player(static_cast<Mp3Player *>(handle));
}
