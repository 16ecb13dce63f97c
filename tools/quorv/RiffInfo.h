// What a RIFF file's INFO list says: title, software and the like.
#ifndef QUORV_TOOLS_QUORV_RIFFINFO_H
#define QUORV_TOOLS_QUORV_RIFFINFO_H

#include "FileSource.h"
#include "Tags.h"

namespace quorv::tool {

// Of all INFO lists of the first segment, wherever in it they stand, and of the dates that cameras write
// into the header.
void read_riff_info(FileSource &file, Tags *tags);

}  // namespace quorv::tool

#endif
