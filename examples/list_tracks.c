/* Lists the tracks of an AVI or ASF file: list_tracks FILE */
#include <inttypes.h>
#include <quorv/asf_splitter.h>
#include <quorv/avi_splitter.h>
#include <stdio.h>

#include "stream_source.h"

/* Both splitters have the same functions. */
typedef struct Splitter {
    uint32_t (*open)(const SplitterStreamSource *source, uint32_t mode, SplitterHandle *handle);
    uint32_t (*enum_track)(SplitterHandle handle, SplitterTrackList *list);
    uint32_t (*get_track_info)(SplitterHandle handle, uint32_t track, void *info, uint32_t size);
    uint32_t (*close)(SplitterHandle handle);
} Splitter;

static const Splitter splitters[] = {
    {AVI_SPLITER_Open, AVI_SPLITER_EnumTrack, AVI_SPLITER_GetTrackInfo, AVI_SPLITER_Close},
    {ASF_SPLITER_Open, ASF_SPLITER_EnumTrack, ASF_SPLITER_GetTrackInfo, ASF_SPLITER_Close}};

static void print_codec(uint32_t codec) {
    int shift;
    for (shift = 24; shift >= 0; shift -= 8) {
        const int character = (int)(codec >> shift & 0xFF);
        putchar(character >= 0x20 && character < 0x7F ? character : '?');
    }
}

static uint32_t print_track(const Splitter *splitter, SplitterHandle handle,
                            const SplitterTrackEntry *entry) {
    SplitterTrackInfo info = {{0}};
    const uint32_t result = splitter->get_track_info(handle, entry->track, &info, sizeof info);
    printf("%" PRIu32 " ", entry->track);
    if (entry->type == SPLITER_TRACK_VIDEO) {
        print_codec(info.video.codec);
        printf(" %" PRIu32 " ms, %" PRIu32 "x%" PRIu32, info.video.duration, info.video.width,
               info.video.height);
    } else if (entry->type == SPLITER_TRACK_AUDIO) {
        print_codec(info.audio.codec);
        printf(" %" PRIu32 " ms, %" PRIu32 " Hz, %" PRIu32 " channels", info.audio.duration,
               info.audio.sample_rate, info.audio.channels);
    } else {
        printf("neither video nor audio");
    }
    putchar('\n');
    return result;
}

static uint32_t list_tracks(const Splitter *splitter, char *path) {
    const SplitterStreamSource source = file_source(path);
    SplitterHandle handle = NULL;
    SplitterTrackList list = {0};
    uint32_t i;
    uint32_t result = splitter->open(&source, 1, &handle);
    if (result == SPLITER_OK) result = splitter->enum_track(handle, &list);
    for (i = 0; i < list.count && result == SPLITER_OK; i++)
        result = print_track(splitter, handle, &list.entries[i]);
    if (handle != NULL) splitter->close(handle);
    return result;
}

int main(int argc, char **argv) {
    uint32_t result;
    if (argc != 2) {
        fprintf(stderr, "usage: list_tracks FILE\n");
        return 2;
    }
    result = list_tracks(&splitters[0], argv[1]);
    /* What the AVI splitter says of a file of another kind. */
    if (result == SPLITER_ERR_UNSUPPORTED) result = list_tracks(&splitters[1], argv[1]);
    if (result == SPLITER_OK) return 0;
    fprintf(stderr, "list_tracks: %s: result 0x%" PRIX32 "\n", argv[1], result);
    return 1;
}
