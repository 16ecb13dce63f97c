// The pictures of a report; see the header.

#include "ReportCharts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "Html.h"
#include "Plot.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr int64_t kChartSecond = 1000000;
// Marks of a drawing: no more than there are pixels for, and few enough for a small page.
constexpr int64_t kRateSpans = 240, kSizeSpans = 360, kKeySpans = 360, kDamageSpans = 120;
constexpr double kHeight = 100;
// How wide the file is drawn.
constexpr double kPlaces = 1000;
constexpr size_t kTimes = 5, kMaxLanes = 4, kLinks = 72;

std::string time_of(int64_t microseconds) {
    return time_text(static_cast<uint64_t>(std::max<int64_t>(microseconds, 0) / 1000));
}

std::string rate_text(double bits) {
    return bits < 1e6 ? fmt::format("{:.0f} kbit/s", bits / 1e3) : fmt::format("{:.2f} Mbit/s", bits / 1e6);
}

std::string section(std::string_view title, const std::string &text, const std::string &figure) {
    return fmt::format("<section><h2>{}</h2><p>{}</p>\n{}</section>\n", title, text, figure);
}

std::string key_to(std::string_view style, std::string_view text) {
    return fmt::format("<span class=\"key\"><i class=\"{}\"></i>{}</span> ", style, text);
}

std::string track_title(const Track &track) {
    return fmt::format("track {}, {}", track.facts->number, html(track.facts->codec_name));
}

std::vector<std::string> size_texts(uint64_t limit) {
    return {size_text(limit), size_text(limit / 2), "0"};
}

}  // namespace

ReportCharts::ReportCharts(const std::vector<Track> &tracks, const std::vector<Timeline> &timelines,
                           const std::vector<Finding> &findings, uint64_t file_bytes)
    : tracks_(tracks), timelines_(timelines), findings_(findings), file_bytes_(file_bytes) {
    for (const Timeline &timeline : timelines_)
        end_us_ = std::max(end_us_, timeline.end_us());
}

std::vector<std::string> ReportCharts::times() const {
    std::vector<std::string> texts;
    for (size_t i = 0; i < kTimes; ++i) {
        const double part = static_cast<double>(i) / (kTimes - 1);
        const std::string text = time_of(static_cast<int64_t>(part * static_cast<double>(end_us_)));
        texts.push_back(end_us_ < 60 * kChartSecond ? text : text.substr(0, text.find('.')));
    }
    return texts;
}

// Damage of the same span is one mark.
void ReportCharts::mark_damage(Plot &plot, double width, double height) const {
    std::array<std::vector<const Finding *>, kDamageSpans + 1> spans;
    for (const Finding &finding : findings_) {
        if (finding.severity != Severity::Damage || finding.time_ms < 0) continue;
        const double part = static_cast<double>(finding.time_ms) * 1000 / static_cast<double>(end_us_);
        spans[static_cast<size_t>(std::min(part, 1.0) * kDamageSpans)].push_back(&finding);
    }
    for (const auto &span : spans) {
        if (span.empty()) continue;
        const Finding &first = *span.front();
        std::string title =
            fmt::format("Damage at {}: {}", time_of(first.time_ms * 1000), html(first.text, 160));
        if (span.size() > 1) title += fmt::format(" and {} more", span.size() - 1);
        const double part = static_cast<double>(first.time_ms) * 1000 / static_cast<double>(end_us_);
        const double x = std::min(part, 1.0) * width;
        plot.line("damage", x, 0, x, height, title);
    }
}

std::string ReportCharts::bit_rate() const {
    int64_t length = std::max<int64_t>(end_us_ / kRateSpans, kChartSecond / 4);
    // All time lines give spans of the same length, once that is a multiple of the longest one's.
    for (const Timeline &timeline : timelines_)
        static_cast<void>(timeline.spans(length));
    std::vector<std::array<uint64_t, 2>> bytes;  // of pictures and sound
    std::array<bool, 2> has = {};
    for (size_t i = 0; i < timelines_.size(); ++i) {
        const std::vector<TimeSpan> spans = timelines_[i].spans(length);
        const size_t kind = tracks_[i].is_video() ? 0 : 1;
        has[kind] = has[kind] || !spans.empty();
        bytes.resize(std::max(bytes.size(), spans.size()));
        for (size_t at = 0; at < spans.size(); ++at)
            bytes[at][kind] += spans[at].bytes;
    }
    if (bytes.empty()) return {};
    const double width = static_cast<double>(end_us_) / static_cast<double>(length);
    const auto span_seconds = [&](size_t at) {  // the last span is a part of one
        return std::clamp(width - static_cast<double>(at), 0.2, 1.0) * static_cast<double>(length) / 1e6;
    };
    double most = 0;
    for (size_t at = 0; at < bytes.size(); ++at)
        most = std::max(most, 8 * static_cast<double>(bytes[at][0] + bytes[at][1]) / span_seconds(at));
    const auto limit = static_cast<double>(round_limit(static_cast<uint64_t>(std::max(most, 1000.0))));
    Plot plot("Bit rate over time", std::max(width, 1.0), kHeight);
    for (size_t at = 0; at < bytes.size(); ++at) {
        const double sound = 8 * static_cast<double>(bytes[at][1]) / span_seconds(at);
        const double all = sound + 8 * static_cast<double>(bytes[at][0]) / span_seconds(at);
        std::string title = time_of(static_cast<int64_t>(at) * length);
        if (has[0]) title += ": pictures " + rate_text(all - sound);
        if (has[1]) title += fmt::format("{} sound {}", has[0] ? "," : ":", rate_text(sound));
        plot.begin_marks(title);
        if (all > sound) plot.bar("video", static_cast<double>(at), 0.9, all / limit * kHeight);
        plot.bar("sound", static_cast<double>(at), 0.9, sound / limit * kHeight);
        plot.end_marks();
    }
    mark_damage(plot, std::max(width, 1.0), kHeight);
    return section(
        "Bit rate",
        (has[0] ? key_to("video", "pictures") : "") + (has[1] ? key_to("sound", "sound") : "") +
            fmt::format("in spans of {:.3g} s, one on the other", static_cast<double>(length) / 1e6),
        plot.figure({rate_text(limit), rate_text(limit / 2), "0"}, times()));
}

std::string ReportCharts::frame_sizes(size_t track) const {
    const Timeline &timeline = timelines_[track];
    if (timeline.frames() == 0) return {};
    // A frame a mark in short files.
    const auto mean_us = timeline.end_us() / static_cast<int64_t>(timeline.frames());
    int64_t length = std::max<int64_t>(end_us_ / kSizeSpans, mean_us);
    const std::vector<TimeSpan> spans = timeline.spans(length);
    uint64_t largest = 1;
    for (const TimeSpan &span : spans)
        largest = std::max({largest, span.largest, span.largest_key});
    const uint64_t limit = round_limit(largest);
    const bool is_video = tracks_[track].is_video();
    const double width = std::max(static_cast<double>(end_us_) / static_cast<double>(length), 1.0);
    const auto height = [limit](uint64_t bytes) {
        return static_cast<double>(bytes) / static_cast<double>(limit) * kHeight;
    };
    Plot plot("Frame sizes over time", width, kHeight);
    for (size_t at = 0; at < spans.size(); ++at) {
        const TimeSpan &span = spans[at];
        if (span.frames == 0) continue;
        std::string title = fmt::format(
            "{}: {}, {} on average, the largest {}", time_of(static_cast<int64_t>(at) * length),
            counted(span.frames, is_video ? "picture" : "frame"), size_text(span.bytes / span.frames),
            size_text(std::max(span.largest, span.largest_key)));
        if (is_video && span.keys > 0) title += fmt::format("; {}", counted(span.keys, "key picture"));
        const auto x = static_cast<double>(at);
        plot.begin_marks(title);
        if (is_video) plot.bar("keyframe", x, 0.9, height(span.largest_key));
        plot.bar(is_video ? "video" : "sound", x, 0.9,
                 height(is_video ? span.largest : std::max(span.largest, span.largest_key)));
        plot.end_marks();
    }
    mark_damage(plot, width, kHeight);
    const std::string legend =
        is_video ? key_to("keyframe", "key pictures") + key_to("video", "other pictures") : std::string();
    return section(fmt::format("Frame sizes, {}", track_title(tracks_[track])),
                   legend + fmt::format("the largest of each span; {} on average",
                                        size_text(timeline.bytes() / timeline.frames())),
                   plot.figure(size_texts(limit), times()));
}

std::string ReportCharts::key_frames(size_t track) const {
    const Timeline &timeline = timelines_[track];
    if (!tracks_[track].is_video() || timeline.keys() == 0) return {};
    int64_t length = std::max<int64_t>(end_us_ / kKeySpans, 1);
    const std::vector<TimeSpan> spans = timeline.spans(length);
    Plot plot("Key frames over time", static_cast<double>(end_us_) / static_cast<double>(length), 10);
    for (const TimeSpan &span : spans) {
        if (span.keys == 0) continue;
        const double x = static_cast<double>(span.first_key_us) / static_cast<double>(length);
        const std::string when = time_of(span.first_key_us);
        plot.line("keyframe", x, 0, x, 10,
                  span.keys == 1 ? "Key frame at " + when
                                 : fmt::format("{} from {} on", counted(span.keys, "key frame"), when));
    }
    mark_damage(plot, static_cast<double>(end_us_) / static_cast<double>(length), 10);
    std::string text = counted(timeline.keys(), "key frame");
    if (timeline.longest_without_key_us() > 0)
        text += fmt::format(", at most {:.2f} s apart (from {} on)",
                            static_cast<double>(timeline.longest_without_key_us()) / 1e6,
                            time_of(timeline.longest_begins_us()));
    return section(fmt::format("Key frames, {}", track_title(tracks_[track])), text,
                   plot.figure({}, times(), "strip"));
}

void ReportCharts::mark_places_of_damage(Plot &plot) const {
    for (const Finding &finding : findings_) {
        if (finding.severity != Severity::Damage || finding.offset < 0) continue;
        const double x =
            kPlaces * std::min(static_cast<double>(finding.offset) / static_cast<double>(file_bytes_), 1.0);
        plot.line("damage", x, 0, x, kHeight,
                  fmt::format("Damage at byte {}: {}", finding.offset, html(finding.text, 160)));
        if (&finding - findings_.data() > kDamageSpans) break;
    }
}

// Joins what has the same time on two tracks' lanes; returns how many bytes that is apart at most. A track
// that is alone is drawn against itself.
uint64_t ReportCharts::join_lanes(Plot &plot, size_t upper, size_t lower, int64_t length, double y,
                                  double step) const {
    const auto place = [this](const TimeSpan &span) {
        return kPlaces * static_cast<double>(span.offset) / static_cast<double>(file_bytes_);
    };
    const std::vector<TimeSpan> above = timelines_[upper].spans(length);
    const std::vector<TimeSpan> below = timelines_[lower].spans(length);
    uint64_t farthest = 0;
    for (size_t at = 0; at < std::min(above.size(), below.size()); ++at) {
        if (above[at].offset < 0 || below[at].offset < 0) continue;
        const auto apart = static_cast<uint64_t>(std::abs(above[at].offset - below[at].offset));
        farthest = std::max(farthest, apart);
        std::string title =
            fmt::format("{}: at byte {}", time_of(static_cast<int64_t>(at) * length), above[at].offset);
        if (upper != lower) title += fmt::format(" and {}, {} apart", below[at].offset, size_text(apart));
        plot.line("link", place(above[at]), y, place(below[at]), y + step, title);
    }
    return farthest;
}

// A lane a track, from the file's beginning to its end; what has the same time is joined.
std::string ReportCharts::places() const {
    std::vector<size_t> lanes;
    for (size_t i = 0; i < timelines_.size() && lanes.size() < kMaxLanes; ++i) {
        if (timelines_[i].knows_offsets()) lanes.push_back(i);
    }
    if (lanes.empty() || file_bytes_ == 0) return {};
    const double step = lanes.size() > 1 ? kHeight / static_cast<double>(lanes.size() - 1) : kHeight;
    Plot plot("Where the same times lie in the file", kPlaces, kHeight);
    int64_t length = std::max<int64_t>(end_us_ / static_cast<int64_t>(kLinks), 1);
    // Each may need longer spans than the one before it.
    for (const size_t lane : lanes)
        static_cast<void>(timelines_[lane].spans(length));
    uint64_t farthest = join_lanes(plot, lanes[0], lanes[lanes.size() > 1 ? 1 : 0], length, 0, step);
    for (size_t i = 1; i + 1 < lanes.size(); ++i)
        farthest = std::max(
            farthest, join_lanes(plot, lanes[i], lanes[i + 1], length, static_cast<double>(i) * step, step));
    mark_places_of_damage(plot);
    std::vector<std::string> names, bytes;
    for (const size_t lane : lanes)
        names.push_back(fmt::format("track {}", tracks_[lane].facts->number));
    for (size_t i = 0; i < kTimes; ++i)
        bytes.push_back(size_text(file_bytes_ * i / (kTimes - 1)));
    std::string text = "Each line is a moment, drawn where its frames lie in the file";
    if (lanes.size() > 1)
        text += fmt::format(": upright where they lie together, at most {} apart", size_text(farthest));
    return section("Where the tracks lie", text + ".", plot.figure(names, bytes));
}

}  // namespace quorv::tool
