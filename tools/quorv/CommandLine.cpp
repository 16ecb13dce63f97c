// What the commands share; see the header.

#include "CommandLine.h"

#include <cstdlib>
#include <new>

#include "Text.h"

namespace quorv::tool {

BadValue::BadValue(const CLI::Option &option, const std::string &reason)
    : CLI::ParseError("BadValue", fmt::format("{}: {}", option.get_name(), reason),
                      CLI::ExitCodes::ValidationError) {}

CLI::App &add_command(Session &session, const std::string &name, const std::string &description,
                      const std::string &footer, const std::function<ExitCode()> &action) {
    CLI::App &command = *session.app.add_subcommand(name, description)->group("Commands");
    command.footer(footer);
    command.callback([&session, action] { session.action = action; });
    return command;
}

void add_input(CLI::App &command, std::string &file, const std::string &description) {
    command.add_option("FILE", file, description)->type_name("")->required();
}

CLI::Option &add_output(CLI::App &command, std::string &path, const std::string &description) {
    return *command.add_option("-o,--output", path, description)->type_name("OUT");
}

void add_json(CLI::App &command, bool &wanted, const std::string &item) {
    command.add_flag("--json", wanted, fmt::format("One JSON object a {}, each on a line", item));
}

CLI::Option &add_track(CLI::App &command, uint32_t &number, const std::string &description) {
    return add_number(command, "--track", number, "N", description);
}

// Reads numbers as the parser does that converts them afterwards: hexadecimal ones as well.
void check_number(const CLI::Option &option, const std::string &text, NumberRange range) {
    char *end = nullptr;
    const int64_t value = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || end != text.c_str() + text.size())
        throw BadValue(option, fmt::format("'{}' is not a whole number", text));
    if (value < int64_t{range.first})
        throw BadValue(option, fmt::format("{} is less than {}", text, range.first));
    if (value > int64_t{range.last})
        throw BadValue(option, fmt::format("{} is more than {}", text, range.last));
}

std::string input_name(const std::string &path) {
    return path == "-" ? "standard input" : path;
}

ExitCode run_on_file(OutputStream &out, const std::string &path,
                     const std::function<void(FileSource &)> &work) {
    const auto report = [&](const char *reason, ExitCode code) {
        out.flush();
        complain(input_name(path), reason);
        return code;
    };
    try {
        FileSource file(path);
        work(file);
        return ExitCode::Ok;
    } catch (const WriteFailure &) {
        throw;
    } catch (const Failure &failure) {
        return report(failure.what(), failure.code);
    } catch (const std::bad_alloc &) {
        return report("out of memory", ExitCode::Io);
    }
}

}  // namespace quorv::tool
