// The tool's commands. Each adds itself to the command line; the one that the user chose leaves its action.
#ifndef QUORV_TOOLS_QUORV_COMMANDS_H
#define QUORV_TOOLS_QUORV_COMMANDS_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <string>

#include "Failure.h"
#include "OutputStream.h"

namespace quorv::tool {

// What is shared by the commands of one run.
struct Session {
    CLI::App &app;
    OutputStream &out;                 // standard output
    std::function<ExitCode()> action;  // of the chosen command
};

void add_info_command(Session &session);
void add_frames_command(Session &session);
void add_extract_command(Session &session);
void add_headers_command(Session &session);
void add_decode_command(Session &session);

// Does the work on one input file. A Failure ends it with a line on standard error that names the file,
// except for a WriteFailure, which is not the input's: it passes through.
ExitCode run_on_file(OutputStream &out, const std::string &file, const std::function<void()> &work);

// Adds a command with its line in the list of them.
CLI::App *add_command(Session &session, const std::string &name, const std::string &description);

// Checks an option's number. Says nothing in the help text: the limits of 32 bits are of no use there.
CLI::Validator in_range(uint32_t first, uint32_t last);

// How messages call an input.
std::string input_name(const std::string &file);

}  // namespace quorv::tool

#endif
