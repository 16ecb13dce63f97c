// quorv extract: one track as a raw elementary stream.

#include <memory>

#include "Commands.h"
#include "MediaFile.h"
#include "OutputFile.h"
#include "Problems.h"
#include "Progress.h"
#include "Text.h"

namespace quorv::tool {

namespace {

struct ExtractOptions {
    std::string file;
    std::string output;
    uint32_t track = 0;
    bool frames_only = false;
};

// The one of that number or, for 0, the only one there is.
Track find_only_track(const MediaFile &media, uint32_t number) {
    const std::vector<Track> tracks = find_tracks(media, number, kReadableTracks);
    if (tracks.size() == 1) return tracks.front();
    std::vector<std::string> names;
    names.reserve(tracks.size());
    for (const Track &track : tracks)
        names.push_back(fmt::format("{} ({})", track.facts->number, track.facts->codec_name));
    throw Failure(ExitCode::Usage,
                  fmt::format("--track is required: the file has the tracks {}", fmt::join(names, ", ")));
}

void extract(const ExtractOptions &options, FileSource &file) {
    MediaFile media(file);
    const Track track = find_only_track(media, options.track);
    OutputFile output(options.output, file);
    if (!options.frames_only) output.stream().write(track.codec_data());

    Problems problems;
    uint64_t count = 0;
    problems.note([&] {
        Progress progress;
        for (Frame frame; media.read_frame(track, frame); ++count) {
            output.stream().write(frame.data);
            progress.update(file.progress(), file.size());
        }
    });
    problems.add_first(media.damage());
    if (count == 0) {
        problems.add(fmt::format("no frame of track {} can be read", track.facts->number));
        problems.raise();
    }
    finish_output(output, problems, counted(count, "frame"), "extracted");
}

}  // namespace

void add_extract_command(Session &session) {
    auto options = std::make_shared<ExtractOptions>();
    CLI::App &command =
        add_command(session, "extract", "Write one track as a raw elementary stream",
                    "Examples:\n"
                    "  quorv extract holiday.avi --track 1 -o holiday.h264\n"
                    "  quorv extract - --track 2 --frames-only -o - < holiday.avi > holiday.mp3\n"
                    "\n"
                    "An existing OUT is replaced once everything is written, and never by what is left of a\n"
                    "damaged file.",
                    [&session, options] {
                        return run_on_file(session.out, options->file,
                                           [&](FileSource &file) { extract(*options, file); });
                    });
    add_input(command, options->file, "The file, or - for standard input");
    add_track(command, options->track, "The track, counted from 1; needed where there are several");
    add_output(command, options->output).required();
    command.add_flag("--frames-only", options->frames_only,
                     "Leave out the codec data that comes first otherwise");
}

}  // namespace quorv::tool
