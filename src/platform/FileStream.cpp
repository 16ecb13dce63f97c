// The file kind of stream, over the C library's buffered files.

#include <fcntl.h>
#include <stdio.h>
#include <sys/types.h>
#include <unistd.h>

#include "platform/MemoryOwner.h"
#include "platform/NarrowPath.h"
#include "platform/StreamKinds.h"

namespace quorv {
namespace {

// A file stream has no blocks; its block position tells the direction of the last transfer, because the C
// library wants a positioning call between a read and a write.
constexpr uintptr_t kWasRead = 1;
constexpr uintptr_t kWasWritten = 2;

FILE *file_of(MStream stream) {
    return static_cast<FILE *>(stream->handle);
}

void turn_to(MStream stream, uintptr_t direction) {
    if (stream->block_position != 0 && stream->block_position != direction)
        fseeko(file_of(stream), 0, SEEK_CUR);
    stream->block_position = direction;
}

const char *mode_string(uint32_t mode) {
    static constexpr char kModes[][4] = {"rb", "rb", "wb", "ab", "rb+", "wb+", "ab+"};
    return kModes[mode < sizeof(kModes) / sizeof(*kModes) ? mode : 0];
}

intptr_t as_position(off_t position) {
    return position > INTPTR_MAX ? -1 : static_cast<intptr_t>(position);
}

}  // namespace

int32_t file_stream_read(MStream stream, void *buffer, size_t count) {
    turn_to(stream, kWasRead);
    return static_cast<int32_t>(fread(buffer, 1, count, file_of(stream)));
}

int32_t file_stream_write(MStream stream, const void *buffer, size_t count) {
    turn_to(stream, kWasWritten);
    return static_cast<int32_t>(fwrite(buffer, 1, count, file_of(stream)));
}

int32_t file_stream_seek(MStream stream, uint32_t origin, intptr_t offset) {
    static constexpr int kOrigins[] = {SEEK_SET, SEEK_END, SEEK_CUR};
    if (origin >= sizeof(kOrigins) / sizeof(*kOrigins)) return -1;
    return fseeko(file_of(stream), offset, kOrigins[origin]);
}

intptr_t file_stream_tell(MStream stream) {
    return as_position(ftello(file_of(stream)));
}

intptr_t file_stream_size(MStream stream) {
    FILE *file = file_of(stream);
    const off_t position = ftello(file);
    if (position < 0 || fseeko(file, 0, SEEK_END) != 0) return -1;
    const off_t size = ftello(file);
    fseeko(file, position, SEEK_SET);
    return as_position(size);
}

int32_t file_stream_flush(MStream stream) {
    return fflush(file_of(stream)) == 0 ? 1 : 0;
}

int32_t file_stream_close(MStream stream) {
    const Owned<MStreamRecord> own(stream);
    return fclose(file_of(own.get())) == 0 ? 1 : 0;
}

bool file_stream_failed(MStream stream) {
    return ferror(file_of(stream)) != 0;
}

void file_stream_unbuffer(MStream stream) {
    setvbuf(file_of(stream), nullptr, _IONBF, 0);
}

bool file_stream_sync(MStream stream) {
    return fflush(file_of(stream)) == 0 && fsync(file_stream_descriptor(stream)) == 0;
}

int file_stream_descriptor(MStream stream) {
    return fileno(file_of(stream));
}

MStream create_private_file_stream(const char *path) {
    Owned<MStreamRecord> stream = new_stream_record(kFileStream);
    if (stream == nullptr) return nullptr;
    const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) return nullptr;
    stream->handle = fdopen(file, "wb");
    if (stream->handle != nullptr) return stream.release();
    close(file);
    unlink(path);
    return nullptr;
}

}  // namespace quorv

using namespace quorv;

MStream MStreamOpenFromFileS(const char *path, uint32_t mode) {
    if (path == nullptr) return nullptr;
    // The record comes first: without memory the file is not touched and nothing stays open.
    Owned<MStreamRecord> stream = new_stream_record(kFileStream);
    if (stream == nullptr) return nullptr;
    stream->handle = fopen(path, mode_string(mode));
    return stream->handle != nullptr ? stream.release() : nullptr;
}

MStream MStreamOpenFromFileW(const uint16_t *path, uint32_t mode) {
    const NarrowPath narrow(path);
    return MStreamOpenFromFileS(narrow.get(), mode);
}

MStream MStreamFileCreateS(const char *path) {
    return MStreamOpenFromFileS(path, MSTREAM_OPEN_CREATE);
}

MStream MStreamFileCreateW(const uint16_t *path) {
    return MStreamOpenFromFileW(path, MSTREAM_OPEN_CREATE);
}
