/* A file as the stream source of a splitter, over the library's own file streams. */
#ifndef QUORV_EXAMPLES_STREAM_SOURCE_H
#define QUORV_EXAMPLES_STREAM_SOURCE_H

#include <quorv/platform/stream.h>
#include <quorv/splitter.h>

/* Any code that the library does not use: it comes back unchanged from the call that failed. */
enum { SOURCE_FAILED = 0x100 };

static uint32_t source_open(void *path, SplitterStream *stream, uint32_t access_mode) {
    (void)access_mode;
    *stream = (SplitterStream)MStreamOpenFromFileS((const char *)path, MSTREAM_OPEN_READ);
    return *stream ? 0 : SOURCE_FAILED;
}

static uint32_t source_close(void *path, SplitterStream stream) {
    (void)path;
    return MStreamClose((MStream)stream) ? 0 : SOURCE_FAILED;
}

static uint32_t source_read(void *path, SplitterStream stream, void *buffer, uint32_t *count) {
    const int32_t wanted = *count > INT32_MAX ? INT32_MAX : (int32_t)*count;
    (void)path;
    *count = (uint32_t)MStreamRead((MStream)stream, buffer, wanted);
    return 0;
}

static uint32_t source_seek(void *path, SplitterStream stream, uint16_t origin, int64_t offset) {
    (void)path;
    if (offset != (intptr_t)offset) return SOURCE_FAILED;
    return MStreamSeek((MStream)stream,
                       origin == SPLITER_ORIGIN_START ? MSTREAM_SEEK_START : MSTREAM_SEEK_CURRENT,
                       (intptr_t)offset)
               ? SOURCE_FAILED
               : 0;
}

static uint32_t source_tell(void *path, SplitterStream stream, int64_t *position) {
    (void)path;
    *position = MStreamTell((MStream)stream);
    return *position < 0 ? SOURCE_FAILED : 0;
}

static uint32_t source_size(void *path, SplitterStream stream, int64_t *length) {
    (void)path;
    *length = MStreamGetSize((MStream)stream);
    return *length < 0 ? SOURCE_FAILED : 0;
}

/* The path has to outlive the splitter's handle. */
static SplitterStreamSource file_source(char *path) {
    SplitterStreamSource source = {0};
    source.user_context = path;
    source.source_kind = SPLITER_SOURCE_LOCAL;
    source.open = source_open;
    source.close = source_close;
    source.read = source_read;
    source.seek = source_seek;
    source.tell = source_tell;
    source.size = source_size;
    return source;
}

#endif
