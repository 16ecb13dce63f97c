// Fields of a header; see the header.

#include "splitter/FieldReader.h"

#include <algorithm>

namespace quorv {

uint64_t FieldReader::take(uint64_t count) {
    count = std::min(count, left_);
    left_ -= count;
    return count;
}

uint64_t FieldReader::integer(uint32_t width) {
    if (!good() || take(width) < width) return 0;
    uint64_t value = 0;
    code_ = read_integer_(&source_, width, &value);
    return value;
}

void FieldReader::skip(uint64_t count) {
    if (!good()) return;
    count = std::min(take(count), uint64_t{INT64_MAX});
    if (count != 0) code_ = source_.seek(SeekOrigin::Current, static_cast<int64_t>(count));
}

}  // namespace quorv
