// quorv frames: every frame of a file, track after track.

#include <memory>
#include <optional>

#include "Commands.h"
#include "Json.h"
#include "Md5.h"
#include "MediaFile.h"
#include "Problems.h"
#include "Progress.h"
#include "Table.h"
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
    FrameLister(OutputStream &out, const FramesOptions &options, FileSource &file, MediaFile &media)
        : out_(out), options_(options), file_(file), media_(media), progress_(!out.is_terminal()) {}

    void list();

private:
    void list_track(const Track &track);
    // False when no frame is from that time on.
    bool seek(const Track &track);
    void write_text(const Track &track, uint64_t index, const Frame &frame);
    void write_json(const Track &track, uint64_t index, const Frame &frame);
    void check_end(const Track &track, uint64_t count, uint64_t end);

    OutputStream &out_;
    const FramesOptions &options_;
    FileSource &file_;
    MediaFile &media_;
    Progress progress_;
    uint64_t tracks_done_ = 0, tracks_wanted_ = 0;
    Problems problems_;  // that make the file a bad one
    Problems notes_;     // that a user may want to know
};

void FrameLister::list() {
    const std::vector<Track> wanted = find_tracks(media_, options_.track, kReadableTracks);
    tracks_wanted_ = wanted.size();
    if (!options_.json)
        write_line(out_,
                   std::string("  track     index           time  duration        size        offset  key") +
                       (options_.md5 ? "  md5" : ""),
                   style_for(out_));
    for (const Track &track : wanted) {
        // What is wrong with one track need not keep the others from being listed.
        problems_.note([&] { list_track(track); });
        ++tracks_done_;
    }
    problems_.add_first(media_.damage());
    if (!problems_.empty()) problems_.add(notes_.text());
    problems_.raise();
    if (!notes_.empty()) {
        out_.flush();
        complain(input_name(options_.file), notes_.text());
    }
}

bool FrameLister::seek(const Track &track) {
    if (!options_.from) return true;
    const QuorvSeek mode = options_.mode == "next" ? QUORV_SEEK_AFTER : QUORV_SEEK_BEFORE;
    const SeekResult result = media_.seek(track, *options_.from, mode);
    if (result == SeekResult::NoIndex)
        throw Failure(ExitCode::BadFile,
                      fmt::format("track {} has no index to find a time with", track.facts->number));
    return result == SeekResult::Found;
}

void FrameLister::list_track(const Track &track) {
    if (!seek(track)) return;
    Frame frame;
    uint64_t count = 0, end = 0, last = 0;
    for (; media_.read_frame(track, frame); ++count) {
        if (options_.json) {
            write_json(track, count, frame);
        } else {
            write_text(track, count, frame);
        }
        // The last packet of sound may not tell how long it is: about as long as the one before.
        const bool is_open = frame.duration_ms == 0 && track.is_audio() && frame.time_ms > last;
        end = frame.time_ms + (is_open ? frame.time_ms - last : frame.duration_ms);
        last = frame.time_ms;
        progress_.update(tracks_done_ * file_.size() + file_.progress(), tracks_wanted_ * file_.size());
    }
    check_end(track, count, end);
}

// Compares the frames with what the header says of the track.
void FrameLister::check_end(const Track &track, uint64_t count, uint64_t end) {
    if (count == 0 && track.duration_ms() > 0) {
        problems_.add(fmt::format("no frame of track {} can be read", track.facts->number));
    } else if (track.duration_ms() > end + kShortfall) {
        notes_.add(fmt::format("track {} ends at {}, its header says {}", track.facts->number, time_text(end),
                               time_text(track.duration_ms())));
    }
}

void FrameLister::write_text(const Track &track, uint64_t index, const Frame &frame) {
    const std::string digest = options_.md5 ? md5_of(frame.data).data() : "";
    write_line(
        out_, fmt::format("{:7}  {:8}  {:>13}  {:8}  {:10}  {:>12}  {:3}  {}", track.facts->number, index,
                          time_text(frame.time_ms), frame.duration_ms, frame.data.size(),
                          frame.offset ? std::to_string(*frame.offset) : "", frame.key ? "key" : "", digest));
}

void FrameLister::write_json(const Track &track, uint64_t index, const Frame &frame) {
    Json json = {{"track", track.facts->number}, {"index", index},
                 {"pts_ms", frame.time_ms},      {"duration_ms", frame.duration_ms},
                 {"size", frame.data.size()},    {"key", frame.key}};
    if (frame.offset) json["offset"] = *frame.offset;
    if (options_.md5) json["md5"] = md5_of(frame.data).data();
    out_.write(json_line(json));
}

void add_mode(CLI::App &command, std::string &mode, CLI::Option &from) {
    CLI::Option &option =
        *command
             .add_option("--mode", mode, "With --from: the key frame at or before the time, or the next one")
             ->type_name("prev|next")
             ->needs(&from);
    option.check([&option](const std::string &text) {
        if (text != "prev" && text != "next")
            throw BadValue(option, fmt::format("'{}' is neither prev nor next", text));
        return std::string();
    });
}

}  // namespace

void add_frames_command(Session &session) {
    auto options = std::make_shared<FramesOptions>();
    CLI::App &command = add_command(session, "frames", "List the frames of a file, track after track",
                                    "Examples:\n"
                                    "  quorv frames holiday.avi | less\n"
                                    "  quorv frames holiday.avi --json --md5 --track 1\n"
                                    "  quorv frames holiday.avi --from 60000 --mode next\n"
                                    "\n"
                                    "The index of a frame counts from 0 at the first frame listed.",
                                    [&session, options] {
                                        return run_on_file(session.out, options->file, [&](FileSource &file) {
                                            MediaFile media(file);
                                            FrameLister(session.out, *options, file, media).list();
                                        });
                                    });
    add_input(command, options->file, "The file, or - for standard input");
    add_json(command, options->json, "frame");
    command.add_flag("--md5", options->md5, "Add the MD5 digest of each frame");
    add_track(command, options->track);
    CLI::Option &from = add_number(command, "--from", options->from, "MS",
                                   "Begin at a key frame near this time, in milliseconds", {0, kLastTime});
    add_mode(command, options->mode, from);
}

}  // namespace quorv::tool
