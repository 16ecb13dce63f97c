// Finds out what a read has really written: some sources claim bytes that they do not have.
#ifndef QUORV_SRC_SPLITTER_READMARK_H
#define QUORV_SRC_SPLITTER_READMARK_H

#include <stdint.h>
#include <string.h>

#include <algorithm>

namespace quorv {

// Covers the last bytes of a buffer while it is read into. Data may look like the mark, so that a mark which
// still stands is a suspicion only.
class ReadMark {
public:
    ReadMark(void *buffer, uint32_t count)
        : size_(std::min(count, kBytes)),
          start_(count - size_),
          covered_(static_cast<uint8_t *>(buffer) + start_) {
        if (size_ == kBytes) {
            memcpy(before_, covered_, kBytes);
            memcpy(covered_, kMark, kBytes);
        } else {
            memcpy(before_, covered_, size_);
            memset(covered_, 0, size_);
        }
    }

    // False for reads that are too short to tell; what those do not write reads as zero.
    bool stands() const { return size_ == kBytes && memcmp(covered_, kMark, kBytes) == 0; }
    // Gives the bytes behind the delivered ones back as they were.
    void lift(uint32_t delivered) {
        const uint32_t kept = delivered > start_ ? std::min(delivered - start_, size_) : 0;
        if (kept < size_) memcpy(covered_ + kept, before_ + kept, size_ - kept);
    }

    static constexpr uint32_t kBytes = 4;
    static constexpr uint8_t kMark[kBytes] = {0xB5, 0x9D, 0x2C, 0xE3};

private:
    const uint32_t size_, start_;  // in the buffer
    uint8_t *covered_;
    uint8_t before_[kBytes];
};

// For a second read of what was found under a mark: where bytes were written, at least the last of them now
// differs from the filling, since it has not changed from the first read to the second.
void fill_for_second_read(void *buffer, uint32_t count);
uint32_t written_by_second_read(const void *buffer, uint32_t count);

}  // namespace quorv

#endif
