// Where the outermost parts of an AVI file and its indexes lie, as far as its lists tell.
#ifndef QUORV_TOOLS_QUORV_AVIOUTLINE_H
#define QUORV_TOOLS_QUORV_AVIOUTLINE_H

#include <vector>

#include "FileSource.h"
#include "Riff.h"

namespace quorv::tool {

struct AviOutline {
    uint64_t media = 0;                  // position of the first media list's type; 0 when there is none
    uint64_t declared_end = 0;           // of the last RIFF; the file's size when that is left open
    bool may_have_index = false;         // it is of the kind that has one
    std::vector<ByteRange> indexes;      // the data of OpenDML indexes with entries of chunks
    std::vector<ByteRange> old_indexes;  // the data of "idx1"
    std::vector<uint64_t> lost_indexes;  // where a list names an index chunk, and none is
};

// What makes no sense is left out. Throws Failure.
AviOutline read_avi_outline(FileSource &file);

}  // namespace quorv::tool

#endif
