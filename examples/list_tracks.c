/* Lists the tracks of an AVI file: list_tracks FILE */
#include <inttypes.h>
#include <quorv/avi_splitter.h>
#include <stdio.h>

#include "stream_source.h"

static void print_codec(uint32_t codec) {
    int shift;
    for (shift = 24; shift >= 0; shift -= 8) {
        const int character = (int)(codec >> shift & 0xFF);
        putchar(character >= 0x20 && character < 0x7F ? character : '?');
    }
}

static uint32_t print_track(SplitterHandle handle, const SplitterTrackEntry *entry) {
    SplitterVideoInfo video = {0};
    SplitterAudioInfo audio = {0};
    uint32_t result = SPLITER_OK;
    printf("%" PRIu32 " ", entry->track);
    if (entry->type == SPLITER_TRACK_VIDEO) {
        result = AVI_SPLITER_GetTrackInfo(handle, entry->track, &video, sizeof video);
        print_codec(video.codec);
        printf(" %" PRIu32 " ms, %" PRIu32 "x%" PRIu32, video.duration, video.width, video.height);
    } else if (entry->type == SPLITER_TRACK_AUDIO) {
        result = AVI_SPLITER_GetTrackInfo(handle, entry->track, &audio, sizeof audio);
        print_codec(audio.codec);
        printf(" %" PRIu32 " ms, %" PRIu32 " Hz, %" PRIu32 " channels", audio.duration, audio.sample_rate,
               audio.channels);
    } else {
        printf("neither video nor audio");
    }
    putchar('\n');
    return result;
}

int main(int argc, char **argv) {
    SplitterStreamSource source;
    SplitterHandle handle = NULL;
    SplitterTrackList list = {0};
    uint32_t result, i;

    if (argc != 2) {
        fprintf(stderr, "usage: list_tracks FILE\n");
        return 2;
    }
    source = file_source(argv[1]);
    result = AVI_SPLITER_Open(&source, 1, &handle);
    if (result == SPLITER_OK) result = AVI_SPLITER_EnumTrack(handle, &list);
    for (i = 0; i < list.count && result == SPLITER_OK; i++)
        result = print_track(handle, &list.entries[i]);
    if (handle != NULL) AVI_SPLITER_Close(handle);
    if (result == SPLITER_OK) return 0;
    fprintf(stderr, "list_tracks: %s: result 0x%" PRIX32 "\n", argv[1], result);
    return 1;
}
