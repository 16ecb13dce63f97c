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
    uint64_t total = kGigabyte;
};

// A quarter of an hour of video as most programs write it.
inline constexpr AsfShape kUsualAsf = {"ASF, 3200 B packets", 3200, 8, 160'000'000};
// Of a stream for slow lines, of a large file, of a huge one.
inline constexpr AsfShape kAsfShapes[] = {
    {"ASF, 1400 B packets", 1400, 4}, {"ASF, 8 KB packets", 8000, 16}, {"ASF, 64 KB packets", 64000, 64}};

}  // namespace quorv::bench

#endif
