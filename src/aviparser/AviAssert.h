// Assertions of the splitter's own invariants: nothing in a file can make one fail. Their texts and file
// names are fixed; they do not follow when the source is moved or renamed.
#ifndef QUORV_SRC_AVIPARSER_AVIASSERT_H
#define QUORV_SRC_AVIPARSER_AVIASSERT_H

#include <stdio.h>
#include <stdlib.h>

namespace quorv {

inline void avi_assert(bool holds, const char *text, const char *file) {
    if (holds) return;
    fprintf(stderr, "%s: assertion failed: %s\n", file, text);
    abort();
}

}  // namespace quorv

#endif
