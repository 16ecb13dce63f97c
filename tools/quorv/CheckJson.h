// What a check comes to, for programs.
#ifndef QUORV_TOOLS_QUORV_CHECKJSON_H
#define QUORV_TOOLS_QUORV_CHECKJSON_H

#include "Finding.h"
#include "Json.h"

namespace quorv::tool {

// An object with all keys; places that a finding does not have are null.
Json result_json(const CheckResult &result);

}  // namespace quorv::tool

#endif
