// quorv check: reads files to their ends and says what is wrong with them, and where.

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>

#include "CheckJson.h"
#include "CheckPool.h"
#include "Commands.h"
#include "Manifest.h"
#include "OutputFile.h"
#include "Progress.h"
#include "Text.h"

namespace quorv::tool {

namespace {

struct CheckOptions {
    std::vector<std::string> paths;
    std::string names;  // a file with further paths
    bool zero_separated = false;
    uint32_t jobs = 1;
    bool json = false;
    bool md5 = false;
    std::string save, against;  // manifests; empty for none

    bool wants_digests() const { return md5 || !save.empty() || !against.empty(); }
};

constexpr uint32_t kMostJobs = 256;

std::string_view verdict_text(Verdict verdict) {
    return verdict == Verdict::Remarks ? "sound, with remarks" : verdict_name(verdict);
}

std::string finding_text(const Finding &finding) {
    std::string text = finding.severity == Severity::Damage ? "  damage" : "  remark";
    if (finding.time_ms >= 0) text += fmt::format("  {}", time_text(static_cast<uint64_t>(finding.time_ms)));
    if (finding.offset >= 0) text += fmt::format("  at {}", finding.offset);
    if (finding.track != 0) text += fmt::format("  track {}", finding.track);
    return text + fmt::format("  {}\n", printable(finding.text));
}

// A line a file, and the details below it.
void write_text(OutputStream &out, const CheckResult &result) {
    const std::string name = printable(input_name(result.file));
    if (result.verdict == Verdict::Foreign || result.verdict == Verdict::Unreadable) {
        out.print("{}: {}: {}\n", name, verdict_text(result.verdict), result.findings.at(0).text);
        return;
    }
    const Style style = style_for(out);
    out.print("{}{}: {}{}\n", style.strong, name, verdict_text(result.verdict), style.end);
    for (const Finding &finding : result.findings)
        out.write(finding_text(finding));
}

// What a file's verdict means for the shell. What is found in a folder need not be a media file.
ExitCode verdict_code(Verdict verdict, bool is_named) {
    switch (verdict) {
        case Verdict::Unreadable:
            return ExitCode::Io;
        case Verdict::Damaged:
            return ExitCode::BadFile;
        case Verdict::Foreign:
            return is_named ? ExitCode::BadFile : ExitCode::Ok;
        default:
            return ExitCode::Ok;
    }
}

uint64_t size_of(const ListedFile &file) {
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(file.path, error);
    return error ? 0 : size;
}

// A list or a manifest cannot be used, which has been said.
struct Refused {
    ExitCode code;
};

template <typename Work>
auto blaming(const std::string &name, const Work &work) {
    try {
        return work();
    } catch (const WriteFailure &) {
        throw;
    } catch (const Failure &failure) {
        complain(input_name(name), failure.what());
        throw Refused{failure.code};
    }
}

class CheckRun {
public:
    CheckRun(OutputStream &out, const CheckOptions &options) : out_(out), options_(options) {}

    ExitCode run();

private:
    std::vector<std::string> all_paths() const;
    void open_manifests();
    void take(CheckResult result, bool is_named);
    void show(const CheckResult &result, bool is_named);
    void show_missing(const std::vector<std::string> &paths);
    void write_summary();

    OutputStream &out_;
    const CheckOptions &options_;
    Progress progress_;
    std::optional<Manifest> known_;
    std::unique_ptr<OutputFile> saved_;
    std::array<uint64_t, 5> counts_ = {};  // of each verdict
    ExitCode code_ = ExitCode::Ok;
};

std::vector<std::string> CheckRun::all_paths() const {
    std::vector<std::string> paths = options_.paths;
    if (options_.names.empty()) return paths;
    const std::vector<std::string> more =
        blaming(options_.names, [&] { return read_names(options_.names, options_.zero_separated); });
    paths.insert(paths.end(), more.begin(), more.end());
    return paths;
}

void CheckRun::open_manifests() {
    const std::string &known = options_.against, &saved = options_.save;
    if (!known.empty()) known_ = blaming(known, [&] { return Manifest(known); });
    if (saved.empty()) return;
    saved_ = blaming(saved, [&] {
        std::error_code error;
        if (std::filesystem::exists(saved, error) && !Manifest::is_manifest(saved))
            throw Failure(ExitCode::Usage, "it is there and no manifest, and stays as it is");
        return std::make_unique<OutputFile>(saved);
    });
    saved_->stream().write(manifest_head());
}

ExitCode CheckRun::run() {
    const std::vector<std::string> paths = all_paths();
    const std::vector<ListedFile> files = list_files(paths);
    open_manifests();
    uint64_t total = 0;
    for (const ListedFile &file : files)
        total += progress_.is_enabled() ? size_of(file) : 0;
    CheckPool pool(files, options_.jobs, options_.wants_digests());
    for (const ListedFile &file : files)
        take(pool.next([&](uint64_t bytes) { progress_.update(bytes, total); }), file.is_named);
    show_missing(paths);
    progress_.hide();
    if (!options_.json) write_summary();
    if (saved_) saved_->finish();
    return code_;
}

void CheckRun::take(CheckResult result, bool is_named) {
    if (saved_ && !result.md5.empty()) saved_->stream().write(manifest_line(result));
    if (known_) known_->compare(result);
    show(result, is_named);
}

// Each is written at once: who interrupts the run has what was found before.
void CheckRun::show(const CheckResult &result, bool is_named) {
    ++counts_[static_cast<size_t>(result.verdict)];
    code_ = std::max(code_, verdict_code(result.verdict, is_named));
    progress_.hide();
    if (options_.json) {
        out_.write(json_line(result_json(result)));
    } else {
        write_text(out_, result);
    }
    out_.flush();
}

// What the manifest has in the folders that were searched, and nobody found.
void CheckRun::show_missing(const std::vector<std::string> &paths) {
    if (!known_) return;
    for (const std::string &name : known_->missing(paths)) {
        CheckResult result;
        result.file = name;
        result.conclude(Verdict::Unreadable, "manifest_missing", "it is in the manifest, and not there");
        show(result, true);
    }
}

void CheckRun::write_summary() {
    uint64_t all = 0;
    std::string text;
    for (const Verdict verdict :
         {Verdict::Sound, Verdict::Remarks, Verdict::Damaged, Verdict::Unreadable, Verdict::Foreign}) {
        const uint64_t count = counts_[static_cast<size_t>(verdict)];
        if (count == 0) continue;
        text += fmt::format("{}{} {}", all == 0 ? ": " : ", ", count,
                            verdict == Verdict::Remarks ? "sound with remarks" : verdict_name(verdict));
        all += count;
    }
    out_.print("{}{}\n", counted(all, "file"), text);
}

ExitCode run(OutputStream &out, const CheckOptions &options) {
    if (options.save == "-") {
        complain("--save", "a manifest needs a file of its own");
        return ExitCode::Usage;
    }
    if (options.paths.empty() && options.names.empty()) {
        complain("check", "FILE is required, or --files-from (try 'quorv check --help')");
        return ExitCode::Usage;
    }
    try {
        return CheckRun(out, options).run();
    } catch (const Refused &refused) {
        return refused.code;
    }
}

}  // namespace

void add_check_command(Session &session) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App &command = add_command(
        session, "check", "Read files to their ends and say what is wrong with them",
        "Examples:\n"
        "  quorv check holiday.avi\n"
        "  quorv check -j 4 archive/\n"
        "  find archive -name '*.avi' -print0 | quorv check --json -0 --files-from -\n"
        "\n"
        "Exit status: 0 all is sound, 1 a file is damaged or one that was named is no media file,\n"
        "3 a file cannot be read.",
        [&session, options] { return run(session.out, *options); });
    command.add_option("FILE", options->paths, "Files, folders, or - for standard input")->type_name("");
    command
        .add_option("--files-from", options->names,
                    "Read further names from this file, one a line, or - for standard input")
        ->type_name("LIST");
    command.add_flag("-0,--null", options->zero_separated, "Names in the list end with a zero byte");
    add_number(command, "-j,--jobs", options->jobs, "N", "Check so many files at a time", {1, kMostJobs});
    add_json(command, options->json, "file");
    command.add_flag("--md5", options->md5, "Add the MD5 digests of the tracks and of the file to the JSON");
    command
        .add_option("--save", options->save, "Write a manifest: the digests of the files and their tracks")
        ->type_name("MANIFEST");
    command.add_option("--against", options->against, "Compare with a manifest of an earlier check")
        ->type_name("MANIFEST");
}

}  // namespace quorv::tool
