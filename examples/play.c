/* Lists a file of any format, plays it from a time on and decodes its sound: play FILE OUT.wav [SECONDS] */
#include <quorv/quorv.h>
#include <stdlib.h>

#include "wav_file.h"

static QuorvResult play(QuorvReader *reader, WavFile *wav) {
    QuorvDecoder *decoder = NULL;
    const QuorvSamples *samples;
    const QuorvPacket *packet;
    uint32_t sound = UINT32_MAX;
    QuorvResult result, decoded;
    while ((result = quorv_read(reader, &packet)) == QUORV_OK) {
        printf("%8.3f s  track %u  %u bytes%s\n", (double)packet->time_us / 1e6, packet->track,
               (unsigned)packet->size, packet->key ? "  key" : "");
        if (decoder == NULL &&
            quorv_decoder_open(quorv_track(reader, packet->track), 0, &decoder) == QUORV_OK) {
            sound = packet->track;
            if (packet->time_us > 0) quorv_decoder_reset(decoder, packet->time_us);
        }
        if (packet->track != sound) continue;
        for (decoded = quorv_decode(decoder, packet->data, packet->size, &samples);
             decoded == QUORV_OK && samples->frames != 0; decoded = quorv_decode(decoder, NULL, 0, &samples))
            wav_put_samples(wav, samples);
    }
    while (decoder != NULL && quorv_decoder_finish(decoder, &samples) == QUORV_OK && samples->frames != 0)
        wav_put_samples(wav, samples);
    quorv_decoder_close(decoder);
    return result;
}

int main(int argc, char **argv) {
    QuorvReader *reader = NULL;
    QuorvResult result = argc > 2 ? quorv_open_path(argv[1], &reader) : QUORV_ERR_ARGUMENT;
    WavFile wav = {result == QUORV_OK ? fopen(argv[2], "wb+") : NULL, 0, 0, 0};
    uint32_t i;
    for (i = 0; wav.file != NULL && i < quorv_file(reader)->track_count; i++)
        printf("track %u: %s\n", i, quorv_track(reader, i)->codec_name);
    if (wav.file != NULL && argc > 3)
        quorv_seek(reader, (int64_t)(atof(argv[3]) * 1e6), QUORV_SEEK_BEFORE, NULL);
    if (wav.file != NULL) result = play(reader, &wav);
    if (wav.file != NULL && wav_close(&wav) != 0) result = QUORV_ERR_SOURCE;
    quorv_close(reader);
    if (result != QUORV_END) fprintf(stderr, "play: %s\n", quorv_strerror(result));
    return result == QUORV_END ? 0 : 1;
}
