// quorv frames: every frame of a file, track after track.

#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Container.h"
#include "Md5.h"
#include "Progress.h"
#include "Text.h"

namespace quorv::tool {

namespace {

struct FramesOptions {
    std::string file;
    uint32_t track = 0;  // 0: all
    std::optional<uint32_t> from;
    std::string mode = "prev";
    bool json = false;
    bool md5 = false;
};

// A header whose length and frames differ by less is not worth a word.
constexpr uint64_t kShortfall = 1000;
// The largest time has a meaning of its own to the splitters.
constexpr uint32_t kLastTime = std::numeric_limits<uint32_t>::max() - 1;

class FrameLister {
public:
    FrameLister(OutputStream &out, const FramesOptions &options, FileSource &file, Container &container)
        : out_(out), options_(options), file_(file), container_(container), progress_(!out.is_terminal()) {}

    void list();

private:
    std::vector<const Track *> wanted_tracks() const;
    void list_track(const Track &track);
    void write_title();
    void write_line(const Track &track, uint64_t index, const Frame &frame);
    void check_end(const Track &track, uint64_t count, uint64_t end);
    void add_problem(const std::string &text) { problems_ += (problems_.empty() ? "" : "; ") + text; }

    OutputStream &out_;
    const FramesOptions &options_;
    FileSource &file_;
    Container &container_;
    Progress progress_;
    uint64_t tracks_done_ = 0, tracks_wanted_ = 0;
    std::string problems_;  // that make the file a bad one
    std::string notes_;     // that a user may want to know
};

std::vector<const Track *> FrameLister::wanted_tracks() const {
    if (options_.track != 0) return {&container_.readable_track(options_.track)};
    std::vector<const Track *> wanted;
    for (const Track &track : container_.tracks()) {
        if (track.is_readable()) wanted.push_back(&track);
    }
    if (wanted.empty())
        throw Failure(ExitCode::BadFile, "no track is video or audio: there are no frames to read");
    return wanted;
}

void FrameLister::list() {
    const std::vector<const Track *> wanted = wanted_tracks();
    tracks_wanted_ = wanted.size();
    if (!options_.json) write_title();
    for (const Track *track : wanted) {
        try {
            list_track(*track);
        } catch (const Failure &failure) {
            // What is wrong with one track need not keep the others from being listed.
            if (failure.code != ExitCode::BadFile) throw;
            add_problem(failure.what());
        }
        ++tracks_done_;
    }
    if (const std::string damage = container_.damage(); !damage.empty())
        problems_ = problems_.empty() ? damage : damage + "; " + problems_;
    if (!problems_.empty())
        throw Failure(ExitCode::BadFile, problems_ + (notes_.empty() ? "" : "; " + notes_));
    if (!notes_.empty()) {
        out_.flush();
        complain(input_name(options_.file), notes_);
    }
}

void FrameLister::list_track(const Track &track) {
    if (options_.from) {
        const SeekMode mode = options_.mode == "next" ? SeekMode::Next : SeekMode::Previous;
        const SeekResult result = container_.seek(track, *options_.from, mode);
        if (result == SeekResult::NoIndex)
            throw Failure(ExitCode::BadFile,
                          "track " + std::to_string(track.number) + " has no index to find a time with");
        if (result == SeekResult::NoKeyFrame) return;
    }
    Frame frame;
    uint64_t count = 0, end = 0;
    while (container_.read_frame(track, frame)) {
        write_line(track, count++, frame);
        end = uint64_t{frame.time} + frame.duration;
        progress_.update(tracks_done_ * file_.size() + file_.progress(), tracks_wanted_ * file_.size());
    }
    check_end(track, count, end);
}

// Compares the frames with what the header says of the track.
void FrameLister::check_end(const Track &track, uint64_t count, uint64_t end) {
    // Beside video, the duration of an audio track may be that of the video.
    if (track.video() == nullptr && container_.tracks().size() > 1) return;
    const std::string name = "track " + std::to_string(track.number);
    if (count == 0 && track.duration() > 0) {
        add_problem("no frame of " + name + " can be read");
    } else if (track.duration() > end + kShortfall) {
        notes_ += (notes_.empty() ? "" : "; ") + name + " ends at " + time_text(static_cast<uint32_t>(end)) +
                  ", its header says " + time_text(track.duration());
    }
}

void FrameLister::write_title() {
    const Style style = style_for(out_);
    out_.write(style.faint);
    out_.write("  track     index           time  duration        size  key");
    out_.write(options_.md5 ? "  md5" : "");
    out_.write(style.end);
    out_.write("\n");
}

void FrameLister::write_line(const Track &track, uint64_t index, const Frame &frame) {
    const Md5Text md5 = options_.md5 ? md5_of(frame.data) : Md5Text{};
    const auto number = static_cast<unsigned long long>(index);
    char line[256];
    int length = 0;
    if (options_.json) {
        // Numbers and hexadecimal digits: nothing in it needs escaping.
        length = std::snprintf(
            line, sizeof line,
            R"({"track":%u,"index":%llu,"pts_ms":%u,"duration_ms":%u,"size":%zu,"key":%s%s%s%s})"
            "\n",
            track.number, number, frame.time, frame.duration, frame.data.size(), frame.key ? "true" : "false",
            options_.md5 ? R"(,"md5":")" : "", md5.data(), options_.md5 ? "\"" : "");
    } else {
        const char *key = frame.key ? "  key" : options_.md5 ? "     " : "";
        length = std::snprintf(line, sizeof line, "%7u  %8llu  %13s  %8u  %10zu%s%s%s\n", track.number,
                               number, time_text(frame.time).c_str(), frame.duration, frame.data.size(), key,
                               options_.md5 ? "  " : "", md5.data());
    }
    out_.write(std::string_view(line, static_cast<size_t>(length)));
}

CLI::Validator mode_validator() {
    const auto check = [](const std::string &mode) -> std::string {
        if (mode == "prev" || mode == "next") return {};
        return "'" + mode + "' is neither prev nor next";
    };
    return {check, ""};
}

ExitCode run(OutputStream &out, const FramesOptions &options) {
    return run_on_file(out, options.file, [&] {
        FileSource file(options.file);
        const std::unique_ptr<Container> container = open_container(file);
        FrameLister(out, options, file, *container).list();
    });
}

}  // namespace

void add_frames_command(Session &session) {
    auto options = std::make_shared<FramesOptions>();
    CLI::App *command = add_command(session, "frames", "List the frames of a file, track after track");
    command->add_option("FILE", options->file, "The file, or - for standard input")
        ->type_name("")
        ->required();
    command->add_flag("--json", options->json, "One JSON object a frame, each on a line");
    command->add_flag("--md5", options->md5, "Add the MD5 digest of each frame");
    command->add_option("--track", options->track, "Only this track, counted from 1")
        ->type_name("N")
        ->check(in_range(1, std::numeric_limits<uint32_t>::max()));
    CLI::Option *from =
        command->add_option("--from", options->from, "Begin at a key frame near this time, in milliseconds")
            ->type_name("MS")
            ->check(in_range(0, kLastTime));
    command
        ->add_option("--mode", options->mode,
                     "With --from: the key frame at or before the time, or the next one")
        ->type_name("prev|next")
        ->check(mode_validator())
        ->needs(from);
    command->footer(
        "Examples:\n"
        "  quorv frames holiday.avi | less\n"
        "  quorv frames holiday.avi --json --md5 --track 1\n"
        "  quorv frames holiday.avi --from 60000 --mode next\n"
        "\n"
        "The index of a frame counts from 0 at the first frame listed.");
    command->callback(
        [&session, options] { session.action = [&session, options] { return run(session.out, *options); }; });
}

}  // namespace quorv::tool
