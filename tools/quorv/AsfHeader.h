// What the header of an ASF file tells in objects that the library passes over: when it was written, the
// languages of its tracks, and how its writer calls their codecs.
#ifndef QUORV_TOOLS_QUORV_ASFHEADER_H
#define QUORV_TOOLS_QUORV_ASFHEADER_H

#include "Tags.h"

namespace quorv::tool {

void read_asf_header(FileSource &file, Tags *tags);

}  // namespace quorv::tool

#endif
