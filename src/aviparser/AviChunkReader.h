// Reads the fields of one header chunk in order, never past the chunk's end.
#ifndef QUORV_SRC_AVIPARSER_AVICHUNKREADER_H
#define QUORV_SRC_AVIPARSER_AVICHUNKREADER_H

#include <stdint.h>

#include "splitter/StreamSource.h"

namespace quorv {

// The first failure is kept and ends the reading; fields that do not lie wholly inside the chunk read as 0.
class AviChunkReader {
public:
    AviChunkReader(StreamSource *source, uint32_t size) : source_(source), left_(size) {}

    uint32_t le16() { return field(2); }
    uint32_t le32() { return field(4); }
    void skip(uint32_t count);

    // Reads `size` bytes into memory of their own, with kAviSpareBytes zeroed behind them. What the file
    // claims is not trusted: memory grows with the bytes that really come, and *length says how many did.
    // SPLITER_ERR_NO_MEMORY when there is none; a failed read is kept like any other.
    uint32_t read_bytes(uint32_t size, uint8_t **bytes, uint32_t *length);

    uint32_t left() const { return left_; }
    bool failed() const { return failed_; }

private:
    uint32_t field(uint32_t width);

    StreamSource *source_;
    uint32_t left_;
    bool failed_ = false;
};

}  // namespace quorv

#endif
