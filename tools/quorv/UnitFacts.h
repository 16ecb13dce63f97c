// What the header of one unit of an elementary video stream says.
#ifndef QUORV_TOOLS_QUORV_UNITFACTS_H
#define QUORV_TOOLS_QUORV_UNITFACTS_H

#include <quorv/video_header.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quorv::tool {

enum class VideoFormat { H264, Mpeg4 };

struct UnitFacts {
    uint32_t code = 0;      // NAL unit type, or the MPEG-4 start code's last byte
    std::string_view name;  // for programs: "sps"
    std::string_view title;
    uint32_t profile = 0;  // 0: not told
    uint32_t width = 0, height = 0;
    uint32_t time_increment_bits = 0;
    std::string_view picture;  // "I", "P", "B", "S", "not coded"
    bool unsupported = false;  // an MPEG-4 layer with tools that the library refuses

    // What follows the title in a line for people.
    std::string details() const;
};

// Reads the units of one stream in order: planes of MPEG-4 video can only be read after their layer.
class UnitReader {
public:
    explicit UnitReader(VideoFormat format) : format_(format) {}

    // The head begins with the start code.
    UnitFacts read(std::span<const uint8_t> head);

private:
    UnitFacts read_h264(std::span<const uint8_t> head) const;
    UnitFacts read_mpeg4(std::span<const uint8_t> head);

    VideoFormat format_;
    std::optional<ZevVideoParam> layer_;
};

}  // namespace quorv::tool

#endif
