// What a check of a file comes to; see the header.

#include "Finding.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "Text.h"

namespace quorv::tool {

namespace {

constexpr size_t kMostRuns = 100;

}  // namespace

void CheckResult::conclude(Verdict which, std::string_view kind, const std::string &text) {
    verdict = which;
    findings.push_back({.kind = kind,
                        .severity = which == Verdict::Foreign ? Severity::Remark : Severity::Damage,
                        .text = text});
}

void CheckResult::judge() {
    // What has no place of its own is about the whole and comes last.
    const auto place = [](const Finding &finding) {
        return std::make_tuple(static_cast<uint64_t>(finding.offset), finding.track);
    };
    std::stable_sort(findings.begin(), findings.end(),
                     [&](const Finding &a, const Finding &b) { return place(a) < place(b); });
    verdict = findings.empty() ? Verdict::Sound : Verdict::Remarks;
    if (std::any_of(findings.begin(), findings.end(),
                    [](const Finding &finding) { return finding.severity == Severity::Damage; }))
        verdict = Verdict::Damaged;
}

std::string_view verdict_name(Verdict verdict) {
    switch (verdict) {
        case Verdict::Sound:
            return "sound";
        case Verdict::Remarks:
            return "remarks";
        case Verdict::Foreign:
            return "foreign";
        case Verdict::Damaged:
            return "damaged";
        default:
            return "unreadable";
    }
}

void FindingRuns::note(uint64_t index, int64_t offset, int64_t time_ms, int64_t bytes, uint64_t cases) {
    const bool goes_on = !runs_.empty() && index - runs_.back().last_index <= 1;
    if (!goes_on && runs_.size() < kMostRuns) runs_.push_back({index, 0, offset, time_ms, -1});
    Run &run = runs_.back();
    run.last_index = index;
    run.cases += cases;
    if (bytes >= 0) run.bytes = std::max<int64_t>(run.bytes, 0) + bytes;
}

void FindingRuns::finish(std::vector<Finding> &findings) const {
    for (const Run &run : runs_)
        findings.push_back({kind_, severity_, track_, run.offset, run.time_ms, run.bytes,
                            fmt::format("{} {}", counted(run.cases, noun_), phrase_)});
}

}  // namespace quorv::tool
