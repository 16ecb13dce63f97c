// Zero bytes where chunks are expected, as preallocated files have them.
#ifndef QUORV_SRC_AVIPARSER_AVIZERORUN_H
#define QUORV_SRC_AVIPARSER_AVIZERORUN_H

#include "aviparser/AviContext.h"

namespace quorv {

// Whether a chunk header is one of zero bytes, which names nothing.
constexpr bool avi_is_zero_header(uint32_t tag, uint32_t size) {
    return tag == 0 && size == 0;
}

// Where the zero bytes end that begin with such a header: the position of the first other byte, or `end`
// when there is none within 64 MB, in a source of unknown size within 128 KB. Bytes that cannot be read end
// the run, too, and are left to the caller's next read.
int64_t avi_skip_zeros(AviContext *context, int64_t position, int64_t end);

}  // namespace quorv

#endif
