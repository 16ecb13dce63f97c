// Runs the real executable as a shell would, and keeps what it said.
#ifndef QUORV_TESTS_TOOL_TOOLRUN_H
#define QUORV_TESTS_TOOL_TOOLRUN_H

#include <cstddef>
#include <string>
#include <vector>

#include "support/ByteStores.h"

namespace quorv::test {

// Where the tool's standard streams lead. The default: nothing to read, all output is kept.
struct Streams {
    std::string input_path = "/dev/null";
    const Bytes *piped_input = nullptr;  // through a pipe, instead of the file
    std::string output_path = {};        // a file that standard output is appended to, instead of being kept
    bool terminal_output = false;        // standard output is a terminal; what it shows is kept
    bool close_output = false;           // standard output is closed
    size_t read_at_most = SIZE_MAX;      // bytes; then the reader of the output goes away
};

struct ToolRun {
    int exit_code = -1;  // minus the signal's number when one ended the tool
    std::string out, err;
};

ToolRun run_tool(const std::vector<std::string> &arguments, const Streams &streams = {});
// Any program of the search path.
ToolRun run_program(const std::vector<std::string> &command, const Streams &streams = {});

std::vector<std::string> lines_of(const std::string &text);

}  // namespace quorv::test

#endif
