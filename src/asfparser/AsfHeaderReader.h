// Reads the fields of header objects one after the other.
#ifndef QUORV_SRC_ASFPARSER_ASFHEADERREADER_H
#define QUORV_SRC_ASFPARSER_ASFHEADERREADER_H

#include "asfparser/CASFBase.h"

namespace quorv {

struct AsfObjectHeader {
    AsfGuid guid;
    uint32_t size;       // the low half, header included
    uint32_t size_high;  // used by the Data Object only
};

// The first failure is kept and ends the reading; fields read after it are 0. What a successful read did not
// deliver reads as 0, too.
class AsfHeaderReader {
public:
    AsfHeaderReader(const CASFBase &base, StreamSource *source)
        : base_(base), source_(*source), stream_size_(base.GetStreamSize(source)) {}

    uint32_t word();
    uint32_t dword();
    void qword(uint32_t *low, uint32_t *high);
    AsfGuid guid();
    AsfObjectHeader object_header();
    void bytes(void *to, uint32_t count);
    // Passes over `length` bytes and keeps the first of them, at most `capacity`; returns how many came.
    uint32_t bytes_up_to(void *to, uint32_t capacity, uint32_t length);
    // Forward, at most to the end of the stream.
    void skip(uint64_t count);
    void move_to(uint64_t position);
    uint64_t position() { return static_cast<uint64_t>(base_.MStreamTell_RO(&source_)); }

    uint64_t stream_size() const { return stream_size_; }  // 0 when it is not known
    uint32_t code() const { return code_; }

private:
    bool good() const { return code_ == SPLITER_OK; }

    const CASFBase &base_;
    StreamSource &source_;
    const uint64_t stream_size_;
    uint32_t code_ = SPLITER_OK;
};

}  // namespace quorv

#endif
