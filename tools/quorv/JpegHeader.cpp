// What the header of a JPEG picture tells of it; see the header.

#include "JpegHeader.h"

#include <fmt/format.h>

namespace quorv::tool {

namespace {

// How many samples of brightness, across and down, come with one of colour.
constexpr struct {
    uint8_t factors;
    const char *name;
} kSubsamplings[] = {{0x11, "4:4:4"}, {0x21, "4:2:2"}, {0x22, "4:2:0"}, {0x12, "4:4:0"}, {0x41, "4:1:1"}};

bool is_frame_header(uint8_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// The segment begins with its length; what is not there is not told.
std::string coding_of(std::span<const uint8_t> segment) {
    constexpr size_t kBits = 2, kComponents = 7, kFactors = 9, kComponentBytes = 3;
    std::string coding;
    if (segment[kComponents] == 1) coding = "grey, ";
    if (segment[kComponents] == 3 && segment.size() > kFactors + 2 * kComponentBytes &&
        segment[kFactors + kComponentBytes] == 0x11) {
        for (const auto &known : kSubsamplings) {
            if (known.factors == segment[kFactors]) coding = fmt::format("{}, ", known.name);
        }
    }
    return coding + fmt::format("{} bits", segment[kBits]);
}

}  // namespace

JpegHeader find_jpeg_header(std::span<const uint8_t> picture) {
    constexpr size_t kMarkerBytes = 2, kHeight = 3, kWidth = 5, kLeastBytes = 8;
    const auto two = [&](size_t at) { return static_cast<uint32_t>(picture[at] << 8 | picture[at + 1]); };
    for (size_t at = kMarkerBytes; picture.size() >= at + kMarkerBytes + kLeastBytes && picture[at] == 0xFF;
         at += kMarkerBytes + two(at + kMarkerBytes)) {
        const uint8_t marker = picture[at + 1];
        const size_t segment = at + kMarkerBytes;
        if (is_frame_header(marker))
            return {two(segment + kWidth), two(segment + kHeight), coding_of(picture.subspan(segment))};
        if (marker < 0xC0 || marker == 0xDA) break;
    }
    return {};
}

}  // namespace quorv::tool
