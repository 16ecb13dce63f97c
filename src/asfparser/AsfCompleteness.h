// Tells whether an ASF file ends where its own objects say.
#ifndef QUORV_SRC_ASFPARSER_ASFCOMPLETENESS_H
#define QUORV_SRC_ASFPARSER_ASFCOMPLETENESS_H

#include "asfparser/AsfContext.h"

namespace quorv {

// How many bytes are missing at the end of an open file, by its outermost objects; 0 for a whole file, for
// one whose writer left a size open, and when the source does not know its size; -1 when that is not known.
Code asf_count_missing_bytes(AsfContext *context, int64_t *missing);

}  // namespace quorv

#endif
