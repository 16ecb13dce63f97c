// The page of a report, put together from what is known of a file.
#ifndef QUORV_TOOLS_QUORV_REPORTPAGE_H
#define QUORV_TOOLS_QUORV_REPORTPAGE_H

#include <string>

#include "Finding.h"
#include "Json.h"

namespace quorv::tool {

// The description is what `info` prints for programs, the charts are sections that stand below the findings.
std::string report_page(const Json &description, const CheckResult &check, const std::string &charts);

}  // namespace quorv::tool

#endif
