// Finds out what a read has really written; see the header.

#include "splitter/ReadMark.h"

#include <string.h>

#include <algorithm>

namespace quorv {

namespace {

constexpr uint8_t kMark[] = {0xB5, 0x9D, 0x2C, 0xE3};

// The filling, counted from the end of the buffer: there it differs from the mark in every bit.
uint8_t filling(uint32_t bytes_to_end) {
    return static_cast<uint8_t>(~kMark[(sizeof(kMark) - bytes_to_end) % sizeof(kMark)]);
}

}  // namespace

ReadMark::ReadMark(void *buffer, uint32_t count)
    : covered_(static_cast<uint8_t *>(buffer) + (count - std::min(count, kBytes))),
      start_(count - std::min(count, kBytes)),
      size_(std::min(count, kBytes)) {
    static_assert(sizeof(kMark) == kBytes);
    memcpy(before_, covered_, size_);
    if (size_ == kBytes) {
        memcpy(covered_, kMark, kBytes);
    } else {
        memset(covered_, 0, size_);
    }
}

bool ReadMark::stands() const {
    return size_ == kBytes && memcmp(covered_, kMark, kBytes) == 0;
}

void ReadMark::lift(uint32_t delivered) {
    const uint32_t kept = delivered > start_ ? std::min(delivered - start_, size_) : 0;
    memcpy(covered_ + kept, before_ + kept, size_ - kept);
}

void fill_for_second_read(void *buffer, uint32_t count) {
    auto *const bytes = static_cast<uint8_t *>(buffer);
    for (uint32_t i = 0; i < count; ++i)
        bytes[i] = filling(count - i);
}

uint32_t written_by_second_read(const void *buffer, uint32_t count) {
    const auto *const bytes = static_cast<const uint8_t *>(buffer);
    uint32_t written = count;
    while (written > 0 && bytes[written - 1] == filling(count - (written - 1)))
        --written;
    return written;
}

}  // namespace quorv
