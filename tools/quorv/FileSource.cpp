// A file of the user as the splitters' stream source; see the header.

#include "FileSource.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "Failure.h"

namespace quorv::tool {

namespace {

// Holds two MPEG audio frames of the largest size and the start of a third.
constexpr size_t kHeadBytes = 8192;
constexpr size_t kBufferBytes = 0x10000;
// What is read behind a jump: chunk headers that are far apart need little, and reading on doubles it.
constexpr size_t kFirstRead = 4096;

// read(2) that survives signals; throws what the system says.
size_t read_stream(int file, uint8_t *to, size_t count) {
    for (;;) {
        const ssize_t got = ::read(file, to, count);
        if (got >= 0) return static_cast<size_t>(got);
        if (errno != EINTR) throw io_failure(errno);
    }
}

void write_stream(int file, const uint8_t *from, size_t count) {
    while (count > 0) {
        const ssize_t put = ::write(file, from, count);
        if (put < 0) {
            if (errno == EINTR) continue;
            throw Failure(ExitCode::Io,
                          fmt::format("cannot keep the input in a temporary file: {}", std::strerror(errno)));
        }
        from += put;
        count -= static_cast<size_t>(put);
    }
}

// A file without a name, gone when it is closed.
Descriptor temporary_file() {
    const char *folder = std::getenv("TMPDIR");
    std::string path = fmt::format("{}/quorv-XXXXXX", folder != nullptr && *folder != '\0' ? folder : "/tmp");
    Descriptor file(mkostemp(path.data(), O_CLOEXEC));
    if (file.get() < 0)
        throw Failure(ExitCode::Io,
                      fmt::format("cannot make the temporary file {}: {}", path, std::strerror(errno)));
    unlink(path.c_str());
    return file;
}

}  // namespace

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Descriptor::~Descriptor() {
    if (number_ > STDERR_FILENO) ::close(number_);
}

int Descriptor::release() {
    return std::exchange(number_, -1);
}

// One open stream of the source.
class FileReader {
public:
    explicit FileReader(FileSource &file) : file_(file), buffer_(kBufferBytes) {}

    uint32_t read(uint8_t *to, uint32_t *count);
    uint32_t seek(uint16_t origin, int64_t offset);
    int64_t position() const { return static_cast<int64_t>(position_); }

private:
    // Where the position lies in the buffer: at most filled_, which stands for anywhere outside as well.
    size_t buffer_offset() const {
        return static_cast<size_t>(std::min<uint64_t>(position_ - start_, filled_));
    }
    bool fill(size_t wanted);

    FileSource &file_;
    std::vector<uint8_t> buffer_;
    uint64_t position_ = 0;
    uint64_t start_ = 0;  // position of the buffer's first byte
    size_t filled_ = 0;
    uint64_t read_end_ = 0;  // where the latest read of the file ended
    size_t read_ahead_ = kFirstRead;
};

bool FileReader::fill(size_t wanted) {
    read_ahead_ = position_ == read_end_ ? std::min(read_ahead_ * 2, kBufferBytes) : kFirstRead;
    start_ = position_;
    filled_ = file_.read_some(position_, buffer_.data(), std::max(read_ahead_, wanted));
    read_end_ = start_ + filled_;
    return filled_ > 0;
}

uint32_t FileReader::read(uint8_t *to, uint32_t *count) {
    const size_t wanted = *count;
    size_t done = 0;
    while (done < wanted) {
        const size_t from = buffer_offset();
        size_t got = std::min(filled_ - from, wanted - done);
        if (got > 0) {
            std::memcpy(to + done, &buffer_[from], got);
        } else if (wanted - done >= kBufferBytes) {
            got = file_.read_some(position_, to + done, wanted - done);
            read_end_ = position_ + got;
            if (got == 0) break;
        } else if (!fill(wanted - done)) {
            break;
        }
        position_ += got;
        done += got;
    }
    *count = static_cast<uint32_t>(done);
    file_.progress_ = position_;
    return done < wanted && file_.first_error_ != 0 ? SPLITER_ERR_IO : SPLITER_OK;
}

uint32_t FileReader::seek(uint16_t origin, int64_t offset) {
    int64_t target = offset;
    if (origin != SPLITER_ORIGIN_START && __builtin_add_overflow(offset, position(), &target))
        return SPLITER_ERR_INVALID_PARAM;
    if (target < 0) return SPLITER_ERR_INVALID_PARAM;
    position_ = static_cast<uint64_t>(target);
    return SPLITER_OK;
}

FileSource::FileSource(const std::string &path) {
    if (path == "-") {
        file_ = Descriptor(STDIN_FILENO);
    } else {
        open_path(path);
    }
    if (fstat(file_.get(), &identity_) != 0) throw io_failure(errno);
    if (S_ISDIR(identity_.st_mode)) throw io_failure(EISDIR);
    // Standard input may be a file that somebody else has read from already: its rest is the input.
    const off_t position = lseek(file_.get(), 0, SEEK_CUR);
    seekable_ = position == 0 && (S_ISREG(identity_.st_mode) || S_ISBLK(identity_.st_mode));
    if (seekable_) size_ = static_cast<uint64_t>(lseek(file_.get(), 0, SEEK_END));
    read_head();
}

FileSource::~FileSource() = default;

void FileSource::open_path(const std::string &path) {
    file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (file_.get() < 0) throw io_failure(errno);
}

void FileSource::read_head() {
    head_.resize(kHeadBytes);
    size_t filled = 0;
    if (seekable_) {
        filled = read_at(0, head_);
    } else {
        size_t got = 0;
        while (filled < head_.size() &&
               (got = read_stream(file_.get(), &head_[filled], head_.size() - filled)) > 0)
            filled += got;
    }
    head_.resize(filled);
}

void FileSource::make_seekable() {
    if (seekable_) return;
    Descriptor copy = temporary_file();
    write_stream(copy.get(), head_.data(), head_.size());
    size_ = head_.size();
    std::vector<uint8_t> block(4 * kBufferBytes);
    while (const size_t got = read_stream(file_.get(), block.data(), block.size())) {
        write_stream(copy.get(), block.data(), got);
        size_ += got;
    }
    file_ = std::move(copy);
    seekable_ = true;
}

bool FileSource::is_same_file(const struct stat &other) const {
    return identity_.st_dev == other.st_dev && identity_.st_ino == other.st_ino;
}

// Notes a failure and returns 0 for it, as at the end of the file.
size_t FileSource::read_some(uint64_t position, uint8_t *to, size_t count) {
    for (;;) {
        const ssize_t got = pread(file_.get(), to, count, static_cast<off_t>(position));
        if (got >= 0) return static_cast<size_t>(got);
        if (errno == EINTR) continue;
        if (first_error_ == 0) first_error_ = errno;
        return 0;
    }
}

size_t FileSource::read_at(uint64_t position, std::span<uint8_t> to) {
    size_t done = 0;
    while (done < to.size()) {
        const size_t got = read_some(position + done, to.data() + done, to.size() - done);
        if (got == 0) break;
        done += got;
    }
    if (first_error_ != 0) throw io_failure(first_error_);
    return done;
}

SplitterStreamSource FileSource::callbacks() {
    // A stream's handle is its number, from 1.
    static constexpr auto reader = [](void *self, SplitterStream stream) -> std::unique_ptr<FileReader> & {
        return static_cast<FileSource *>(self)->readers_[stream - 1];
    };
    SplitterStreamSource source = {};
    source.user_context = this;
    source.source_kind = SPLITER_SOURCE_LOCAL;
    source.open = [](void *self, SplitterStream *stream, uint32_t) -> uint32_t {
        auto &file = *static_cast<FileSource *>(self);
        file.readers_.push_back(std::make_unique<FileReader>(file));
        *stream = file.readers_.size();
        return SPLITER_OK;
    };
    source.close = [](void *self, SplitterStream stream) -> uint32_t {
        reader(self, stream).reset();
        return SPLITER_OK;
    };
    source.read = [](void *self, SplitterStream stream, void *buffer, uint32_t *count) -> uint32_t {
        return reader(self, stream)->read(static_cast<uint8_t *>(buffer), count);
    };
    source.seek = [](void *self, SplitterStream stream, uint16_t origin, int64_t offset) -> uint32_t {
        return reader(self, stream)->seek(origin, offset);
    };
    source.tell = [](void *self, SplitterStream stream, int64_t *position) -> uint32_t {
        *position = reader(self, stream)->position();
        return SPLITER_OK;
    };
    source.size = [](void *self, SplitterStream, int64_t *length) -> uint32_t {
        *length = static_cast<int64_t>(static_cast<FileSource *>(self)->size_);
        return SPLITER_OK;
    };
    return source;
}

}  // namespace quorv::tool
