/* Writes 16-bit samples to a WAV file. */
#ifndef WAV_FILE_H
#define WAV_FILE_H

#include <quorv/quorv.h>
#include <stdint.h>
#include <stdio.h>

typedef struct WavFile {
    FILE *file;
    uint32_t sample_rate, channels, bytes;
} WavFile;

static void wav_put(const WavFile *wav, uint32_t value, int bytes) {
    for (; bytes > 0; bytes--, value >>= 8)
        putc((int)(value & 0xFF), wav->file);
}

/* Written twice: to make room in front of the samples, and when their number is known. */
static void wav_put_header(const WavFile *wav) {
    const uint32_t frame = 2 * wav->channels;
    rewind(wav->file);
    fputs("RIFF", wav->file), wav_put(wav, 36 + wav->bytes, 4), fputs("WAVEfmt ", wav->file);
    wav_put(wav, 16, 4), wav_put(wav, 1, 2), wav_put(wav, wav->channels, 2);
    wav_put(wav, wav->sample_rate, 4), wav_put(wav, wav->sample_rate * frame, 4);
    wav_put(wav, frame, 2), wav_put(wav, 16, 2), fputs("data", wav->file), wav_put(wav, wav->bytes, 4);
}

static void wav_put_samples(WavFile *wav, const QuorvSamples *samples) {
    size_t i;
    wav->sample_rate = samples->sample_rate;
    wav->channels = samples->channels;
    if (wav->bytes == 0) wav_put_header(wav);
    for (i = 0; i < samples->frames * samples->channels; i++, wav->bytes += 2)
        wav_put(wav, (uint16_t)samples->samples[i], 2);
}

/* 0 when everything is in the file. */
static int wav_close(WavFile *wav) {
    if (wav->bytes != 0) wav_put_header(wav);
    return fclose(wav->file);
}

#endif
