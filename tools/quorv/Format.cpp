// Tells the format of a file from its first bytes; see the header.

#include "Format.h"

#include <algorithm>
#include <string_view>

namespace quorv::tool {

namespace {

bool has_at(std::span<const uint8_t> head, size_t offset, std::string_view bytes) {
    return head.size() >= offset && head.size() - offset >= bytes.size() &&
           std::equal(bytes.begin(), bytes.end(), head.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

bool is_avi(std::span<const uint8_t> head) {
    if (has_at(head, 0, "ON2 ")) return has_at(head, 8, "ON2f");
    return has_at(head, 0, "RIFF") && (has_at(head, 8, "AVI ") || has_at(head, 8, "AVIX") ||
                                       has_at(head, 8, "AVI\x19") || has_at(head, 8, "AMV "));
}

bool is_asf(std::span<const uint8_t> head) {
    using std::string_view_literals::operator""sv;
    return has_at(head, 0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv);
}

// An ID3v2 tag, or the header of an MPEG audio frame with no reserved value in it.
bool is_mp3(std::span<const uint8_t> head) {
    if (has_at(head, 0, "ID3")) return true;
    if (head.size() < 4 || head[0] != 0xFF || (head[1] & 0xE0) != 0xE0) return false;
    const int version = head[1] >> 3 & 3, layer = head[1] >> 1 & 3;
    const int bit_rate = head[2] >> 4, sample_rate = head[2] >> 2 & 3;
    return version != 1 && layer != 0 && bit_rate != 15 && sample_rate != 3;
}

}  // namespace

Format find_format(std::span<const uint8_t> head) {
    if (is_avi(head)) return Format::Avi;
    if (is_asf(head)) return Format::Asf;
    return is_mp3(head) ? Format::Mp3 : Format::Unknown;
}

bool looks_like_text(std::span<const uint8_t> head) {
    return std::all_of(head.begin(), head.end(),
                       [](uint8_t byte) { return byte >= 0x20 || (byte >= '\t' && byte <= '\r'); });
}

}  // namespace quorv::tool
