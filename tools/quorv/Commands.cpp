// What the commands have in common; see the header.

#include "Commands.h"

#include <new>

#include "Text.h"

namespace quorv::tool {

CLI::App *add_command(Session &session, const std::string &name, const std::string &description) {
    return session.app.add_subcommand(name, description)->group("Commands");
}

CLI::Validator in_range(uint32_t first, uint32_t last) {
    const auto check = [first, last](const std::string &text) -> std::string {
        int64_t value = 0;
        if (!CLI::detail::lexical_cast(text, value)) return "'" + text + "' is not a whole number";
        if (value < int64_t{first}) return text + " is less than " + std::to_string(first);
        if (value > int64_t{last}) return text + " is more than " + std::to_string(last);
        return {};
    };
    return {check, ""};
}

std::string input_name(const std::string &file) {
    return file == "-" ? "standard input" : file;
}

ExitCode run_on_file(OutputStream &out, const std::string &file, const std::function<void()> &work) {
    const auto report = [&](const char *reason, ExitCode code) {
        out.flush();
        complain(input_name(file), reason);
        return code;
    };
    try {
        work();
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
