// What a check of a file comes to: findings, tracks, a verdict.
#ifndef QUORV_TOOLS_QUORV_FINDING_H
#define QUORV_TOOLS_QUORV_FINDING_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorv::tool {

// A remark is about a file from which all can be read; with damage, something is lost, or who trusts the
// file's own index does not find it.
enum class Severity { Remark, Damage };

struct Finding {
    std::string_view kind;  // for programs: "cut_off"
    Severity severity = Severity::Remark;
    uint32_t track = 0;  // its number, 0 for the whole file
    // -1 where it has none.
    int64_t offset = -1, time_ms = -1, bytes = -1;
    std::string text;
};

struct TrackTotals {
    uint32_t number = 0;
    uint64_t frames = 0, bytes = 0;
    std::string md5;  // of all frames, one behind the other; empty when it was not wanted
};

// Ordered from good to bad.
enum class Verdict { Sound, Remarks, Foreign, Damaged, Unreadable };

struct CheckResult {
    std::string file;  // as the user wrote it
    Verdict verdict = Verdict::Sound;
    std::vector<Finding> findings;  // in the order of their places
    std::vector<TrackTotals> tracks;
    std::string md5;  // of the file's bytes; empty when it was not wanted

    // A finding that decides by itself what the file is.
    void conclude(Verdict which, std::string_view kind, const std::string &text);
    // Puts the findings in order and judges by them.
    void judge();
};

std::string_view verdict_name(Verdict verdict);

// Cases of one kind, of which those in a row are one finding. After many rows the last one takes all that
// come.
class FindingRuns {
public:
    // The phrase goes behind a number of the noun: "3 frames", "do not match".
    FindingRuns(std::string_view kind, Severity severity, uint32_t track, std::string_view noun,
                std::string_view phrase)
        : kind_(kind), severity_(severity), track_(track), noun_(noun), phrase_(phrase) {}

    // The index counts what could have the fault: cases in a row have indexes in a row.
    void note(uint64_t index, int64_t offset, int64_t time_ms, int64_t bytes, uint64_t cases = 1);
    void finish(std::vector<Finding> &findings) const;

private:
    struct Run {
        uint64_t last_index = 0, cases = 0;
        int64_t offset = -1, time_ms = -1, bytes = -1;
    };

    std::string_view kind_;
    Severity severity_;
    uint32_t track_;
    std::string_view noun_, phrase_;
    std::vector<Run> runs_;
};

}  // namespace quorv::tool

#endif
