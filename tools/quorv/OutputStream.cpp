// Buffered bytes to a file descriptor; see the header.

#include "OutputStream.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"

namespace quorv::tool {

namespace {
constexpr size_t kBufferBytes = 0x10000;
constexpr size_t kUsualColumns = 80;
}  // namespace

OutputStream::OutputStream(int descriptor, std::string name)
    : descriptor_(descriptor), name_(std::move(name)), buffer_(kBufferBytes) {}

void OutputStream::write(std::string_view text) {
    if (text.empty()) return;
    if (text.size() > buffer_.size() - used_) flush();
    if (text.size() > buffer_.size()) {
        write_out(text.data(), text.size());
        return;
    }
    std::memcpy(buffer_.data() + used_, text.data(), text.size());
    used_ += text.size();
}

void OutputStream::write(std::span<const uint8_t> bytes) {
    write(std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
}

void OutputStream::flush() {
    // What cannot be written is not tried again.
    const size_t count = std::exchange(used_, 0);
    write_out(buffer_.data(), count);
}

void OutputStream::write_out(const char *bytes, size_t count) {
    while (count > 0) {
        const ssize_t put = ::write(descriptor_, bytes, count);
        if (put < 0) {
            if (errno == EINTR) continue;
            if (errno == EPIPE) throw OutputClosed();
            throw WriteFailure(name_, errno);
        }
        bytes += put;
        count -= static_cast<size_t>(put);
    }
}

bool OutputStream::is_terminal() const {
    return isatty(descriptor_) == 1;
}

size_t OutputStream::columns() const {
    return is_terminal() ? terminal_columns(descriptor_) : SIZE_MAX;
}

size_t terminal_columns(int descriptor) {
    winsize size = {};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : kUsualColumns;
}

}  // namespace quorv::tool
