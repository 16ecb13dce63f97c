// quorv headers: the headers in MPEG-4 and H.264 video, raw or in the tracks of a container.

#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Container.h"
#include "Format.h"
#include "Progress.h"
#include "Text.h"
#include "UnitFacts.h"
#include "UnitScanner.h"

namespace quorv::tool {

namespace {

struct HeadersOptions {
    std::string file;
    uint32_t track = 0;  // 0: all
    bool json = false;
};

constexpr size_t kBlockBytes = size_t{1} << 20;

std::optional<VideoFormat> video_format(const Track &track) {
    if (track.video() == nullptr) return std::nullopt;
    const std::string codec = fourcc_text(track.codec());
    if (codec == "264 ") return VideoFormat::H264;
    for (const char *name : {"m4va", "m4vs", "divx", "dx50", "xvid"}) {
        if (codec == name) return VideoFormat::Mpeg4;
    }
    return std::nullopt;
}

class HeaderLister {
public:
    HeaderLister(OutputStream &out, const HeadersOptions &options, FileSource &file)
        : out_(out), options_(options), file_(file), progress_(!out.is_terminal()) {}

    void list();

private:
    // Where in a container a unit is; a raw stream has no such place.
    struct Place {
        uint32_t track;
        std::optional<uint64_t> frame;  // nothing: the codec data
        uint32_t time;
    };

    void list_stream(VideoFormat format);
    void list_container(Container &container);
    void list_track(Container &container, const Track &track, VideoFormat format);
    std::vector<const Track *> wanted_tracks(const Container &container) const;
    void write_title();
    void write_unit(const Unit &unit, const UnitFacts &facts);
    void write_json(const Unit &unit, const UnitFacts &facts);

    OutputStream &out_;
    const HeadersOptions &options_;
    FileSource &file_;
    Progress progress_;
    std::optional<Place> place_;
    uint64_t units_ = 0;
};

void HeaderLister::list() {
    const Format format = find_format(file_.head());
    if (format == Format::H264 || format == Format::Mpeg4) {
        if (options_.track != 0) throw Failure(ExitCode::Usage, "raw video has no tracks to choose from");
        list_stream(format == Format::H264 ? VideoFormat::H264 : VideoFormat::Mpeg4);
        return;
    }
    list_container(*open_container(file_));
}

void HeaderLister::list_stream(VideoFormat format) {
    file_.make_seekable();
    write_title();
    UnitReader reader(format);
    UnitScanner scanner([&](const Unit &unit) { write_unit(unit, reader.read(unit.head)); });
    std::vector<uint8_t> block(kBlockBytes);
    uint64_t position = 0;
    while (const size_t count = file_.read_at(position, block)) {
        scanner.feed(std::span(block).first(count));
        position += count;
        progress_.update(position, file_.size());
    }
    scanner.finish();
}

std::vector<const Track *> HeaderLister::wanted_tracks(const Container &container) const {
    if (options_.track != 0) {
        const Track &track = container.readable_track(options_.track);
        if (!video_format(track))
            throw Failure(ExitCode::BadFile,
                          "track " + std::to_string(track.number) + " is neither MPEG-4 nor H.264 video");
        return {&track};
    }
    std::vector<const Track *> wanted;
    for (const Track &track : container.tracks()) {
        if (video_format(track)) wanted.push_back(&track);
    }
    if (wanted.empty()) throw Failure(ExitCode::BadFile, "no track is MPEG-4 or H.264 video");
    return wanted;
}

void HeaderLister::list_container(Container &container) {
    const std::vector<const Track *> wanted = wanted_tracks(container);
    std::string problems;
    const auto add_problem = [&problems](const std::string &text) {
        problems += (problems.empty() ? "" : "; ") + text;
    };
    place_.emplace();
    write_title();
    for (const Track *track : wanted) {
        units_ = 0;
        try {
            list_track(container, *track, *video_format(*track));
            if (units_ == 0) add_problem("no start code in track " + std::to_string(track->number));
        } catch (const Failure &failure) {
            // What is wrong with one track need not keep the others from being listed.
            if (failure.code != ExitCode::BadFile) throw;
            add_problem(failure.what());
        }
    }
    if (const std::string damage = container.damage(); !damage.empty())
        problems = problems.empty() ? damage : damage + "; " + problems;
    if (!problems.empty()) throw Failure(ExitCode::BadFile, problems);
}

void HeaderLister::list_track(Container &container, const Track &track, VideoFormat format) {
    UnitReader reader(format);
    UnitScanner scanner([&](const Unit &unit) { write_unit(unit, reader.read(unit.head)); });
    *place_ = {track.number, std::nullopt, 0};
    scanner.feed(track.codec_data);
    scanner.finish();
    Frame frame;
    for (uint64_t index = 0; container.read_frame(track, frame); ++index) {
        *place_ = {track.number, index, frame.time};
        scanner.feed(frame.data);
        scanner.finish();
        progress_.update(file_.progress(), file_.size());
    }
}

void HeaderLister::write_title() {
    if (options_.json) return;
    const Style style = style_for(out_);
    out_.write(style.faint);
    if (place_) out_.write("  track     frame           time");
    out_.write("        offset        size  unit");
    out_.write(style.end);
    out_.write("\n");
}

void HeaderLister::write_unit(const Unit &unit, const UnitFacts &facts) {
    ++units_;
    if (options_.json) {
        write_json(unit, facts);
        return;
    }
    char text[128];
    if (place_) {
        const std::string frame = place_->frame ? std::to_string(*place_->frame) : "header";
        const std::string time = place_->frame ? time_text(place_->time) : "";
        std::snprintf(text, sizeof text, "%7u  %8s  %13s", place_->track, frame.c_str(), time.c_str());
        out_.write(text);
    }
    const std::string details = facts.details();
    std::snprintf(text, sizeof text, "  %12llu  %10llu  ", static_cast<unsigned long long>(unit.offset),
                  static_cast<unsigned long long>(unit.size));
    out_.write(text);
    out_.write(facts.title);
    if (!details.empty()) out_.write(": " + details);
    out_.write("\n");
}

void HeaderLister::write_json(const Unit &unit, const UnitFacts &facts) {
    // Numbers and names of ours: nothing in it needs escaping.
    std::string line = "{";
    const auto add = [&line](std::string_view key, const std::string &value) {
        line.append(line.size() > 1 ? ",\"" : "\"").append(key).append("\":").append(value);
    };
    const auto quoted = [](std::string_view text) { return '"' + std::string(text) + '"'; };
    if (place_) {
        add("track", std::to_string(place_->track));
        if (place_->frame) {
            add("frame", std::to_string(*place_->frame));
            add("pts_ms", std::to_string(place_->time));
        }
    }
    add("offset", std::to_string(unit.offset));
    add("size", std::to_string(unit.size));
    add("unit", quoted(facts.name));
    add("code", std::to_string(facts.code));
    if (facts.profile != 0) add("profile", std::to_string(facts.profile));
    if (facts.width != 0) {
        add("width", std::to_string(facts.width));
        add("height", std::to_string(facts.height));
    }
    if (facts.time_increment_bits != 0) add("time_increment_bits", std::to_string(facts.time_increment_bits));
    if (facts.unsupported) add("unsupported", "true");
    if (!facts.picture.empty()) add("picture", quoted(facts.picture));
    out_.write(line + "}\n");
}

}  // namespace

void add_headers_command(Session &session) {
    auto options = std::make_shared<HeadersOptions>();
    CLI::App *command = add_command(session, "headers", "List the headers in MPEG-4 and H.264 video");
    command
        ->add_option("FILE", options->file, "Raw video or a file with such tracks, or - for standard input")
        ->type_name("")
        ->required();
    command->add_flag("--json", options->json, "One JSON object a header, each on a line");
    command->add_option("--track", options->track, "Only this track, counted from 1")
        ->type_name("N")
        ->check(in_range(1, std::numeric_limits<uint32_t>::max()));
    command->footer(
        "Examples:\n"
        "  quorv headers holiday.avi | less\n"
        "  quorv headers --json holiday.h264 | jq -c 'select(.unit == \"sps\")'\n"
        "\n"
        "Offsets are those of start codes (00 00 01) in the raw file or in the frame, sizes reach to\n"
        "the next start code. Frame \"header\" is the codec data. H.264 picture sizes are given for the\n"
        "Baseline and Main profiles; of rows that interlaced video crops, half are counted.");
    command->callback([&session, options] {
        session.action = [&session, options] {
            return run_on_file(session.out, options->file, [&] {
                FileSource file(options->file);
                HeaderLister(session.out, *options, file).list();
            });
        };
    });
}

}  // namespace quorv::tool
