// Reads the fields of one header chunk in order, never past the chunk's end.
#ifndef QUORV_SRC_AVIPARSER_AVICHUNKREADER_H
#define QUORV_SRC_AVIPARSER_AVICHUNKREADER_H

#include "aviparser/AviTrack.h"
#include "splitter/FieldReader.h"

namespace quorv {

// Fields that do not lie wholly inside the chunk read as 0.
class AviChunkReader : public FieldReader {
public:
    AviChunkReader(StreamSource *source, uint32_t size);

    // Reads `size` bytes. What the file claims is not trusted: memory grows with the bytes that really come,
    // and the data's length says how many did. Code::NoMemory when there is none; a failed read is kept like
    // any other.
    Code read_data(uint32_t size, AviHeaderData *data);

    uint32_t left() const { return static_cast<uint32_t>(FieldReader::left()); }
    bool failed() const { return !good(); }
};

}  // namespace quorv

#endif
