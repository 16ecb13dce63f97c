// Tells whether a file ends where its own headers say.
#ifndef QUORV_TOOLS_QUORV_COMPLETENESS_H
#define QUORV_TOOLS_QUORV_COMPLETENESS_H

#include <string>

#include "FileSource.h"

namespace quorv::tool {

// Empty for a whole file, and for one whose writer left the sizes open.
std::string find_avi_damage(FileSource &file);
std::string find_asf_damage(FileSource &file);

// The same for a file whose headers declare that length.
std::string compare_length(uint64_t declared, const FileSource &file);

}  // namespace quorv::tool

#endif
