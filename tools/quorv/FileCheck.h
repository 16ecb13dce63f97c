// Checks one file by its name, whatever it turns out to be.
#ifndef QUORV_TOOLS_QUORV_FILECHECK_H
#define QUORV_TOOLS_QUORV_FILECHECK_H

#include <functional>
#include <string>

#include "Finding.h"

namespace quorv::tool {

// Never throws a Failure: what cannot be read, or is of none of the known formats, has a verdict of its own.
// `progress` is told how many of the file's bytes have been dealt with, and may throw.
CheckResult check_file(const std::string &path, bool digests, const std::function<void(uint64_t)> &progress);

}  // namespace quorv::tool

#endif
