// The legacy index: the "idx1" chunk behind the media data, read in blocks of 64 KB as it is needed.
#ifndef QUORV_SRC_AVIPARSER_AVIINDEX_H
#define QUORV_SRC_AVIPARSER_AVIINDEX_H

#include "aviparser/AviContext.h"

namespace quorv {

// Looks for the index and reads one block of it. Only SPLITER_ERR_NO_MEMORY and, for a local source, a failed
// seek back to where the stream stood are errors: a file without an index, or with one that cannot be read or
// has not arrived, plays on without.
uint32_t avi_load_index(AviContext *context);

// Reads the next block of an index that was found into the tracks' arrays. A failed read ends the index for
// good and its code is returned.
uint32_t avi_read_idx1(AviContext *context);

// Whether another block could be read.
constexpr bool avi_index_pending(const AviContext &context) {
    return !context.index_complete && !context.index_absent;
}

// avi_load_index that says whether it came any further; false also when nothing is left to read.
bool avi_load_more_index(AviContext *context, uint32_t *code);

}  // namespace quorv

#endif
