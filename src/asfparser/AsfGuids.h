// The identifiers of ASF objects and stream types.
#ifndef QUORV_SRC_ASFPARSER_ASFGUIDS_H
#define QUORV_SRC_ASFPARSER_ASFGUIDS_H

#include <stdint.h>

namespace quorv {

struct AsfGuid {
    uint32_t first;
    uint16_t second, third;
    uint8_t rest[8];  // in file order
};

inline constexpr uint32_t kAsfGuidBytes = 16;
// What every object begins with: its identifier and its size in 64 bits.
inline constexpr uint32_t kAsfObjectHeaderBytes = kAsfGuidBytes + 8;

inline constexpr AsfGuid kAsfSimpleIndexObject = {
    0x33000890, 0xE5B1, 0x11CF, {0x89, 0xF4, 0x00, 0xA0, 0xC9, 0x03, 0x49, 0xCB}};
inline constexpr AsfGuid kAsfDataObject = {
    0x75B22636, 0x668E, 0x11CF, {0xA6, 0xD9, 0x00, 0xAA, 0x00, 0x62, 0xCE, 0x6C}};
inline constexpr AsfGuid kAsfHeaderObject = {
    0x75B22630, 0x668E, 0x11CF, {0xA6, 0xD9, 0x00, 0xAA, 0x00, 0x62, 0xCE, 0x6C}};
inline constexpr AsfGuid kAsfFilePropertiesObject = {
    0x8CABDCA1, 0xA947, 0x11CF, {0x8E, 0xE4, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65}};
inline constexpr AsfGuid kAsfStreamPropertiesObject = {
    0xB7DC0791, 0xA9B7, 0x11CF, {0x8E, 0xE6, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65}};

// These are recognised by their first group alone.
inline constexpr uint32_t kAsfHeaderExtensionGroup = 0x5FBF03B5;
inline constexpr uint32_t kAsfExtendedStreamPropertiesGroup = 0x14E6A5CB;
inline constexpr uint32_t kAsfAudioMediaGroup = 0xF8699E40;
// What stands behind the media data: indexes by time, by frame, by media object and by time code.
inline constexpr uint32_t kAsfIndexGroups[] = {0x33000890, 0xD6E229D3, 0xFEB103F8, 0x3CB73FD0};

}  // namespace quorv

#endif
