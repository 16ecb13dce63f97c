/* A program outside the project: lists the tracks of an AVI file and the size of each one's first frame. */
#include <quorv/avi_splitter.h>
#include <stdio.h>
#include <stdlib.h>

static uint32_t open_file(void *user, SplitterStream *stream, uint32_t mode) {
    FILE *file = fopen((const char *)user, "rb");
    (void)mode;
    *stream = (SplitterStream)file;
    return file ? 0 : 100;
}

static uint32_t close_file(void *user, SplitterStream stream) {
    (void)user;
    return fclose((FILE *)stream) ? 101 : 0;
}

static uint32_t read_file(void *user, SplitterStream stream, void *buffer, uint32_t *count) {
    (void)user;
    *count = (uint32_t)fread(buffer, 1, *count, (FILE *)stream);
    return ferror((FILE *)stream) ? 102 : 0;
}

static uint32_t seek_file(void *user, SplitterStream stream, uint16_t origin, int64_t offset) {
    (void)user;
    return fseek((FILE *)stream, (long)offset, origin == 0 ? SEEK_SET : SEEK_CUR) ? 103 : 0;
}

static uint32_t tell_file(void *user, SplitterStream stream, int64_t *position) {
    (void)user;
    *position = ftell((FILE *)stream);
    return *position < 0 ? 104 : 0;
}

static uint32_t size_file(void *user, SplitterStream stream, int64_t *length) {
    FILE *file = (FILE *)stream;
    const long position = ftell(file);
    (void)user;
    if (fseek(file, 0, SEEK_END)) return 105;
    *length = ftell(file);
    return fseek(file, position, SEEK_SET) ? 105 : 0;
}

static int list_tracks(SplitterHandle handle) {
    static unsigned char buffer[1 << 20];
    SplitterTrackList list;
    SplitterFrameInfo frame;
    uint32_t i;
    if (AVI_SPLITER_EnumTrack(handle, &list) != SPLITER_OK) return 1;
    for (i = 0; i < list.count; i++) {
        const SplitterTrackEntry *entry = &list.entries[i];
        if (AVI_SPLITER_ReadFrame(handle, entry->track, buffer, sizeof buffer, &frame) != SPLITER_OK)
            return 1;
        printf("%u %c%c%c%c %u\n", (unsigned)entry->track, (int)(entry->type >> 24),
               (int)(entry->type >> 16 & 255), (int)(entry->type >> 8 & 255), (int)(entry->type & 255),
               (unsigned)frame.size);
    }
    return 0;
}

int main(int argc, char **argv) {
    SplitterStreamSource source = {0};
    SplitterHandle handle = NULL;
    int failed;
    if (argc != 2) return EXIT_FAILURE;
    source.user_context = argv[1];
    source.source_kind = SPLITER_SOURCE_LOCAL;
    source.open = open_file;
    source.close = close_file;
    source.read = read_file;
    source.seek = seek_file;
    source.tell = tell_file;
    source.size = size_file;
    if (AVI_SPLITER_Open(&source, 1, &handle) != SPLITER_OK) return EXIT_FAILURE;
    failed = list_tracks(handle);
    if (AVI_SPLITER_Close(handle) != SPLITER_OK) failed = 1;
    return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
