// The one way in which the tool writes for programs.
#ifndef QUORV_TOOLS_QUORV_JSON_H
#define QUORV_TOOLS_QUORV_JSON_H

#include <string>

#include <nlohmann/json.hpp>

namespace quorv::tool {

// Keys stay in the order in which they are added.
using Json = nlohmann::ordered_json;

// The object on a line of its own. Texts need not be UTF-8: what is not becomes the replacement character.
std::string json_line(const Json &json);

}  // namespace quorv::tool

#endif
