// What the commands share: how they are put on the command line and carried out on the user's files.
#ifndef QUORV_TOOLS_QUORV_COMMANDLINE_H
#define QUORV_TOOLS_QUORV_COMMANDLINE_H

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "Failure.h"
#include "FileSource.h"
#include "OutputStream.h"

namespace quorv::tool {

// What is shared by the commands of one run.
struct Session {
    CLI::App &app;
    OutputStream &out;                 // standard output
    std::function<ExitCode()> action;  // of the chosen command
};

// Thrown for a value that an option does not take; what() names the option and the reason.
class BadValue : public CLI::ParseError {
public:
    BadValue(const CLI::Option &option, const std::string &reason);
};

// Adds a command with its line in the list of them and what stands below its options. The action is for when
// the user chooses it.
CLI::App &add_command(Session &session, const std::string &name, const std::string &description,
                      const std::string &footer, const std::function<ExitCode()> &action);

// Options of several commands.
void add_input(CLI::App &command, std::string &file, const std::string &description);
CLI::Option &add_output(CLI::App &command, std::string &path,
                        const std::string &description = "The file to write, or - for standard output");
void add_json(CLI::App &command, bool &wanted, const std::string &item);

struct NumberRange {
    uint32_t first = 1, last = std::numeric_limits<uint32_t>::max();
};

// An option that takes a whole number. The help text does not tell its limits: those of 32 bits are of no
// use.
template <typename Number>
CLI::Option &add_number(CLI::App &command, const std::string &name, Number &value,
                        const std::string &placeholder, const std::string &description,
                        NumberRange range = {});
CLI::Option &add_track(CLI::App &command, uint32_t &number,
                       const std::string &description = "Only this track, counted from 1");

// Throws BadValue unless the text is a whole number in the range.
void check_number(const CLI::Option &option, const std::string &text, NumberRange range);

// How messages call an input.
std::string input_name(const std::string &path);

// Opens one input file and does the work on it. A Failure ends it with a line on standard error that names
// the file, except for a WriteFailure, which is not the input's: it passes through.
ExitCode run_on_file(OutputStream &out, const std::string &path,
                     const std::function<void(FileSource &)> &work);

template <typename Number>
CLI::Option &add_number(CLI::App &command, const std::string &name, Number &value,
                        const std::string &placeholder, const std::string &description, NumberRange range) {
    CLI::Option &option = *command.add_option(name, value, description)->type_name(placeholder);
    option.check([&option, range](const std::string &text) {
        check_number(option, text, range);
        return std::string();
    });
    return option;
}

}  // namespace quorv::tool

#endif
