// The pictures of a report: what a file's frames look like over time, and where they lie.
#ifndef QUORV_TOOLS_QUORV_REPORTCHARTS_H
#define QUORV_TOOLS_QUORV_REPORTCHARTS_H

#include <string>
#include <vector>

#include "Finding.h"
#include "MediaFile.h"
#include "Timeline.h"

namespace quorv::tool {

class ReportCharts {
public:
    // A time line for each track. All must outlive this object.
    ReportCharts(const std::vector<Track> &tracks, const std::vector<Timeline> &timelines,
                 const std::vector<Finding> &findings, uint64_t file_bytes);

    // Sections of a page; empty where there is nothing to draw.
    std::string bit_rate() const;
    std::string frame_sizes(size_t track) const;
    std::string key_frames(size_t track) const;
    std::string places() const;

private:
    std::vector<std::string> times() const;
    void mark_damage(class Plot &plot, double width, double height) const;
    void mark_places_of_damage(class Plot &plot) const;
    uint64_t join_lanes(class Plot &plot, size_t upper, size_t lower, int64_t length, double y,
                        double step) const;

    const std::vector<Track> &tracks_;
    const std::vector<Timeline> &timelines_;
    const std::vector<Finding> &findings_;
    const uint64_t file_bytes_;
    int64_t end_us_ = 1;
};

}  // namespace quorv::tool

#endif
