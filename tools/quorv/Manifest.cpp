// What an archive held when it was checked; see the header.

#include "Manifest.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

#include "Failure.h"
#include "Json.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr std::string_view kHead = "{\"quorv_manifest\":1}";
constexpr char kHexDigits[] = "0123456789abcdef";

// Names are bytes, JSON is not: each byte that is not printable ASCII, and '%', is written as %xx.
std::string escaped(const std::string &name) {
    std::string text;
    for (const char c : name) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte >= ' ' && byte <= '~' && byte != '%')
            text += c;
        else
            text += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    }
    return text;
}

std::string unescaped(const std::string &text) {
    std::string name;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && text.size() - i > 2) {
            name += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            name += text[i];
        }
    }
    return name;
}

ManifestFile parse_file(const Json &line) {
    ManifestFile file;
    file.md5 = line.at("md5").get<std::string>();
    for (const Json &track : line.at("tracks"))
        file.tracks[track.at("track").get<uint32_t>()] = track.at("md5").get<std::string>();
    return file;
}

std::string track_digest(const CheckResult &result, uint32_t number) {
    const auto track = std::find_if(result.tracks.begin(), result.tracks.end(),
                                    [number](const TrackTotals &each) { return each.number == number; });
    return track != result.tracks.end() ? track->md5 : "";
}

bool holds(const CheckResult &result, const std::string &digest) {
    return std::any_of(result.tracks.begin(), result.tracks.end(),
                       [&](const TrackTotals &track) { return track.md5 == digest; });
}

bool holds_all(const CheckResult &result, const ManifestFile &file) {
    return !file.tracks.empty() &&
           std::all_of(file.tracks.begin(), file.tracks.end(),
                       [&](const auto &track) { return holds(result, track.second); });
}

}  // namespace

std::string manifest_head() {
    return std::string(kHead) + '\n';
}

std::string manifest_line(const CheckResult &result) {
    Json tracks = Json::array();
    for (const TrackTotals &track : result.tracks) {
        if (track.frames != 0)
            tracks.push_back({{"track", track.number},
                              {"frames", track.frames},
                              {"bytes", track.bytes},
                              {"md5", track.md5}});
    }
    return json_line({{"file", escaped(result.file)}, {"md5", result.md5}, {"tracks", std::move(tracks)}});
}

bool Manifest::is_manifest(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    return std::getline(file, line) && line == kHead;
}

Manifest::Manifest(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw io_failure(errno);
    std::string line;
    if (!std::getline(file, line) || line != kHead) throw Failure(ExitCode::BadFile, "it is no manifest");
    for (size_t number = 2; std::getline(file, line); ++number) {
        try {
            const Json json = Json::parse(line);
            const std::string name = unescaped(json.at("file").get<std::string>());
            files_[name] = parse_file(json);
            for (const auto &[track, digest] : files_[name].tracks)
                by_track_.emplace(digest, name);
        } catch (const std::exception &) {
            throw Failure(ExitCode::BadFile, fmt::format("line {} of the manifest is damaged", number));
        }
    }
    if (file.bad()) throw io_failure(EIO);
}

void Manifest::compare(CheckResult &result) {
    const auto known = files_.find(result.file);
    const bool is_media = result.verdict != Verdict::Foreign && result.verdict != Verdict::Unreadable;
    if (known != files_.end()) known->second.is_met = true;
    // What cannot be read is told already; what never was one of ours need not be.
    if (result.verdict == Verdict::Unreadable || (!is_media && known == files_.end())) return;
    if (known != files_.end()) {
        if (known->second.md5 != result.md5) compare_tracks(known->second, result);
    } else if (!find_moved(result)) {
        result.findings.push_back({.kind = "manifest_new", .text = "it is not in the manifest"});
    }
    result.judge();
}

void Manifest::compare_tracks(const ManifestFile &known, CheckResult &result) const {
    bool is_same = true;
    for (const auto &[number, digest] : known.tracks) {
        if (track_digest(result, number) == digest || holds(result, digest)) continue;
        is_same = false;
        result.findings.push_back({.kind = "manifest_track",
                                   .severity = Severity::Damage,
                                   .track = number,
                                   .text = "its frames are not those of the manifest"});
    }
    if (is_same)
        result.findings.push_back(
            {.kind = "manifest_file",
             .text = "the file is another one than in the manifest, with the same frames"});
}

// Whether it holds the tracks of a file that the manifest has under another name.
bool Manifest::find_moved(CheckResult &result) {
    for (const TrackTotals &track : result.tracks) {
        const auto [first, last] = by_track_.equal_range(track.md5);
        for (auto each = first; each != last; ++each) {
            ManifestFile &file = files_.at(each->second);
            if (!holds_all(result, file)) continue;
            file.is_met = true;
            result.findings.push_back(
                {.kind = "manifest_moved",
                 .text = fmt::format("it holds all tracks of {}", printable(each->second))});
            return true;
        }
    }
    return false;
}

std::vector<std::string> Manifest::missing(const std::vector<std::string> &folders) const {
    std::vector<std::string> names;
    for (const auto &entry : files_) {
        const std::string &name = entry.first;
        const auto is_inside = [&name](const std::string &folder) {
            return name.starts_with(folder.ends_with('/') ? folder : folder + '/');
        };
        if (!entry.second.is_met && std::any_of(folders.begin(), folders.end(), is_inside))
            names.push_back(name);
    }
    return names;
}

}  // namespace quorv::tool
