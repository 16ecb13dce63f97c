// A file's description for programs.
#ifndef QUORV_TOOLS_QUORV_TRACKJSON_H
#define QUORV_TOOLS_QUORV_TRACKJSON_H

#include <string>

#include "Json.h"
#include "MediaFile.h"
#include "Tags.h"

namespace quorv::tool {

Json file_json(const std::string &name, const FileSource &file, MediaFile &media, const Tags &tags);

}  // namespace quorv::tool

#endif
