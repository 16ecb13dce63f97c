// What a check comes to, for programs; see the header.

#include "CheckJson.h"

#include <utility>

namespace quorv::tool {

namespace {

Json place_json(int64_t place) {
    return place >= 0 ? Json(place) : Json();
}

Json finding_json(const Finding &finding) {
    return {{"kind", finding.kind},
            {"severity", finding.severity == Severity::Damage ? "damage" : "remark"},
            {"track", finding.track != 0 ? Json(finding.track) : Json()},
            {"offset", place_json(finding.offset)},
            {"time_ms", place_json(finding.time_ms)},
            {"bytes", place_json(finding.bytes)},
            {"text", finding.text}};
}

}  // namespace

Json result_json(const CheckResult &result) {
    Json findings = Json::array(), tracks = Json::array();
    for (const Finding &finding : result.findings)
        findings.push_back(finding_json(finding));
    for (const TrackTotals &track : result.tracks) {
        Json json = {{"track", track.number}, {"frames", track.frames}, {"bytes", track.bytes}};
        if (!track.md5.empty()) json["md5"] = track.md5;
        tracks.push_back(std::move(json));
    }
    Json json = {{"file", result.file},
                 {"verdict", verdict_name(result.verdict)},
                 {"findings", std::move(findings)},
                 {"tracks", std::move(tracks)}};
    if (!result.md5.empty()) json["md5"] = result.md5;
    return json;
}

}  // namespace quorv::tool
