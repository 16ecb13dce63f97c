// quorv info: the tracks of files.

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Commands.h"
#include "MediaFile.h"
#include "Table.h"
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

std::string type_name(QuorvTrackType type) {
    switch (type) {
        case QUORV_TRACK_VIDEO:
            return "video";
        case QUORV_TRACK_AUDIO:
            return "audio";
        case QUORV_TRACK_TEXT:
            return "text";
        default:
            return "other";
    }
}

std::string bit_rate_text(uint32_t bits_per_second) {
    return bits_per_second == 0 ? "" : fmt::format("{} kbit/s", (uint64_t{bits_per_second} + 500) / 1000);
}

std::string audio_format(const QuorvTrack &audio) {
    std::string text = fmt::format("{} Hz, {}", audio.sample_rate, counted(audio.channels, "channel"));
    if (audio.bits_per_sample != 0) text += fmt::format(", {} bits", audio.bits_per_sample);
    return text;
}

std::vector<std::string> track_row(MediaFile &media, const Track &track) {
    const QuorvTrack &facts = *track.facts;
    std::vector<std::string> row = {std::to_string(facts.number), type_name(facts.type)};
    row.resize(std::size(kColumns));
    if (!track.is_readable()) return row;
    row[2] = facts.codec == 0 ? "unknown" : fourcc_text(facts.codec);
    row[3] = time_text(track.duration_ms());
    row[4] = track.is_audio()
                 ? audio_format(facts)
                 : fmt::format("{}x{}, {} fps", facts.width, facts.height, media.frame_rate(track));
    row[5] = bit_rate_text(facts.bit_rate);
    row[6] = size_text(facts.max_packet_size);
    row[7] = facts.codec_data_size == 0 ? "" : size_text(facts.codec_data_size);
    row[8] = facts.seekable != 0 ? "yes" : "no";
    return row;
}

std::string upper_case(std::string_view name) {
    std::string text(name);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

void write_text(OutputStream &out, const std::string &name, const FileSource &file, MediaFile &media) {
    uint64_t duration = 0;
    std::vector<std::vector<std::string>> rows;
    for (const Track &track : media.tracks()) {
        duration = std::max(duration, track.duration_ms());
        rows.push_back(track_row(media, track));
    }
    const Style style = style_for(out);
    out.print("{}{}{}: {}, {}, {}\n", style.strong, printable(input_name(name)), style.end,
              upper_case(media.format()), time_text(duration), size_text(file.size()));
    write_table(out, kColumns, rows);
}

ExitCode run(OutputStream &out, const InfoOptions &options) {
    ExitCode worst = ExitCode::Ok;
    bool first = true;
    for (const std::string &name : options.files) {
        const ExitCode code = run_on_file(out, name, [&](FileSource &file) {
            MediaFile media(file);
            if (options.json) {
                out.write(json_line(file_json(name, media)));
            } else {
                if (!std::exchange(first, false)) out.write("\n");
                write_text(out, name, file, media);
            }
            if (const std::string damage = media.damage(); !damage.empty())
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
