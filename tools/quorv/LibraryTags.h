// Tags of MPEG audio files (ID3v1, ID3v2, APE) and of ASF files, by TagLib.
#ifndef QUORV_TOOLS_QUORV_LIBRARYTAGS_H
#define QUORV_TOOLS_QUORV_LIBRARYTAGS_H

#include "FileSource.h"
#include "Tags.h"

namespace quorv::tool {

// All ID3v2 tags in a row at the beginning count, and some between frames there and behind the end that an
// encoder gives, an earlier one before a later one.
void read_mpeg_audio_tags(FileSource &file, uint64_t stated_end, Tags *tags);
void read_asf_tags(FileSource &file, Tags *tags);

}  // namespace quorv::tool

#endif
