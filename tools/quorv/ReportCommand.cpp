// quorv report: one page with all that can be said of a file.

#include <memory>

#include "Commands.h"
#include "MediaCheck.h"
#include "OutputFile.h"
#include "Progress.h"
#include "ReportCharts.h"
#include "ReportPage.h"
#include "Timeline.h"
#include "TrackJson.h"

namespace quorv::tool {

namespace {

struct ReportOptions {
    std::string file;
    std::string output;
};

constexpr size_t kMaxSizeCharts = 4;

std::string draw(const ReportCharts &charts, size_t tracks) {
    std::string sections = charts.bit_rate();
    size_t drawn = 0;
    for (size_t i = 0; i < tracks && drawn < kMaxSizeCharts; ++i) {
        const std::string sizes = charts.frame_sizes(i);
        drawn += sizes.empty() ? 0u : 1u;
        sections += sizes + charts.key_frames(i);
    }
    return sections + charts.places();
}

void report(const ReportOptions &options, FileSource &file) {
    MediaCheck check(file);
    const std::vector<Track> &tracks = check.media().tracks();
    std::vector<Timeline> timelines(tracks.size());
    Progress progress;
    check.run([&](const Track &track, const QuorvPacket &packet) {
        timelines[track.index].take(packet);
        progress.update(file.progress(), file.size());
    });
    const CheckResult result = check.result();
    const Tags tags = read_tags(file, check.media().facts().container, check.media().stated_end());
    const Json description = file_json(options.file, file, check.media(), tags);
    const ReportCharts charts(tracks, timelines, result.findings, file.size());
    OutputFile output(options.output, file);
    output.stream().write(report_page(description, result, draw(charts, tracks.size())));
    output.finish();
}

}  // namespace

void add_report_command(Session &session) {
    auto options = std::make_shared<ReportOptions>();
    CLI::App &command = add_command(
        session, "report", "Write one page of all that can be said of a file",
        "Examples:\n"
        "  quorv report holiday.avi -o holiday.html\n"
        "\n"
        "The page needs nothing but a browser, now and in ten years: what 'info' and 'check' say, and\n"
        "drawings of bit rate, frame sizes, key frames, damage and where the tracks lie in the file.",
        [&session, options] {
            return run_on_file(session.out, options->file, [&](FileSource &file) { report(*options, file); });
        });
    add_input(command, options->file, "The file, or - for standard input");
    add_output(command, options->output).required();
}

}  // namespace quorv::tool
