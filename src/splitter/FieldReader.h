// Reads the fields of a header one after the other.
#ifndef QUORV_SRC_SPLITTER_FIELDREADER_H
#define QUORV_SRC_SPLITTER_FIELDREADER_H

#include "splitter/Code.h"
#include "splitter/StreamSource.h"

namespace quorv {

// The first failure is kept and ends the reading: what is read after it is 0. So a run of fields is read
// without a word, and `code` is asked behind it. Fields that do not lie wholly inside the header are 0, too.
class FieldReader {
public:
    // How the container's integers are read: one of 2, 4 or 8 bytes, little-endian.
    using ReadInteger = Code (*)(StreamSource *source, uint32_t width, uint64_t *value);

    FieldReader(StreamSource *source, uint64_t size, ReadInteger read_integer)
        : source_(*source), left_(size), read_integer_(read_integer) {}

    uint32_t le16() { return static_cast<uint32_t>(integer(2)); }
    uint32_t le32() { return static_cast<uint32_t>(integer(4)); }
    uint64_t le64() { return integer(8); }
    // Forward, at most to the end of the header.
    void skip(uint64_t count);

    uint64_t left() const { return left_; }
    Code code() const { return code_; }

protected:
    bool good() const { return code_ == Code::Ok; }
    StreamSource &source() { return source_; }
    // Keeps a result.
    void keep(Code code) { code_ = code; }
    // Takes so many of the bytes that are left, or all; returns how many.
    uint64_t take(uint64_t count);

private:
    uint64_t integer(uint32_t width);

    StreamSource &source_;
    uint64_t left_;
    const ReadInteger read_integer_;
    Code code_ = Code::Ok;
};

}  // namespace quorv

#endif
