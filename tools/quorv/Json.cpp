// The one way in which the tool writes for programs; see the header.

#include "Json.h"

namespace quorv::tool {

std::string json_line(const Json &json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace quorv::tool
