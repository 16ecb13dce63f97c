// quorv extract: one track as a raw elementary stream.

#include <limits>
#include <memory>

#include "Commands.h"
#include "Container.h"
#include "OutputFile.h"
#include "Progress.h"

namespace quorv::tool {

namespace {

struct ExtractOptions {
    std::string file;
    std::string output;
    uint32_t track = 0;
    bool frames_only = false;
};

// Writes all frames that can be read and returns their number; problem gets the reason when that is where
// the file is damaged.
uint64_t copy_frames(Container &container, const Track &track, const FileSource &file, OutputStream &out,
                     std::string &problem) {
    Progress progress;
    Frame frame;
    uint64_t count = 0;
    try {
        for (; container.read_frame(track, frame); ++count) {
            out.write(frame.data);
            progress.update(file.progress(), file.size());
        }
    } catch (const Failure &failure) {
        if (failure.code != ExitCode::BadFile) throw;
        problem = failure.what();
    }
    return count;
}

void extract(const ExtractOptions &options) {
    FileSource file(options.file);
    const std::unique_ptr<Container> container = open_container(file);
    const Track &track = container->readable_track(options.track);
    OutputFile output(options.output, file);
    if (!options.frames_only) output.stream().write(track.codec_data);

    std::string problem;
    const uint64_t count = copy_frames(*container, track, file, output.stream(), problem);
    if (const std::string damage = container->damage(); !damage.empty())
        problem = damage + (problem.empty() ? "" : "; " + problem);
    if (count == 0)
        throw Failure(ExitCode::BadFile, (problem.empty() ? "" : problem + "; ") + "no frame of track " +
                                             std::to_string(track.number) + " can be read");
    finish_output(output, problem, std::to_string(count) + (count == 1 ? " frame" : " frames"), "extracted");
}

}  // namespace

void add_extract_command(Session &session) {
    auto options = std::make_shared<ExtractOptions>();
    CLI::App *command = add_command(session, "extract", "Write one track as a raw elementary stream");
    command->add_option("FILE", options->file, "The file, or - for standard input")
        ->type_name("")
        ->required();
    command->add_option("--track", options->track, "The track, counted from 1")
        ->type_name("N")
        ->required()
        ->check(in_range(1, std::numeric_limits<uint32_t>::max()));
    command->add_option("-o,--output", options->output, "The file to write, or - for standard output")
        ->type_name("OUT")
        ->required();
    command->add_flag("--frames-only", options->frames_only,
                      "Leave out the codec data that comes first otherwise");
    command->footer(
        "Examples:\n"
        "  quorv extract holiday.avi --track 1 -o holiday.h264\n"
        "  quorv extract - --track 2 --frames-only -o - < holiday.avi > holiday.mp3\n"
        "\n"
        "An existing OUT is replaced once everything is written, and never by what is left of a\n"
        "damaged file.");
    command->callback([&session, options] {
        session.action = [&session, options] {
            return run_on_file(session.out, options->file, [&] { extract(*options); });
        };
    });
}

}  // namespace quorv::tool
