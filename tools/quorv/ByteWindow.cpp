// Small reads at rising places of a file; see the header.

#include "ByteWindow.h"

#include <algorithm>

namespace quorv::tool {

namespace {
constexpr size_t kWindowBytes = 0x10000;
// Behind a leap most of what follows is data that nobody asks for.
constexpr size_t kFirstRead = 512;
}  // namespace

ByteWindow::ByteWindow(FileSource &file) : file_(file), buffer_(kWindowBytes) {}

bool ByteWindow::holds(uint64_t position, size_t count) const {
    return position >= start_ && position - start_ <= filled_ && filled_ - (position - start_) >= count;
}

void ByteWindow::fill(uint64_t position, size_t count) {
    const bool goes_on = holds(position, 0);
    const size_t wanted = std::max(count, goes_on ? kWindowBytes : kFirstRead);
    filled_ = file_.read_at(position, std::span(buffer_).first(wanted));
    start_ = position;
}

std::span<const uint8_t> ByteWindow::view(uint64_t position, size_t count) {
    if (!holds(position, count)) fill(position, count);
    if (!holds(position, count)) return {};
    return {buffer_.data() + (position - start_), count};
}

std::span<const uint8_t> ByteWindow::rest(uint64_t position) {
    if (!holds(position, 1)) fill(position, 1);
    return {buffer_.data() + (position - start_), filled_ - static_cast<size_t>(position - start_)};
}

std::string ByteWindow::copy(uint64_t position, size_t count) {
    std::string bytes(count, '\0');
    bytes.resize(file_.read_at(position, {reinterpret_cast<uint8_t *>(bytes.data()), count}));
    return bytes;
}

}  // namespace quorv::tool
