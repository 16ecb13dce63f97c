// quorv info: the tracks of files, and what the files say of themselves.

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Commands.h"
#include "MediaFile.h"
#include "Table.h"
#include "Tags.h"
#include "Text.h"
#include "TrackFacts.h"
#include "TrackJson.h"

namespace quorv::tool {

namespace {

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
};

constexpr Column kColumns[] = {
    {"track", true},    {"type"},   {"codec"},          {"tag"},
    {"duration", true}, {"format"}, {"bit rate", true}, {"size", true},
};
// Of a tag's text, as much as a few lines hold.
constexpr size_t kLongestShown = 300;

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

std::string bit_rate_text(uint64_t bits_per_second) {
    return bits_per_second == 0 ? "" : fmt::format("{} kbit/s", (bits_per_second + 500) / 1000);
}

// "25", "29.970"
std::string rate_text(const QuorvRational &rate, uint32_t whole) {
    if (rate.den == 0 || rate.num % rate.den == 0) return fmt::format("{}", whole);
    return fmt::format("{:.3f}", static_cast<double>(rate.num) / static_cast<double>(rate.den));
}

std::string audio_format(const QuorvTrack &audio) {
    std::string text = fmt::format("{} Hz, {}", audio.sample_rate, counted(audio.channels, "channel"));
    if (audio.bits_per_sample != 0) text += fmt::format(", {} bits", audio.bits_per_sample);
    return text;
}

std::string video_format(MediaFile &media, const Track &track, const TrackFacts &facts) {
    const QuorvTrack &video = *track.facts;
    return fmt::format("{}x{}, {}, {} fps", video.width, video.height, aspect_text(video, facts.pixel_aspect),
                       rate_text(facts.frame_rate, media.frame_rate(track)));
}

Row track_row(MediaFile &media, const Track &track, const TrackFacts &facts) {
    const QuorvTrack &record = *track.facts;
    Row row = {std::to_string(record.number), type_name(record.type)};
    row.resize(std::size(kColumns));
    if (!track.is_readable()) return row;
    row[2] = codec_title(record);
    row[3] = tag_text(record);
    row[4] = time_text(track.duration_ms());
    row[5] = track.is_audio() ? audio_format(record) : video_format(media, track, facts);
    row[6] = bit_rate_text(facts.bit_rate);
    row[7] = facts.survey ? size_text(facts.survey->bytes) : "";
    return row;
}

// "in aligned chunks of 26 ms, the first 522 ms in front of the pictures"
std::string interleaving_text(const Interleaving &found) {
    const bool is_known = found.is_aligned.has_value();
    std::string text =
        fmt::format("in {}chunks of {} ms", is_known ? (*found.is_aligned ? "aligned " : "unaligned ") : "",
                    found.chunk_ms);
    if (found.lead_ms != 0)
        text += fmt::format(", the first {} ms{} in front of the pictures", found.lead_ms,
                            found.lead_ms >= kLongestLeadMs ? " or more" : "");
    return text;
}

// What has no column, for those who want to know more.
std::string details_text(const Track &track, const TrackFacts &facts) {
    const QuorvTrack &record = *track.facts;
    std::vector<std::string> parts;
    for (const std::string &text : {facts.profile, facts.coding}) {
        if (!text.empty()) parts.push_back(text);
    }
    if (facts.scan != QUORV_SCAN_UNKNOWN)
        parts.emplace_back(facts.scan == QUORV_SCAN_INTERLACED ? "interlaced" : "progressive");
    if (facts.rate_kind != QUORV_RATE_UNKNOWN)
        parts.push_back(
            fmt::format("{} bit rate", facts.rate_kind == QUORV_RATE_CONSTANT ? "constant" : "variable"));
    if (record.trim_front != 0 || record.trim_back != 0)
        parts.push_back(fmt::format("{} samples without the encoder's {} and {}", record.sample_count,
                                    record.trim_front, record.trim_back));
    if (record.codec_data_size != 0) parts.push_back(size_text(record.codec_data_size) + " of codec data");
    if (track.is_readable() && record.seekable == 0) parts.emplace_back("not seekable");
    if (facts.interleaving) parts.push_back(interleaving_text(*facts.interleaving));
    if (!facts.language.empty()) parts.push_back("language " + printable(facts.language));
    if (!facts.encoder.empty()) parts.push_back("made by " + facts.encoder);
    return fmt::format("{}", fmt::join(parts, ", "));
}

std::string upper_case(std::string_view name) {
    std::string text(name);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

using Entries = std::vector<std::pair<std::string, std::string>>;

void write_entries(OutputStream &out, const Entries &entries) {
    size_t width = 0;
    for (const auto &[title, text] : entries) {
        if (!text.empty()) width = std::max(width, display_width(title));
    }
    for (const auto &[title, text] : entries)
        write_entry(out, title, width, text);
}

void add_tags(const Tags &tags, Entries *entries) {
    for (const auto &[name, text] : tags.texts()) {
        const bool cut = text.size() > kLongestShown;
        // Not in the middle of a character.
        size_t end = std::min(text.size(), kLongestShown);
        while (cut && (static_cast<uint8_t>(text[end]) & 0xC0) == 0x80)
            --end;
        entries->emplace_back(printable(name), printable(text.substr(0, end)) + (cut ? "..." : ""));
    }
    for (const Cover &cover : tags.covers())
        entries->emplace_back("picture",
                              fmt::format("{}, {}", printable(cover.type), size_text(cover.bytes)));
}

void write_text(OutputStream &out, const std::string &name, const FileSource &file, MediaFile &media,
                const Tags &tags) {
    std::vector<Row> rows;
    Entries entries;
    for (const Track &track : media.tracks()) {
        const TrackFacts facts = find_facts(media, track, tags);
        rows.push_back(track_row(media, track, facts));
        entries.emplace_back(fmt::format("track {}", track.facts->number), details_text(track, facts));
    }
    add_tags(tags, &entries);
    const int64_t duration = std::max<int64_t>(media.facts().duration_us, 0);
    const Style style = style_for(out);
    out.print("{}{}{}: {}, {}, {}\n", style.strong, printable(input_name(name)), style.end,
              upper_case(media.format()), time_text(static_cast<uint64_t>(duration) / 1000),
              size_text(file.size()));
    write_table(out, kColumns, rows);
    write_entries(out, entries);
}

void describe(OutputStream &out, const std::string &name, FileSource &file, bool json, bool first) {
    MediaFile media(file);
    // Of what is read for a closer look, other commands tell what is damaged.
    const std::string damage = media.damage();
    const Tags tags = read_tags(file, media.facts().container, media.stated_end());
    if (json) {
        out.write(json_line(file_json(name, file, media, tags)));
    } else {
        if (!first) out.write("\n");
        write_text(out, name, file, media, tags);
    }
    if (!damage.empty()) throw Failure(ExitCode::BadFile, damage);
}

ExitCode run(OutputStream &out, const InfoOptions &options) {
    ExitCode worst = ExitCode::Ok;
    bool first = true;
    for (const std::string &name : options.files) {
        const ExitCode code = run_on_file(out, name, [&](FileSource &file) {
            describe(out, name, file, options.json, first);
            first = false;
        });
        worst = std::max(worst, code);
    }
    return worst;
}

}  // namespace

void add_info_command(Session &session) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App &command =
        add_command(session, "info", "List the tracks and tags of media files",
                    "Examples:\n"
                    "  quorv info holiday.avi\n"
                    "  quorv info --json *.avi | jq '.tracks[] | select(.type == \"vide\")'\n"
                    "\n"
                    "Below the tracks stand what their headers tell of them, and the tags of the file.",
                    [&session, options] { return run(session.out, *options); });
    command.add_option("FILE", options->files, "Files, or - for standard input")->type_name("")->required();
    add_json(command, options->json, "file");
}

}  // namespace quorv::tool
