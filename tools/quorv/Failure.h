// What ends a command early, and the exit code that says so to the shell.
#ifndef QUORV_TOOLS_QUORV_FAILURE_H
#define QUORV_TOOLS_QUORV_FAILURE_H

#include <cstring>
#include <stdexcept>
#include <string>

namespace quorv::tool {

// Ordered from good to bad: a command over several files exits with the largest.
enum class ExitCode {
    Ok = 0,
    BadFile = 1,  // the file is damaged or not supported
    Usage = 2,    // the command line makes no sense, by itself or for this file
    Io = 3        // the system refused: open, read, write, memory
};

// The message says what is wrong, without the file's name.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exit_code, const std::string &reason) : std::runtime_error(reason), code(exit_code) {}

    ExitCode code;
};

inline Failure io_failure(int error_number) {
    return {ExitCode::Io, std::strerror(error_number)};
}

// An output that could not be written. It brings its name, as messages otherwise name the input.
class WriteFailure : public Failure {
public:
    WriteFailure(std::string output_name, int error_number)
        : Failure(ExitCode::Io, std::strerror(error_number)), output(std::move(output_name)) {}

    std::string output;
};

// Whoever read the output has seen enough: not an error, nothing is said.
class OutputClosed : public std::exception {};

}  // namespace quorv::tool

#endif
