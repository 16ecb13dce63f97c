/* Decodes an MP3 file to a WAV file of 16-bit samples: decode_mp3 IN.mp3 OUT.wav */
#include <quorv/mp3_decoder.h>
#include <quorv/platform/stream.h>
#include <stdio.h>
#include <string.h>

enum { WAV_HEADER_BYTES = 44 };

static void put_number(unsigned char *to, uint32_t value, int bytes) {
    int i;
    for (i = 0; i < bytes; i++)
        to[i] = (unsigned char)(value >> 8 * i);
}

static int write_header(MStream out, const QuMp3Info *info, uint32_t sample_bytes) {
    unsigned char header[WAV_HEADER_BYTES] = {0};
    const uint32_t frame_bytes = 2 * info->channels;
    memcpy(header, "RIFF", 4);
    put_number(header + 4, WAV_HEADER_BYTES - 8 + sample_bytes, 4);
    memcpy(header + 8, "WAVEfmt ", 8);
    put_number(header + 16, 16, 4);
    put_number(header + 20, 1, 2); /* PCM */
    put_number(header + 22, info->channels, 2);
    put_number(header + 24, info->sample_rate, 4);
    put_number(header + 28, info->sample_rate * frame_bytes, 4);
    put_number(header + 32, frame_bytes, 2);
    put_number(header + 34, 16, 2);
    memcpy(header + 36, "data", 4);
    put_number(header + 40, sample_bytes, 4);
    return MStreamSeek(out, MSTREAM_SEEK_START, 0) == 0 &&
           MStreamWrite(out, header, sizeof header) == (int32_t)sizeof header;
}

/* The samples come behind room for the header, which is written last, when their number is known. */
static const char *decode(MStream in, MStream out) {
    QuMp3Info info = {0};
    intptr_t end;
    if (QU_MP3_info_get(in, &info, 0) != 0) return "no MP3 frames in it";
    if (!write_header(out, &info, 0)) return "the output cannot be written";
    if (QU_MP3_decode_file(in, out) != 0) return "decoding failed";
    end = MStreamTell(out);
    if (end < WAV_HEADER_BYTES || (uintptr_t)end > UINT32_MAX) return "too long for a WAV file";
    if (!write_header(out, &info, (uint32_t)(end - WAV_HEADER_BYTES))) return "the output cannot be written";
    return NULL;
}

int main(int argc, char **argv) {
    MStream in, out = NULL;
    const char *problem = "cannot be opened";
    if (argc != 3) {
        fprintf(stderr, "usage: decode_mp3 IN.mp3 OUT.wav\n");
        return 2;
    }
    if (MStreamFileExistsS(argv[2])) {
        fprintf(stderr, "decode_mp3: %s: is there already\n", argv[2]);
        return 1;
    }
    in = MStreamOpenFromFileS(argv[1], MSTREAM_OPEN_READ);
    if (in != NULL) out = MStreamFileCreateS(argv[2]);
    if (out != NULL) problem = decode(in, out);
    if (in != NULL) MStreamClose(in);
    if (out != NULL && !MStreamClose(out) && problem == NULL) problem = "the output cannot be written";
    if (problem == NULL) return 0;
    fprintf(stderr, "decode_mp3: %s: %s\n", argv[1], problem);
    if (out != NULL) MStreamFileDeleteS(argv[2]);
    return 1;
}
