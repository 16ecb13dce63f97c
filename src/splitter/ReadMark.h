// Finds out what a read has really written: some sources claim bytes that they do not have.
#ifndef QUORV_SRC_SPLITTER_READMARK_H
#define QUORV_SRC_SPLITTER_READMARK_H

#include <stdint.h>

namespace quorv {

// Covers the last bytes of a buffer while it is read into. Data may look like the mark, so that a mark which
// still stands is a suspicion only.
class ReadMark {
public:
    ReadMark(void *buffer, uint32_t count);

    // False for reads that are too short to tell; what those do not write reads as zero.
    bool stands() const;
    // Gives the bytes behind the delivered ones back as they were.
    void lift(uint32_t delivered);

private:
    static constexpr uint32_t kBytes = 4;

    uint8_t *const covered_;
    const uint32_t start_, size_;  // in the buffer
    uint8_t before_[kBytes];
};

// For a second read of what was found under a mark: where bytes were written, at least the last of them now
// differs from the filling, since it has not changed from the first read to the second.
void fill_for_second_read(void *buffer, uint32_t count);
uint32_t written_by_second_read(const void *buffer, uint32_t count);

}  // namespace quorv

#endif
