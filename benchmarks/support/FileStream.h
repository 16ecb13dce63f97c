// A caller's stream over a file, as a careful program writes it: pread, a buffer for small reads, and large
// reads straight into the destination.
#ifndef QUORV_BENCHMARKS_SUPPORT_FILESTREAM_H
#define QUORV_BENCHMARKS_SUPPORT_FILESTREAM_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/StreamTable.h"

namespace quorv::bench {

class FileStream {
public:
    // Buffered: a large read takes what lies in the buffer and gets the rest by one preadv, which puts the
    // bytes behind it into the buffer as well. Otherwise every read callback is one pread.
    FileStream(const std::string &path, bool buffered);
    ~FileStream();
    FileStream(const FileStream &) = delete;
    FileStream &operator=(const FileStream &) = delete;

    // The record for Open; this object must outlive the handle. Every reader is a stream like this one.
    SplitterStreamSource record() { return test::stream_table(*this); }

    uint32_t open(SplitterStream *stream, uint32_t mode);
    uint32_t close(SplitterStream stream);
    uint32_t read(SplitterStream stream, void *buffer, uint32_t *count);
    uint32_t seek(SplitterStream stream, uint16_t origin, int64_t offset);
    uint32_t tell(SplitterStream stream, int64_t *position);
    uint32_t size(SplitterStream stream, int64_t *length);

private:
    uint32_t read_here(uint8_t *to, uint32_t *count);
    size_t take_buffered(uint8_t *to, size_t count);
    size_t read_past_buffer(uint8_t *to, size_t count);
    size_t fill_buffer();

    const std::string path_;
    int file_;
    bool buffered_;
    std::vector<uint8_t> buffer_;
    int64_t position_ = 0;
    int64_t start_ = 0;  // position of the buffer's first byte
    size_t filled_ = 0;
    size_t read_ahead_ = 0;  // of the latest filling
};

}  // namespace quorv::bench

#endif
