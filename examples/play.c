/* Lists a file of any format, plays it from a time on and decodes its sound: play FILE OUT.wav [SECONDS] */
#include <quorv/quorv.h>
#include <stdio.h>
#include <stdlib.h>

typedef struct Wav {
    FILE *file;
    uint32_t sample_rate, channels, bytes;
} Wav;

static void put(FILE *file, uint32_t value, int bytes) {
    for (; bytes > 0; bytes--, value >>= 8)
        putc((int)(value & 0xFF), file);
}

/* Room for it is made in front of the samples; it is written when their number is known. */
static void put_header(const Wav *wav) {
    const uint32_t frame = 2 * wav->channels;
    rewind(wav->file);
    fputs("RIFF", wav->file), put(wav->file, 36 + wav->bytes, 4), fputs("WAVEfmt ", wav->file);
    put(wav->file, 16, 4), put(wav->file, 1, 2), put(wav->file, wav->channels, 2);
    put(wav->file, wav->sample_rate, 4), put(wav->file, wav->sample_rate * frame, 4);
    put(wav->file, frame, 2), put(wav->file, 16, 2), fputs("data", wav->file), put(wav->file, wav->bytes, 4);
}

static void put_samples(Wav *wav, const QuorvSamples *samples) {
    size_t i;
    wav->sample_rate = samples->sample_rate;
    wav->channels = samples->channels;
    if (wav->bytes == 0) put_header(wav);
    for (i = 0; i < samples->frames * samples->channels; i++, wav->bytes += 2)
        put(wav->file, (uint16_t)samples->samples[i], 2);
}

static QuorvResult play(QuorvReader *reader, Wav *wav) {
    QuorvDecoder *decoder = NULL;
    const QuorvSamples *samples;
    const QuorvPacket *packet;
    uint32_t sound = UINT32_MAX;
    QuorvResult result, decoded;
    while ((result = quorv_read(reader, &packet)) == QUORV_OK) {
        const QuorvTrack *track = quorv_track(reader, packet->track);
        printf("%8.3f s  track %u  %u bytes%s\n", (double)packet->time_us / 1e6, packet->track,
               (unsigned)packet->size, packet->key ? "  key" : "");
        if (decoder == NULL && quorv_decoder_open(track, 0, &decoder) == QUORV_OK) {
            sound = packet->track;
            if (packet->time_us > 0) quorv_decoder_reset(decoder, packet->time_us);
        }
        if (packet->track != sound) continue;
        for (decoded = quorv_decode(decoder, packet->data, packet->size, &samples);
             decoded == QUORV_OK && samples->frames != 0; decoded = quorv_decode(decoder, NULL, 0, &samples))
            put_samples(wav, samples);
    }
    while (decoder != NULL && quorv_decoder_finish(decoder, &samples) == QUORV_OK && samples->frames != 0)
        put_samples(wav, samples);
    quorv_decoder_close(decoder);
    return result;
}

int main(int argc, char **argv) {
    QuorvReader *reader = NULL;
    QuorvResult result = argc > 2 ? quorv_open_path(argv[1], &reader) : QUORV_ERR_ARGUMENT;
    uint32_t i;
    if (result == QUORV_OK) {
        Wav wav = {NULL, 0, 0, 0};
        for (i = 0; i < quorv_file(reader)->track_count; i++)
            printf("track %u: %s\n", i, quorv_track(reader, i)->codec_name);
        if (argc > 3) result = quorv_seek(reader, (int64_t)(atof(argv[3]) * 1e6), QUORV_SEEK_BEFORE, NULL);
        wav.file = result == QUORV_OK ? fopen(argv[2], "wb+") : NULL;
        if (wav.file != NULL) {
            result = play(reader, &wav);
            if (wav.bytes != 0) put_header(&wav);
            if (fclose(wav.file) != 0) result = QUORV_ERR_SOURCE;
        }
    }
    quorv_close(reader);
    if (result != QUORV_END) fprintf(stderr, "play: %s\n", quorv_strerror(result));
    return result == QUORV_END ? 0 : 1;
}
