// The callbacks of the stream over a file; see the header.

#include "support/FileStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace quorv::bench {
namespace {

constexpr size_t kBufferBytes = 65536;
// Reads of this size go past the buffer.
constexpr size_t kLargeRead = 16384;
// So many bytes behind a large read come with it: the next chunk's header and perhaps a small chunk.
constexpr size_t kReadBehind = 1024;
// What the first small read after a large one or a jump fills; reading on doubles it.
constexpr size_t kFirstFilling = 4096;
// What stays when the buffer is filled anew: a reader of packets goes back into the latest one.
constexpr size_t kReadBefore = 16384;

FileStream &reader(SplitterStream stream) {
    return *reinterpret_cast<FileStream *>(stream);
}

size_t checked(ssize_t got) {
    if (got >= 0) return static_cast<size_t>(got);
    perror("reading the file");
    exit(EXIT_FAILURE);
}

}  // namespace

FileStream::FileStream(const std::string &path, bool buffered)
    : path_(path),
      file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      buffered_(buffered),
      buffer_(kReadBefore + kBufferBytes) {
    if (file_ < 0) {
        perror(path.c_str());
        exit(EXIT_FAILURE);
    }
}

FileStream::~FileStream() {
    ::close(file_);
}

size_t FileStream::take_buffered(uint8_t *to, size_t count) {
    const int64_t within = position_ - start_;
    if (within < 0 || within >= static_cast<int64_t>(filled_)) return 0;
    const auto offset = static_cast<size_t>(within);
    const size_t got = std::min(count, filled_ - offset);
    memcpy(to, &buffer_[offset], got);
    return got;
}

size_t FileStream::read_past_buffer(uint8_t *to, size_t count) {
    const iovec parts[] = {{to, count}, {buffer_.data(), kReadBehind}};
    const size_t got = checked(preadv(file_, parts, 2, position_));
    start_ = position_ + static_cast<int64_t>(count);
    filled_ = got > count ? got - count : 0;
    read_ahead_ = 0;
    return std::min(got, count);
}

size_t FileStream::fill_buffer() {
    const int64_t end = start_ + static_cast<int64_t>(filled_);
    const int64_t skipped = position_ - end;
    const bool reading_on = skipped >= 0 && skipped <= static_cast<int64_t>(read_ahead_);
    read_ahead_ = std::clamp(reading_on ? 2 * read_ahead_ : 0, kFirstFilling, kBufferBytes);
    const size_t kept = skipped == 0 ? std::min(filled_, kReadBefore) : 0;
    memmove(buffer_.data(), buffer_.data() + filled_ - kept, kept);
    const size_t got = checked(pread(file_, &buffer_[kept], read_ahead_, position_));
    start_ = position_ - static_cast<int64_t>(kept);
    filled_ = kept + got;
    return got;
}

uint32_t FileStream::read_here(uint8_t *to, uint32_t *count) {
    size_t done = 0;
    while (done < *count) {
        const size_t left = *count - done;
        size_t got = 0;
        if (!buffered_) {
            got = checked(pread(file_, to + done, left, position_));
        } else if ((got = take_buffered(to + done, left)) == 0) {
            if (left >= kLargeRead) {
                got = read_past_buffer(to + done, left);
            } else if (fill_buffer() > 0) {
                continue;
            }
        }
        if (got == 0) break;
        position_ += static_cast<int64_t>(got);
        done += got;
    }
    *count = static_cast<uint32_t>(done);
    return 0;
}

uint32_t FileStream::open(SplitterStream *stream, uint32_t /*mode*/) {
    *stream = reinterpret_cast<SplitterStream>(new FileStream(path_, buffered_));
    return 0;
}

uint32_t FileStream::close(SplitterStream stream) {
    delete &reader(stream);
    return 0;
}

uint32_t FileStream::read(SplitterStream stream, void *buffer, uint32_t *count) {
    return reader(stream).read_here(static_cast<uint8_t *>(buffer), count);
}

uint32_t FileStream::seek(SplitterStream stream, uint16_t origin, int64_t offset) {
    int64_t &position = reader(stream).position_;
    const int64_t target = origin == SPLITER_ORIGIN_START ? offset : position + offset;
    if (target < 0) return SPLITER_ERR_IO;
    position = target;
    return 0;
}

uint32_t FileStream::tell(SplitterStream stream, int64_t *position) {
    *position = reader(stream).position_;
    return 0;
}

uint32_t FileStream::size(SplitterStream stream, int64_t *length) {
    struct stat status = {};
    const int result = fstat(reader(stream).file_, &status);
    *length = status.st_size;
    return result == 0 ? uint32_t{SPLITER_OK} : uint32_t{SPLITER_ERR_IO};
}

}  // namespace quorv::bench
