// Conversion between narrow text, 16-bit wide text and UTF-8.

#include <quorv/platform/strings.h>

namespace quorv {
namespace {

// Copies text of one unit type to another: up to and including the zero unit, or until one place is left,
// which then ends the text.
template <typename To, typename From>
int32_t copy_units(const From *src, To *dst, int32_t room) {
    if (room < 1) return 1;
    int32_t written = 0;
    while (written < room - 1 && src[written] != 0) {
        dst[written] = static_cast<To>(src[written]);
        ++written;
    }
    dst[written] = 0;
    return written + 1;
}

int32_t utf8_length(uint16_t unit) {
    return unit <= 0x7F ? 1 : unit < 0x800 ? 2 : 3;
}

char *write_utf8(uint16_t unit, char *dst) {
    static constexpr uint8_t kMarkers[] = {0x00, 0xC0, 0xE0};
    const int32_t following = utf8_length(unit) - 1;
    *dst++ = static_cast<char>(kMarkers[following] | unit >> (6 * following));
    for (int32_t left = following - 1; left >= 0; --left)
        *dst++ = static_cast<char>(0x80 | (unit >> (6 * left) & 0x3F));
    return dst;
}

// What the first byte of a UTF-8 sequence says: how many bytes follow it (-1 when it cannot be a first
// byte), and its own bits of the value.
struct Utf8Lead {
    int32_t following;
    uint16_t bits;
};

Utf8Lead classify_lead(uint8_t byte) {
    if (byte < 0x80) return {0, byte};
    for (int32_t following = 1; following <= 5; ++following) {
        // `following` + 1 ones and a zero, from the top
        const auto payload_mask = static_cast<uint8_t>(0x3F >> following);
        const auto marker_mask = static_cast<uint8_t>(~payload_mask);
        const auto marker = static_cast<uint8_t>(marker_mask << 1);
        if ((byte & marker_mask) == marker) return {following, static_cast<uint16_t>(byte & payload_mask)};
    }
    return {-1, 0};
}

// Decodes one character and moves past it; false when it is malformed. Never reads beyond a zero byte.
bool read_utf8(const char *&src, uint16_t &unit) {
    const Utf8Lead lead = classify_lead(static_cast<uint8_t>(*src++));
    if (lead.following < 0) return false;
    uint32_t value = lead.bits;
    for (int32_t i = 0; i < lead.following; ++i) {
        const auto byte = static_cast<uint8_t>(*src);
        if (byte == 0) return false;
        value = (value << 6 | (byte & 0x3F)) & 0xFFFF;
        ++src;
    }
    unit = static_cast<uint16_t>(value);
    return true;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

int32_t MCharToWChar(const char *src, uint16_t *dst, int32_t dst_units) {
    // Through unsigned bytes: the sign of char must not spread into the upper half of the unit.
    return copy_units(reinterpret_cast<const unsigned char *>(src), dst, dst_units);
}

int32_t MWCharToChar(const uint16_t *src, char *dst, int32_t dst_bytes) {
    return copy_units(src, dst, dst_bytes);
}

int32_t MUnicodeToUTF8(const uint16_t *src, char *dst, int32_t dst_bytes) {
    const int64_t room = dst == nullptr ? INT32_MAX : dst_bytes;
    if (room < 1) return 0;
    int64_t total = 0;
    for (; *src != 0; ++src) {
        total += utf8_length(*src);
        if (total >= room) return 0;
        if (dst != nullptr) dst = write_utf8(*src, dst);
    }
    if (dst != nullptr) *dst = 0;
    return static_cast<int32_t>(total);
}

int32_t MUTF8ToUnicode(const char *src, uint16_t *dst, int32_t dst_units) {
    const int32_t room = dst == nullptr ? INT32_MAX : dst_units;
    if (room < 1 || (room < 2 && *src != 0)) return 0;
    int32_t count = 0;
    while (*src != 0) {
        uint16_t unit;
        if (!read_utf8(src, unit)) return -1;
        if (count == room - 1) return 0;
        if (dst != nullptr) dst[count] = unit;
        ++count;
    }
    if (dst != nullptr) dst[count] = 0;
    return count;
}
