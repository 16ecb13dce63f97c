// Writes a video-only AVI file: one stream, one "movi" list, one "idx1" index. Small on purpose: it exists
// so that samples do not all come from one muxer.
#ifndef QUORV_SAMPLES_AVIWRITER_H
#define QUORV_SAMPLES_AVIWRITER_H

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace quorv::samples {

struct AviVideoFormat {
    uint32_t width;
    uint32_t height;
    uint32_t rate;  // frames a second are rate / scale
    uint32_t scale;
    std::string fourcc;
};

class AviWriter {
public:
    AviWriter(const std::string &path, AviVideoFormat format);

    void add_frame(const std::vector<uint8_t> &frame, bool key);
    // Writes the index and completes the header; false when anything could not be written.
    bool finish();

private:
    void put_header();

    std::ofstream file_;
    AviVideoFormat format_;
    std::string index_;
    uint32_t frames_ = 0;
    uint32_t largest_ = 0;
    uint32_t movi_size_ = 4;
};

}  // namespace quorv::samples

#endif
