// Finds out what a read has really written; see the header.

#include "splitter/ReadMark.h"

namespace quorv {

namespace {

// The filling, counted from the end of the buffer: there it differs from the mark in every bit.
uint8_t filling(uint32_t bytes_to_end) {
    return static_cast<uint8_t>(~ReadMark::kMark[(ReadMark::kBytes - bytes_to_end) % ReadMark::kBytes]);
}

}  // namespace

void fill_for_second_read(void *buffer, uint32_t count) {
    auto *bytes = static_cast<uint8_t *>(buffer);
    for (uint32_t i = 0; i < count; ++i)
        bytes[i] = filling(count - i);
}

uint32_t written_by_second_read(const void *buffer, uint32_t count) {
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    uint32_t written = count;
    while (written > 0 && bytes[written - 1] == filling(count - (written - 1)))
        --written;
    return written;
}

}  // namespace quorv
