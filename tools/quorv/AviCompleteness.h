// Tells whether an AVI file ends where its own headers say.
#ifndef QUORV_TOOLS_QUORV_AVICOMPLETENESS_H
#define QUORV_TOOLS_QUORV_AVICOMPLETENESS_H

#include <string>

#include "FileSource.h"

namespace quorv::tool {

// Empty for a whole file, and for one whose writer left the sizes open.
std::string find_avi_damage(FileSource &file);

}  // namespace quorv::tool

#endif
