// quorv info: the tracks of files.

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Commands.h"
#include "Container.h"
#include "Text.h"
#include "TrackJson.h"

namespace quorv::tool {

namespace {

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
};

constexpr Column kColumns[] = {
    {"track", true}, {"type"},           {"codec"},           {"duration", true},
    {"format"},      {"bit rate", true}, {"max frame", true}, {"codec data", true},
    {"seekable"},
};

std::string type_name(uint32_t type) {
    switch (type) {
        case SPLITER_TRACK_VIDEO:
            return "video";
        case SPLITER_TRACK_AUDIO:
            return "audio";
        case SPLITER_TRACK_TEXT:
            return "text";
        default:
            return "other";
    }
}

std::string bit_rate_text(uint32_t bits_per_second) {
    return bits_per_second == 0 ? "" : fmt::format("{} kbit/s", (uint64_t{bits_per_second} + 500) / 1000);
}

void describe_video(const SplitterVideoInfo &video, std::vector<std::string> &row) {
    row[4] = fmt::format("{}x{}, {} fps", video.width, video.height, video.frame_rate);
    row[5] = bit_rate_text(video.max_bitrate);
}

void describe_audio(const SplitterAudioInfo &audio, std::vector<std::string> &row) {
    row[4] = fmt::format("{} Hz, {}, {} bits", audio.sample_rate, counted(audio.channels, "channel"),
                         audio.bits_per_sample);
    row[5] = bit_rate_text(audio.bit_rate);
}

std::vector<std::string> track_row(const Track &track) {
    std::vector<std::string> row = {std::to_string(track.number), type_name(track.type)};
    row.resize(std::size(kColumns));
    if (!track.is_readable()) return row;
    row[2] = track.codec() == 0 ? "unknown" : fourcc_text(track.codec());
    row[3] = time_text(track.duration());
    if (const SplitterVideoInfo *video = track.video()) describe_video(*video, row);
    if (const SplitterAudioInfo *audio = track.audio()) describe_audio(*audio, row);
    row[6] = size_text(track.max_frame_size());
    row[7] = track.codec_data.empty() ? "" : size_text(track.codec_data.size());
    row[8] = track.seekable ? "yes" : "no";
    return row;
}

std::string upper_case(std::string_view name) {
    std::string text(name);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

void write_text(OutputStream &out, const std::string &name, const FileSource &file, Container &container) {
    uint32_t duration = 0;
    std::vector<std::vector<std::string>> rows;
    for (const Track &track : container.tracks()) {
        duration = std::max(duration, track.duration());
        rows.push_back(track_row(track));
    }
    const Style style = style_for(out);
    out.print("{}{}{}: {}, {}, {}\n", style.strong, printable(input_name(name)), style.end,
              upper_case(container.format()), time_text(duration), size_text(file.size()));
    write_table(out, kColumns, rows);
}

ExitCode run(OutputStream &out, const InfoOptions &options) {
    ExitCode worst = ExitCode::Ok;
    bool first = true;
    for (const std::string &name : options.files) {
        const ExitCode code = run_on_file(out, name, [&](FileSource &file) {
            const std::unique_ptr<Container> container = open_container(file, ContainerUse::Describe);
            if (options.json) {
                out.write(json_line(file_json(name, *container)));
            } else {
                if (!std::exchange(first, false)) out.write("\n");
                write_text(out, name, file, *container);
            }
            if (const std::string damage = container->damage(); !damage.empty())
                throw Failure(ExitCode::BadFile, damage);
        });
        worst = std::max(worst, code);
    }
    return worst;
}

}  // namespace

void add_info_command(Session &session) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App &command = add_command(
        session, "info", "List the tracks of media files",
        "Examples:\n"
        "  quorv info holiday.avi\n"
        "  quorv info --json *.avi | jq '.tracks[] | select(.type == \"vide\")'\n"
        "\n"
        "Codecs are four characters; one that cannot be printed is shown as a number (0x00FFFFFF).",
        [&session, options] { return run(session.out, *options); });
    command.add_option("FILE", options->files, "Files, or - for standard input")->type_name("")->required();
    add_json(command, options->json, "file");
}

}  // namespace quorv::tool
