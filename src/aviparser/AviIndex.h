// The legacy index: the "idx1" chunk behind the media data, read in blocks of 64 KB as it is needed.
#ifndef QUORV_SRC_AVIPARSER_AVIINDEX_H
#define QUORV_SRC_AVIPARSER_AVIINDEX_H

#include "aviparser/AviContext.h"
#include "splitter/Code.h"

namespace quorv {

// Looks for the index and reads one block of it. Only Code::NoMemory and, for a local source, a failed seek
// back to where the stream stood are errors: a file without an index, or with one that cannot be read or has
// not arrived, plays on without.
Code avi_load_index(AviContext *context);

// Reads the next block of an index that was found into the tracks' arrays. A failed read ends the index for
// good, but not where all details are wanted: then it is tried again. Its code is returned.
Code avi_read_idx1(AviContext *context);

// avi_load_index that says whether it came any further; no, too, when nothing is left to read.
Code avi_load_more_index(AviContext *context, Found *more);

// Reads on as long as `missing()` says that something is missing and more of the index comes.
template <typename Missing>
Code avi_load_index_while(AviContext *context, Missing missing) {
    Found more = Found::Yes;
    while (more == Found::Yes && missing()) {
        const Code code = avi_load_more_index(context, &more);
        if (code != Code::Ok) return code;
    }
    return Code::Ok;
}

}  // namespace quorv

#endif
