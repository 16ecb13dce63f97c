/* Writes the codec data and the frames of one track of an AVI file: extract_track FILE TRACK OUT */
#include <inttypes.h>
#include <quorv/avi_splitter.h>
#include <stdio.h>
#include <stdlib.h>

#include "stream_source.h"

/* What went wrong here, in one set of numbers with the splitter's result codes. */
enum { WRITE_FAILED = 0x200 };

static uint32_t write_bytes(FILE *out, const void *data, uint32_t size) {
    return size == 0 || fwrite(data, 1, size, out) == size ? SPLITER_OK : WRITE_FAILED;
}

static uint32_t write_codec_data(SplitterHandle handle, uint32_t track, FILE *out) {
    SplitterTrackData data = {0};
    uint32_t size = sizeof data;
    uint32_t result;
    data.track = track;
    result = AVI_SPLITER_GetConfig(handle, SPLITER_CFG_CODEC_DATA, &data, &size);
    return result == SPLITER_OK ? write_bytes(out, data.data, data.length) : result;
}

/* Reads into one buffer that grows to what the splitter asks for; a frame that did not fit comes again. */
static uint32_t write_frames(SplitterHandle handle, uint32_t track, FILE *out) {
    uint32_t size = 1 << 16;
    unsigned char *buffer = malloc(size);
    uint32_t result = buffer != NULL ? SPLITER_OK : SPLITER_ERR_NO_MEMORY;
    while (result == SPLITER_OK) {
        SplitterFrameInfo frame;
        result = AVI_SPLITER_ReadFrame(handle, track, buffer, size, &frame);
        if (result == SPLITER_OK) {
            result = write_bytes(out, buffer, frame.size);
        } else if (result == SPLITER_ERR_BUFFER_TOO_SMALL && frame.size > size) {
            unsigned char *larger = realloc(buffer, frame.size);
            result = larger != NULL ? SPLITER_OK : SPLITER_ERR_NO_MEMORY;
            if (larger != NULL) buffer = larger;
            size = frame.size;
        }
    }
    free(buffer);
    return result == SPLITER_ERR_END_OF_STREAM ? SPLITER_OK : result;
}

static uint32_t extract(char *path, uint32_t track, FILE *out) {
    const SplitterStreamSource source = file_source(path);
    SplitterHandle handle = NULL;
    uint32_t result = AVI_SPLITER_Open(&source, 1, &handle);
    if (result == SPLITER_OK) result = write_codec_data(handle, track, out);
    if (result == SPLITER_OK) result = write_frames(handle, track, out);
    if (handle != NULL) AVI_SPLITER_Close(handle);
    return result;
}

int main(int argc, char **argv) {
    FILE *out;
    uint32_t result;
    if (argc != 4) {
        fprintf(stderr, "usage: extract_track FILE TRACK OUT\n");
        return 2;
    }
    out = fopen(argv[3], "wbx"); /* never over a file that is there */
    if (out == NULL) {
        perror(argv[3]);
        return 1;
    }
    result = extract(argv[1], (uint32_t)strtoul(argv[2], NULL, 10), out);
    if (fclose(out) != 0 && result == SPLITER_OK) result = WRITE_FAILED;
    if (result == SPLITER_OK) return 0;
    fprintf(stderr, "extract_track: %s: result 0x%" PRIX32 "\n", argv[1], result);
    remove(argv[3]);
    return 1;
}
