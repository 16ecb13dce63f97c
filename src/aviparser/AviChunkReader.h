// Reads the fields of one header chunk in order, never past the chunk's end.
#ifndef QUORV_SRC_AVIPARSER_AVICHUNKREADER_H
#define QUORV_SRC_AVIPARSER_AVICHUNKREADER_H

#include "splitter/FieldReader.h"

namespace quorv {

// Fields that do not lie wholly inside the chunk read as 0.
class AviChunkReader : public FieldReader {
public:
    AviChunkReader(StreamSource *source, uint32_t size);

    // Reads `size` bytes into memory of their own, with kAviSpareBytes zeroed behind them. What the file
    // claims is not trusted: memory grows with the bytes that really come, and *length says how many did.
    // SPLITER_ERR_NO_MEMORY when there is none; a failed read is kept like any other.
    uint32_t read_bytes(uint32_t size, uint8_t **bytes, uint32_t *length);

    uint32_t left() const { return static_cast<uint32_t>(FieldReader::left()); }
    bool failed() const { return !good(); }
};

}  // namespace quorv

#endif
