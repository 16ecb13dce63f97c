// Tells whether an AVI file ends where its own headers say.
#ifndef QUORV_SRC_AVIPARSER_AVICOMPLETENESS_H
#define QUORV_SRC_AVIPARSER_AVICOMPLETENESS_H

#include "aviparser/AviContext.h"

namespace quorv {

// How many bytes are missing at the end, by the outermost chunks of every segment; 0 for a whole file, for
// one whose writer left the sizes open, and when the source does not know its size.
Code avi_count_missing_bytes(AviContext *context, int64_t *missing);

}  // namespace quorv

#endif
