// Compares the sound of an MPEG audio file with the check sum that its encoder wrote in front of it.
#ifndef QUORV_TOOLS_QUORV_MUSICCHECK_H
#define QUORV_TOOLS_QUORV_MUSICCHECK_H

#include <string>

#include "MediaFile.h"

namespace quorv::tool {

// What is wrong; empty where the sum fits, and where there is none that could be trusted: its own header is
// checked by another sum, and who adjusted the loudness in place left a tag that says so. The media begins
// anew. Throws Failure.
std::string check_music(FileSource &file, MediaFile &media);

}  // namespace quorv::tool

#endif
