// What is wrong with a command line, in the tool's own words.
#ifndef QUORV_TOOLS_QUORV_USAGE_H
#define QUORV_TOOLS_QUORV_USAGE_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace quorv::tool {

// One line that ends with where to read more. The words are those that could not be parsed.
std::string explain_usage(const CLI::App &app, const std::vector<std::string> &words,
                          const CLI::ParseError &error);

}  // namespace quorv::tool

#endif
