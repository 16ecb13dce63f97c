// What the commands have in common; see the header.

#include "Commands.h"

#include <new>

#include "Text.h"

namespace quorv::tool {

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
