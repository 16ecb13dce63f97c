// The page of a report; see the header.

#include "ReportPage.h"

#include <fmt/format.h>
#include <quorv/quorv.h>

#include <algorithm>

#include "Html.h"
#include "ReportStyle.h"
#include "Text.h"

namespace quorv::tool {

namespace {

// What a page shows of a file that has no end of them.
constexpr size_t kMaxFindings = 300, kMaxTracks = 40, kMaxTags = 60;

std::string number_text(const Json &value) {
    return fmt::format("{:.3f}", value.get<double>());
}

std::string value_text(const std::string &name, const Json &value) {
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_string()) return html(value.get<std::string>());
    if (name.ends_with("_ms")) return time_text(value.get<uint64_t>());
    if (name == "bit_rate") return fmt::format("{:.1f} kbit/s", value.get<double>() / 1000);
    if (name == "sample_rate") return fmt::format("{} Hz", value.get<uint64_t>());
    if (name == "bytes" || name == "size" || name.ends_with("_size")) return size_text(value.get<uint64_t>());
    return html(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string label_of(std::string name) {
    if (name.ends_with("_ms")) name.resize(name.size() - 3);
    std::replace(name.begin(), name.end(), '_', ' ');
    return html(name, 60);
}

std::string fact(const std::string &label, const std::string &value) {
    return fmt::format("<dt>{}</dt><dd><bdi>{}</bdi></dd>\n", label, value);
}

std::string type_text(const std::string &type) {
    if (type == "vide") return "video";
    return type == "soun" ? "sound" : type == "text" ? "text" : "other";
}

std::string track_card(const Json &track) {
    std::string facts;
    for (const auto &[name, value] : track.items()) {
        if (name == "track" || name == "type" || name.starts_with("frame_rate")) continue;
        if (name == "codec" && track.contains("codec_name")) continue;
        facts += fact(label_of(name), value_text(name, value));
    }
    if (track.contains("frame_rate_num")) {
        const double rate =
            track["frame_rate_num"].get<double>() / std::max(track["frame_rate_den"].get<double>(), 1.0);
        facts += fact("frame rate", number_text(rate));
    } else if (track.contains("frame_rate")) {
        facts += fact("frame rate", value_text("", track["frame_rate"]));
    }
    return fmt::format("<div><h3>Track {}: {}</h3><dl>\n{}</dl></div>\n", track["track"].get<uint32_t>(),
                       type_text(track["type"].get<std::string>()), facts);
}

std::string tracks_section(const Json &description) {
    std::string cards;
    size_t shown = 0;
    for (const Json &track : description["tracks"]) {
        if (++shown <= kMaxTracks) cards += track_card(track);
    }
    return fmt::format("<section class=\"long\"><h2>Tracks</h2><div class=\"tracks\">\n{}</div></section>\n",
                       cards);
}

std::string tags_section(const Json &description) {
    if (!description.contains("tags") || !description["tags"].is_object()) return {};
    std::string tags;
    size_t shown = 0;
    for (const auto &[name, value] : description["tags"].items()) {
        if (++shown <= kMaxTags) tags += fact(label_of(name), value_text("", value));
    }
    return fmt::format("<section><h2>Tags</h2><dl>\n{}</dl></section>\n", tags);
}

std::string finding_row(const Finding &finding) {
    const bool is_damage = finding.severity == Severity::Damage;
    const auto place = [](int64_t value, const std::string &text) {
        return value < 0 ? std::string("&#8211;") : text;
    };
    return fmt::format(
        "<tr><td class=\"{0}\">{0}</td><td class=\"number\">{1}</td><td class=\"number\">{2}</td>"
        "<td class=\"number\">{3}</td><td>{4}</td></tr>\n",
        is_damage ? "damage" : "remark",
        place(finding.time_ms, time_text(static_cast<uint64_t>(finding.time_ms))),
        place(finding.offset, fmt::format("{}", finding.offset)),
        place(finding.track == 0 ? -1 : 0, fmt::format("{}", finding.track)), html(finding.text));
}

std::string findings_section(const CheckResult &check) {
    if (check.findings.empty())
        return "<section><h2>Findings</h2><p>Everything was read, and nothing is wrong with "
               "it.</p></section>\n";
    std::string rows;
    const size_t shown = std::min(check.findings.size(), kMaxFindings);
    for (size_t i = 0; i < shown; ++i)
        rows += finding_row(check.findings[i]);
    std::string rest;
    if (shown < check.findings.size())
        rest = fmt::format("<p>{} more are not shown.</p>", check.findings.size() - shown);
    return fmt::format(
        "<section class=\"long\"><h2>Findings</h2><div class=\"scroll\"><table><thead><tr>"
        "<th>severity</th><th class=\"number\">time</th><th class=\"number\">offset</th>"
        "<th class=\"number\">track</th><th>what</th></tr></thead><tbody>\n{}</tbody></table>"
        "</div>{}</section>\n",
        rows, rest);
}

std::string_view verdict_style(Verdict verdict) {
    if (verdict == Verdict::Sound) return "sound-file";
    return verdict == Verdict::Remarks ? "remarks" : "damaged";
}

std::string_view container_text(const Json &description) {
    const auto container = description["container"].get<std::string>();
    return container == "avi" ? "AVI" : container == "asf" ? "ASF" : "MPEG audio";
}

std::string summary(const Json &description, const CheckResult &check) {
    std::string facts =
        fmt::format("<span class=\"verdict {}\">{}</span>", verdict_style(check.verdict),
                    check.verdict == Verdict::Remarks ? "sound, with remarks" : verdict_name(check.verdict));
    const auto add = [&facts](std::string_view name, const std::string &value) {
        facts += fmt::format("<span>{} <b>{}</b></span>", name, value);
    };
    add("format", std::string(container_text(description)));
    if (description.contains("size")) add("size", size_text(description["size"].get<uint64_t>()));
    uint64_t duration = 0;
    for (const Json &track : description["tracks"])
        duration = std::max(duration, track.value("duration_ms", uint64_t{0}));
    add("duration", time_text(duration));
    add("tracks", fmt::format("{}", description["tracks"].size()));
    return fmt::format("<p class=\"summary\">{}</p>", facts);
}

}  // namespace

std::string report_page(const Json &description, const CheckResult &check, const std::string &charts) {
    const std::string name = html(description["file"].get<std::string>());
    return fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
        "<title>{0}</title><style>{1}</style></head>\n"
        "<body><main><header><h1><bdi>{0}</bdi></h1>{2}</header>\n{3}{4}{5}{6}"
        "<footer>quorv {7}</footer></main></body></html>\n",
        name, kReportStyle, summary(description, check), findings_section(check), charts,
        tracks_section(description), tags_section(description), quorv_version());
}

}  // namespace quorv::tool
