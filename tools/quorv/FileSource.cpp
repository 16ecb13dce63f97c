// A file of the user as the library reads it; see the header.

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
constexpr size_t kCopyBytes = 0x40000;
// Of the values below 0 one that has no meaning for the library.
constexpr int64_t kReadFailed = -3;

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
    std::vector<uint8_t> block(kCopyBytes);
    while (const size_t got = read_stream(file_.get(), block.data(), block.size())) {
        write_stream(copy.get(), block.data(), got);
        size_ += got;
    }
    file_ = std::move(copy);
    seekable_ = true;
}

size_t FileSource::read_on(std::span<uint8_t> to) {
    return read_stream(file_.get(), to.data(), to.size());
}

bool FileSource::is_same_file(const struct stat &other) const {
    return identity_.st_dev == other.st_dev && identity_.st_ino == other.st_ino;
}

bool FileSource::has_changed() const {
    struct stat now = {};
    const bool known = fstat(file_.get(), &now) == 0 && is_same_file(now);
    return known && (now.st_size != identity_.st_size || now.st_mtim.tv_sec != identity_.st_mtim.tv_sec ||
                     now.st_mtim.tv_nsec != identity_.st_mtim.tv_nsec);
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

QuorvSource FileSource::source() {
    QuorvSource source = {};
    source.user = this;
    source.read_at = [](void *self, uint64_t offset, void *buffer, size_t size) -> int64_t {
        auto &file = *static_cast<FileSource *>(self);
        const size_t got = file.read_some(offset, static_cast<uint8_t *>(buffer), size);
        file.progress_ = offset + got;
        return got == 0 && file.first_error_ != 0 ? kReadFailed : static_cast<int64_t>(got);
    };
    source.size = [](void *self) { return static_cast<int64_t>(static_cast<FileSource *>(self)->size_); };
    return source;
}

}  // namespace quorv::tool
