// What both splitters share: the public records with their pinned layout, FourCC values, and safe conversion
// of computed times to the integers of the interface.
#ifndef QUORV_SRC_SPLITTER_SPLITTER_H
#define QUORV_SRC_SPLITTER_SPLITTER_H

#include <quorv/splitter.h>
#include <stddef.h>
#include <stdint.h>

namespace quorv {

// Callers on 32-bit hosts were compiled against these layouts. Where pointers are wider, pointers and
// handles widen and nothing else does.
static_assert(sizeof(void *) != 4 || sizeof(SplitterStreamSource) == 44);
static_assert(sizeof(void *) != 4 || sizeof(SplitterTrackList) == 8);
static_assert(sizeof(void *) != 4 || sizeof(SplitterTrackData) == 12);
static_assert(sizeof(SplitterTrackEntry) == 8 && sizeof(SplitterTrackValue) == 8);
static_assert(sizeof(SplitterVideoInfo) == 32 && sizeof(SplitterAudioInfo) == 36);
static_assert(sizeof(SplitterTrackInfo) == sizeof(SplitterAudioInfo));
static_assert(sizeof(SplitterFrameInfo) == 24 && sizeof(SplitterHttpParam) == 8);
static_assert(offsetof(SplitterVideoInfo, max_frame_size) == 24);
static_assert(offsetof(SplitterAudioInfo, max_frame_size) == 28);
static_assert(offsetof(SplitterFrameInfo, key_frame) == 16);

// A FourCC as the interface carries it: first character most significant.
constexpr uint32_t fourcc(const char (&text)[5]) {
    return uint32_t{static_cast<uint8_t>(text[0])} << 24 | uint32_t{static_cast<uint8_t>(text[1])} << 16 |
           uint32_t{static_cast<uint8_t>(text[2])} << 8 | uint32_t{static_cast<uint8_t>(text[3])};
}

enum class SeekDirection { Backward, Forward };

// Of the interface's seek modes.
constexpr SeekDirection seek_direction(uint32_t mode) {
    return mode == SPLITER_SEEK_FORWARD ? SeekDirection::Forward : SeekDirection::Backward;
}

// Truncates a computed time or count to an integer. Values come from files, so they may be anything:
// NaN and negatives give 0, values beyond the type give its limit.
constexpr uint32_t clamp_to_u32(double value) {
    if (!(value > 0.0)) return 0;
    return value >= 4294967295.0 ? UINT32_MAX : static_cast<uint32_t>(value);
}

constexpr uint64_t clamp_to_u64(double value) {
    if (!(value > 0.0)) return 0;
    return value >= 18446744073709551615.0 ? UINT64_MAX : static_cast<uint64_t>(value);
}

constexpr int64_t clamp_to_s64(double value) {
    if (!(value > 0.0)) return 0;
    return value >= 9223372036854775807.0 ? INT64_MAX : static_cast<int64_t>(value);
}

constexpr uint32_t saturate_to_u32(uint64_t value) {
    return value > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(value);
}

// Bytes of one 4:2:0 picture.
constexpr uint32_t picture_bytes(uint32_t width, uint32_t height) {
    // Half of the product's triple may need more than 64 bits.
    const uint64_t pixels = uint64_t{width} * height;
    return saturate_to_u32(pixels > UINT32_MAX ? pixels : pixels * 3 / 2);
}

}  // namespace quorv

#endif
