// What the header of a JPEG picture tells of it.
#ifndef QUORV_TOOLS_QUORV_JPEGHEADER_H
#define QUORV_TOOLS_QUORV_JPEGHEADER_H

#include <cstdint>
#include <span>
#include <string>

namespace quorv::tool {

struct JpegHeader {
    uint32_t width = 0, height = 0;  // 0: there is no header
    std::string coding;              // "4:2:2, 8 bits"
};

JpegHeader find_jpeg_header(std::span<const uint8_t> picture);

}  // namespace quorv::tool

#endif
