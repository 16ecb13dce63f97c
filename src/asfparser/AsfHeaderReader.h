// Reads the fields of header objects one after the other.
#ifndef QUORV_SRC_ASFPARSER_ASFHEADERREADER_H
#define QUORV_SRC_ASFPARSER_ASFHEADERREADER_H

#include "asfparser/CASFBase.h"
#include "splitter/FieldReader.h"

namespace quorv {

struct AsfObjectHeader {
    AsfGuid guid;
    uint64_t size;  // header included

    // All that counts of the sizes of header objects.
    uint32_t size_low() const { return static_cast<uint32_t>(size); }
};

// Objects do not bound the reading: some claim less than their fields take.
class AsfHeaderReader : public FieldReader {
public:
    explicit AsfHeaderReader(StreamSource *source)
        : FieldReader(source, UINT64_MAX, CASFBase::ReadInteger),
          stream_size_(CASFBase::GetStreamSize(source)) {}

    AsfGuid guid();
    AsfObjectHeader object_header();
    void bytes(void *to, uint32_t count);
    // Passes over `length` bytes and keeps the first of them, at most `capacity`; returns how many came.
    uint32_t bytes_up_to(void *to, uint32_t capacity, uint32_t length);
    // Forward, at most to the end of the stream.
    void skip(uint64_t count);
    void move_to(uint64_t position);
    uint64_t position() { return static_cast<uint64_t>(CASFBase::MStreamTell_RO(&source())); }

    uint64_t stream_size() const { return stream_size_; }  // 0 when it is not known

private:
    const uint64_t stream_size_;
};

}  // namespace quorv

#endif
