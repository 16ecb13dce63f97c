// What is wrong with a command line, in the tool's own words.
#ifndef QUORV_TOOLS_QUORV_USAGE_H
#define QUORV_TOOLS_QUORV_USAGE_H

#include <CLI/CLI.hpp>

#include <string>

namespace quorv::tool {

// One line that ends with where to read more.
std::string explain_usage(const CLI::App &app, const CLI::ParseError &error);

}  // namespace quorv::tool

#endif
