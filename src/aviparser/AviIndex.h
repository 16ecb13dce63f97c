// The legacy index: the "idx1" chunk behind the media data, read in blocks of 64 KB as it is needed.
#ifndef QUORV_SRC_AVIPARSER_AVIINDEX_H
#define QUORV_SRC_AVIPARSER_AVIINDEX_H

#include <stdint.h>

#include "platform/MemoryOwner.h"
#include "splitter/Code.h"

namespace quorv {

struct AviContext;

struct AviLegacyIndex {
    int64_t search;        // where the search for the chunk goes on, 0 before it has begun
    int64_t position;      // next unread byte, 0 while the chunk has not been found
    int64_t end;           // where reading entries ends
    int64_t declared_end;  // where the chunk itself says that it ends
    int64_t base;          // what offsets count from
    int64_t previous;      // position of the entry before
    Owned<uint8_t[]> block;
    bool complete;  // or no track needs it: all have OpenDML indexes
    bool absent;
    bool read_failed;

    // Whether another block could be read.
    bool pending() const { return !complete && !absent; }
};

// Looks for the index and reads one block of it. Only Code::NoMemory and, for a local source, a failed seek
// back to where the stream stood are errors: a file without an index, or with one that cannot be read or has
// not arrived, plays on without.
Code avi_load_index(AviContext *context);

// Reads the next block of an index that was found into the tracks' arrays. A failed read ends the index for
// good and its code is returned.
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
