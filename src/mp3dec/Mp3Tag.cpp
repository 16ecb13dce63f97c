// Recognising tags; see the header.

#include "mp3dec/Mp3Tag.h"

#include <string.h>

namespace quorv {

namespace {

constexpr uint32_t kId3v1Size = 128;
constexpr uint32_t kId3v2Head = 10;
constexpr uint32_t kApeHead = 32;

bool is_id3v2(const uint8_t *bytes) {
    return memcmp(bytes, "ID3", 3) == 0;
}

bool is_id3v1(const uint8_t *bytes) {
    return memcmp(bytes, "TAG", 3) == 0;
}

bool is_ape(const uint8_t *bytes) {
    return memcmp(bytes, "APETAGEX", 8) == 0;
}

// With its header and the footer that it may have. The size has seven bits a byte, so that none looks like a
// sync word.
uint32_t id3v2_length(const uint8_t *head) {
    uint32_t size = kId3v2Head;
    for (uint32_t i = 6; i < kId3v2Head; ++i)
        size += (head[i] & 0x7Fu) << (7 * (kId3v2Head - 1 - i));
    const bool has_footer = head[3] == 4 && (head[5] & 0x10) != 0;
    return has_footer ? size + kId3v2Head : size;
}

bool is_id3v2_well_formed(const uint8_t *head) {
    return head[3] != 0xFF && head[4] != 0xFF && ((head[6] | head[7] | head[8] | head[9]) & 0x80) == 0;
}

uint32_t read_le32(const uint8_t *bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

// The size counts the items and the footer that ends every tag, and not the header; a footer is no beginning.
uint64_t ape_length(const uint8_t *head) {
    constexpr uint32_t kIsHeader = 1u << 29;
    const uint32_t version = read_le32(head + 8), size = read_le32(head + 12), flags = read_le32(head + 20);
    const bool well_formed = (version == 1000 || version == 2000) && size >= kApeHead &&
                             (flags & kIsHeader) != 0 && read_le32(head + 24) == 0 &&
                             read_le32(head + 28) == 0;
    return well_formed ? uint64_t{kApeHead} + size : 0;
}

}  // namespace

bool mp3_begins_like_tag(const uint8_t *bytes) {
    return is_id3v2(bytes) || is_id3v1(bytes) || is_ape(bytes);
}

uint64_t mp3_tag_length(const uint8_t *bytes) {
    if (is_id3v1(bytes)) return kId3v1Size;
    if (is_ape(bytes)) return ape_length(bytes);
    return is_id3v2(bytes) && is_id3v2_well_formed(bytes) ? id3v2_length(bytes) : 0;
}

intptr_t mp3_skip_tag(MStream stream) {
    uint8_t head[kId3v2Head];
    const intptr_t start = MStreamTell(stream);
    if (start < 0 || MStreamRead(stream, head, sizeof(head)) != sizeof(head)) return -1;
    if (!is_id3v2(head)) return MStreamSeek(stream, MSTREAM_SEEK_START, start) == 0 ? 0 : -1;
    const auto length = static_cast<intptr_t>(id3v2_length(head));
    if (MStreamSeek(stream, MSTREAM_SEEK_CURRENT, length - static_cast<intptr_t>(sizeof(head))) != 0)
        return -1;
    return length;
}

}  // namespace quorv
