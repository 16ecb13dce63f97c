// The caller's stream over a file, as the plainest programs write it: every callback is one call of the C
// library.
#ifndef QUORV_BENCHMARKS_SUPPORT_FILESTREAM_H
#define QUORV_BENCHMARKS_SUPPORT_FILESTREAM_H

#include <cstdint>
#include <string>

#include "support/StreamTable.h"

namespace quorv::bench {

// What both kinds share. The object must outlive the handle; each reader has the file open for itself.
class FileStream {
public:
    explicit FileStream(const std::string &path) : path_(path) {}
    FileStream(const FileStream &) = delete;
    FileStream &operator=(const FileStream &) = delete;

protected:
    const std::string path_;
};

// pread at a position that is kept beside the file descriptor.
class PreadStream : public FileStream {
public:
    using FileStream::FileStream;
    SplitterStreamSource record() { return test::stream_table(*this); }

    uint32_t open(SplitterStream *stream, uint32_t mode);
    uint32_t close(SplitterStream stream);
    uint32_t read(SplitterStream stream, void *buffer, uint32_t *count);
    uint32_t seek(SplitterStream stream, uint16_t origin, int64_t offset);
    uint32_t tell(SplitterStream stream, int64_t *position);
    uint32_t size(SplitterStream stream, int64_t *length);
};

// fread, fseeko and ftello, with the buffer that the C library gives a file.
class StdioStream : public FileStream {
public:
    using FileStream::FileStream;
    SplitterStreamSource record() { return test::stream_table(*this); }

    uint32_t open(SplitterStream *stream, uint32_t mode);
    uint32_t close(SplitterStream stream);
    uint32_t read(SplitterStream stream, void *buffer, uint32_t *count);
    uint32_t seek(SplitterStream stream, uint16_t origin, int64_t offset);
    uint32_t tell(SplitterStream stream, int64_t *position);
    uint32_t size(SplitterStream stream, int64_t *length);
};

}  // namespace quorv::bench

#endif
