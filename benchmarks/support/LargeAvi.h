// Large AVI files: motion JPEG frames of one size, each with its sound behind it when there is sound.
#ifndef QUORV_BENCHMARKS_SUPPORT_LARGEAVI_H
#define QUORV_BENCHMARKS_SUPPORT_LARGEAVI_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quorv::bench {

inline constexpr uint64_t kGigabyte = uint64_t{1} << 30;

// Of an AVI file, or a fragment of an ASF file.
struct MediaChunk {
    uint32_t track;     // from 1
    uint64_t position;  // of its data
    uint32_t size;
};

struct LargeFile {
    std::vector<uint8_t> bytes;
    std::vector<MediaChunk> chunks;  // in file order
};

// A chunk behind each frame, of as long a time: a frame of MP3 at 320 kbit/s, or samples of 16-bit stereo,
// which the splitter delivers in pieces of 1024. ASF files have WMA sound instead.
enum class Sound { None, Mp3, Pcm, Wma };

const char *tracks_text(Sound sound);
// How a table names such a file.
std::string file_text(const std::string &format, uint32_t frame_kilobytes, Sound sound);

// 24 ms a frame, made-up content, as many frames as fit into `total` bytes, and an "idx1" index.
LargeFile make_large_avi(uint32_t frame_bytes, Sound sound, uint64_t total);

// Not to be compressed or predicted by anything on the way; which bytes they are does not matter.
void fill_randomly(uint8_t *to, size_t count, uint64_t &state);

}  // namespace quorv::bench

#endif
