// The callbacks of both kinds of stream; see the header.

#include "support/FileStream.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorv::bench {
namespace {

struct Reader {
    int file;
    int64_t position;
};

Reader &reader(SplitterStream stream) {
    return *reinterpret_cast<Reader *>(stream);
}

FILE *file(SplitterStream stream) {
    return reinterpret_cast<FILE *>(stream);
}

uint32_t code(bool good) {
    return good ? uint32_t{SPLITER_OK} : uint32_t{SPLITER_ERR_IO};
}

uint32_t size_of(int file, int64_t *length) {
    struct stat status = {};
    const int result = fstat(file, &status);
    *length = status.st_size;
    return code(result == 0);
}

}  // namespace

uint32_t PreadStream::open(SplitterStream *stream, uint32_t /*mode*/) {
    const int opened = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (opened < 0) return SPLITER_ERR_IO;
    *stream = reinterpret_cast<SplitterStream>(new Reader{opened, 0});
    return SPLITER_OK;
}

uint32_t PreadStream::close(SplitterStream stream) {
    const int result = ::close(reader(stream).file);
    delete &reader(stream);
    return code(result == 0);
}

uint32_t PreadStream::read(SplitterStream stream, void *buffer, uint32_t *count) {
    Reader &from = reader(stream);
    const ssize_t got = pread(from.file, buffer, *count, from.position);
    if (got < 0) return SPLITER_ERR_IO;
    from.position += got;
    *count = static_cast<uint32_t>(got);
    return SPLITER_OK;
}

uint32_t PreadStream::seek(SplitterStream stream, uint16_t origin, int64_t offset) {
    int64_t &position = reader(stream).position;
    position = origin == SPLITER_ORIGIN_START ? offset : position + offset;
    return code(position >= 0);
}

uint32_t PreadStream::tell(SplitterStream stream, int64_t *position) {
    *position = reader(stream).position;
    return SPLITER_OK;
}

uint32_t PreadStream::size(SplitterStream stream, int64_t *length) {
    return size_of(reader(stream).file, length);
}

uint32_t StdioStream::open(SplitterStream *stream, uint32_t /*mode*/) {
    FILE *opened = fopen(path_.c_str(), "rbe");
    *stream = reinterpret_cast<SplitterStream>(opened);
    return code(opened != nullptr);
}

uint32_t StdioStream::close(SplitterStream stream) {
    return code(fclose(file(stream)) == 0);
}

uint32_t StdioStream::read(SplitterStream stream, void *buffer, uint32_t *count) {
    *count = static_cast<uint32_t>(fread(buffer, 1, *count, file(stream)));
    return code(ferror(file(stream)) == 0);
}

uint32_t StdioStream::seek(SplitterStream stream, uint16_t origin, int64_t offset) {
    const int whence = origin == SPLITER_ORIGIN_START ? SEEK_SET : SEEK_CUR;
    return code(fseeko(file(stream), offset, whence) == 0);
}

uint32_t StdioStream::tell(SplitterStream stream, int64_t *position) {
    *position = ftello(file(stream));
    return code(*position >= 0);
}

uint32_t StdioStream::size(SplitterStream stream, int64_t *length) {
    return size_of(fileno(file(stream)), length);
}

}  // namespace quorv::bench
