// Where the outermost objects of an ASF file end.
#ifndef QUORV_TOOLS_QUORV_ASFOUTLINE_H
#define QUORV_TOOLS_QUORV_ASFOUTLINE_H

#include "FileSource.h"

namespace quorv::tool {

// Behind the last object that is whole; the file's size where an object's own size is left open, as live ones
// have it.
uint64_t asf_objects_end(FileSource &file);

}  // namespace quorv::tool

#endif
