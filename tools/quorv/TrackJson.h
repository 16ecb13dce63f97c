// A file's description for programs.
#ifndef QUORV_TOOLS_QUORV_TRACKJSON_H
#define QUORV_TOOLS_QUORV_TRACKJSON_H

#include <string>

#include "Container.h"
#include "Json.h"

namespace quorv::tool {

Json file_json(const std::string &name, const Container &container);

}  // namespace quorv::tool

#endif
