// Large AVI files: motion JPEG frames of one size, on request each with its sound behind it.
#ifndef QUORV_BENCHMARKS_SUPPORT_LARGEAVI_H
#define QUORV_BENCHMARKS_SUPPORT_LARGEAVI_H

#include <cstdint>
#include <vector>

namespace quorv::bench {

inline constexpr uint64_t kGigabyte = uint64_t{1} << 30;

struct MediaChunk {
    uint32_t track;     // from 1
    uint64_t position;  // of its data
    uint32_t size;
};

struct LargeAvi {
    std::vector<uint8_t> bytes;
    std::vector<MediaChunk> chunks;  // in file order
};

// 25 frames a second with made-up content, up to `total` bytes of media data and an "idx1" index. The sound
// is 48 kHz 16-bit stereo PCM, a chunk of 7680 bytes behind each frame.
LargeAvi make_large_avi(uint32_t frame_bytes, bool with_sound, uint64_t total);

}  // namespace quorv::bench

#endif
