// The command line: hands the arguments to the commands, and their outcome to the shell.

#include <fcntl.h>
#include <fmt/format.h>
#include <quorv/version.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <iostream>
#include <string_view>
#include <vector>

#include "Commands.h"
#include "Interrupt.h"
#include "Text.h"
#include "Usage.h"

namespace quorv::tool {

namespace {

std::string version_text() {
    return fmt::format("quorv {}.{}.{}", QUORV_VERSION_MAJOR, QUORV_VERSION_MINOR, QUORV_VERSION_PATCH);
}

// A file opened while one of the three is closed would take its number, and output meant for a person would
// end up in it. What is opened here fails when it is used, as the closed one does.
void hold_standard_streams() {
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(number, F_GETFD) == -1)
            static_cast<void>(::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

// Without the program's name; "help COMMAND" is "COMMAND --help". The parser would take a name in brackets
// for a list of names, so such a one is led by its folder.
std::vector<std::string> arguments(int argc, char **argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string_view text = argv[i];
        const bool bracketed = text.starts_with('[') && text.ends_with(']');
        words.push_back((bracketed ? "./" : "") + std::string(text));
    }
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    return words;
}

void describe(CLI::App &app) {
    app.description("Takes media files apart: lists tracks and frames, extracts and decodes streams.");
    app.set_version_flag("-V,--version", version_text());
    app.require_subcommand(1);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Positionals", "Arguments");
    app.footer(
        "Examples:\n"
        "  quorv info holiday.avi\n"
        "  quorv frames holiday.avi --track 1 --json --md5\n"
        "  quorv extract holiday.avi --track 2 -o holiday.mp3\n"
        "  quorv headers holiday.h264\n"
        "  quorv decode *.mp3\n"
        "  quorv repair unfinished.avi -o whole.avi\n"
        "\n"
        "'quorv help COMMAND' tells more. Exit status: 0 done, 1 the file is damaged or not\n"
        "supported, 2 wrong usage, 3 the file or the output could not be read or written.");
}

ExitCode complain_of_usage(const CLI::App &app, const std::vector<std::string> &words,
                           const CLI::ParseError &error) {
    std::cerr << "quorv: " << printable(explain_usage(app, words, error)) << "\n";
    return ExitCode::Usage;
}

ExitCode run(int argc, char **argv, OutputStream &out) {
    CLI::App app("", "quorv");
    Session session{app, out, {}};
    describe(app);
    add_info_command(session);
    add_frames_command(session);
    add_extract_command(session);
    add_headers_command(session);
    add_decode_command(session);
    add_repair_command(session);
    add_report_command(session);
    add_check_command(session);
    const std::vector<std::string> words = arguments(argc, argv);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // as the parser wants them
    } catch (const CLI::CallForHelp &help) {
        if (!app.remaining().empty()) return complain_of_usage(app, words, help);
        out.write(app.help());
        return ExitCode::Ok;
    } catch (const CLI::CallForVersion &) {
        out.write(version_text() + "\n");
        return ExitCode::Ok;
    } catch (const CLI::ParseError &error) {
        return complain_of_usage(app, words, error);
    }
    return session.action();
}

}  // namespace
}  // namespace quorv::tool

int main(int argc, char **argv) {
    using namespace quorv::tool;
    hold_standard_streams();
    // Names and tags are UTF-8, whatever else a user has set; how wide their characters are depends on this.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    // A closed pipe and a file at its size limit are reported by the write that meets them.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    handle_interrupts();
    OutputStream out(STDOUT_FILENO, "standard output");
    ExitCode code = ExitCode::Ok;
    try {
        code = run(argc, argv, out);
        out.flush();
    } catch (const OutputClosed &) {
        // Whoever reads has seen enough. What failed before that has been reported.
    } catch (const WriteFailure &failure) {
        complain(failure.output, failure.what());
        code = failure.code;
    } catch (const std::exception &error) {
        complain("internal error", error.what());
        code = ExitCode::Io;
    }
    return static_cast<int>(code);
}
