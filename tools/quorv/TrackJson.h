// A file's description for programs.
#ifndef QUORV_TOOLS_QUORV_TRACKJSON_H
#define QUORV_TOOLS_QUORV_TRACKJSON_H

#include <string>

#include "Json.h"
#include "MediaFile.h"

namespace quorv::tool {

Json file_json(const std::string &name, MediaFile &media);

}  // namespace quorv::tool

#endif
