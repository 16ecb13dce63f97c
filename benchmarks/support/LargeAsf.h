// Large ASF files: video frames of one size, each with its sound behind it when there is sound.
#ifndef QUORV_BENCHMARKS_SUPPORT_LARGEASF_H
#define QUORV_BENCHMARKS_SUPPORT_LARGEASF_H

#include "support/LargeAvi.h"

namespace quorv::bench {

// As make_large_avi does; sound is 960 bytes a frame, and there is no index.
LargeFile make_large_asf(uint32_t packet_bytes, uint32_t frame_bytes, bool sound, uint64_t total);

struct AsfShape {
    const char *name;
    uint32_t packet_bytes, frame_kilobytes;
};

// Of a stream for slow lines, of a usual file, of a large one.
inline constexpr AsfShape kAsfShapes[] = {
    {"ASF, 1400 B packets", 1400, 4}, {"ASF, 8 KB packets", 8000, 16}, {"ASF, 64 KB packets", 64000, 64}};

}  // namespace quorv::bench

#endif
