// quorv headers: the headers in MPEG-4 and H.264 video, raw or in the tracks of a container.

#include <memory>
#include <optional>

#include "Commands.h"
#include "Format.h"
#include "Json.h"
#include "MediaFile.h"
#include "Problems.h"
#include "Progress.h"
#include "Table.h"
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
    switch (track.facts->framing) {
        case QUORV_FRAMING_ANNEX_B:
            return VideoFormat::H264;
        case QUORV_FRAMING_MPEG4_VISUAL:
            return VideoFormat::Mpeg4;
        default:
            return std::nullopt;
    }
}

constexpr TrackKind kVideoWithHeaders = {
    [](const Track &track) { return video_format(track).has_value(); },
    "neither MPEG-4 nor H.264 video",
    "no track is MPEG-4 or H.264 video",
};

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
        uint64_t time_ms;
    };

    void list_stream(VideoFormat format);
    void list_media(MediaFile &media);
    void list_track(MediaFile &media, const Track &track, VideoFormat format);
    void write_columns();
    void write_unit(const Unit &unit, const UnitFacts &facts);
    void write_text(const Unit &unit, const UnitFacts &facts);
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
    MediaFile media(file_);
    list_media(media);
}

void HeaderLister::list_stream(VideoFormat format) {
    file_.make_seekable();
    write_columns();
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

void HeaderLister::list_media(MediaFile &media) {
    const std::vector<Track> wanted = find_tracks(media, options_.track, kVideoWithHeaders);
    Problems problems;
    place_.emplace();
    write_columns();
    for (const Track &track : wanted) {
        units_ = 0;
        // What is wrong with one track need not keep the others from being listed.
        problems.note([&] {
            list_track(media, track, *video_format(track));
            if (units_ == 0) problems.add(fmt::format("no start code in track {}", track.facts->number));
        });
    }
    problems.add_first(media.damage());
    problems.raise();
}

void HeaderLister::list_track(MediaFile &media, const Track &track, VideoFormat format) {
    UnitReader reader(format);
    UnitScanner scanner([&](const Unit &unit) { write_unit(unit, reader.read(unit.head)); });
    *place_ = {track.facts->number, std::nullopt, 0};
    scanner.feed(track.codec_data());
    scanner.finish();
    Frame frame;
    for (uint64_t index = 0; media.read_frame(track, frame); ++index) {
        *place_ = {track.facts->number, index, frame.time_ms};
        scanner.feed(frame.data);
        scanner.finish();
        progress_.update(file_.progress(), file_.size());
    }
}

void HeaderLister::write_columns() {
    if (options_.json) return;
    write_line(
        out_,
        std::string(place_ ? "  track     frame           time" : "") + "        offset        size  unit",
        style_for(out_));
}

void HeaderLister::write_unit(const Unit &unit, const UnitFacts &facts) {
    ++units_;
    if (options_.json) {
        write_json(unit, facts);
    } else {
        write_text(unit, facts);
    }
}

void HeaderLister::write_text(const Unit &unit, const UnitFacts &facts) {
    std::string line;
    if (place_)
        line = fmt::format("{:7}  {:>8}  {:>13}", place_->track,
                           place_->frame ? fmt::format("{}", *place_->frame) : "header",
                           place_->frame ? time_text(place_->time_ms) : "");
    const std::string details = facts.details();
    line += fmt::format("  {:12}  {:10}  {}{}{}", unit.offset, unit.size, facts.title,
                        details.empty() ? "" : ": ", details);
    write_line(out_, line);
}

void HeaderLister::write_json(const Unit &unit, const UnitFacts &facts) {
    Json json;
    if (place_) {
        json["track"] = place_->track;
        if (place_->frame) {
            json["frame"] = *place_->frame;
            json["pts_ms"] = place_->time_ms;
        }
    }
    json["offset"] = unit.offset;
    json["size"] = unit.size;
    json["unit"] = facts.name;
    json["code"] = facts.code;
    if (facts.profile != 0) json["profile"] = facts.profile;
    if (facts.width != 0) {
        json["width"] = facts.width;
        json["height"] = facts.height;
    }
    if (facts.time_increment_bits != 0) json["time_increment_bits"] = facts.time_increment_bits;
    if (facts.unsupported) json["unsupported"] = true;
    if (!facts.picture.empty()) json["picture"] = facts.picture;
    out_.write(json_line(json));
}

}  // namespace

void add_headers_command(Session &session) {
    auto options = std::make_shared<HeadersOptions>();
    CLI::App &command = add_command(
        session, "headers", "List the headers in MPEG-4 and H.264 video",
        "Examples:\n"
        "  quorv headers holiday.avi | less\n"
        "  quorv headers --json holiday.h264 | jq -c 'select(.unit == \"sps\")'\n"
        "\n"
        "Offsets are those of start codes (00 00 01) in the raw file or in the frame, sizes reach to\n"
        "the next start code. Frame \"header\" is the codec data. H.264 picture sizes are given for the\n"
        "Baseline and Main profiles; of rows that interlaced video crops, half are counted.",
        [&session, options] {
            return run_on_file(session.out, options->file,
                               [&](FileSource &file) { HeaderLister(session.out, *options, file).list(); });
        });
    add_input(command, options->file, "Raw video or a file with such tracks, or - for standard input");
    add_json(command, options->json, "header");
    add_track(command, options->track);
}

}  // namespace quorv::tool
