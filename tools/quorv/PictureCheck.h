// Compares the picture size that a video stream has in its own headers with what the file says of it.
#ifndef QUORV_TOOLS_QUORV_PICTURECHECK_H
#define QUORV_TOOLS_QUORV_PICTURECHECK_H

#include <vector>

#include "Finding.h"
#include "MediaFile.h"

namespace quorv::tool {

class PictureCheck {
public:
    explicit PictureCheck(const Track &track) : track_(track) {}

    // Packets from the first one on. Looks at few of them.
    void take(const QuorvPacket &packet);
    void finish(std::vector<Finding> &findings) const;

private:
    struct Size {
        uint32_t width = 0, height = 0;
    };
    Size find_size(std::span<const uint8_t> data) const;

    const Track track_;
    int tries_left_ = 8;
    Size size_;
    int64_t offset_ = -1, time_ms_ = -1;
};

}  // namespace quorv::tool

#endif
