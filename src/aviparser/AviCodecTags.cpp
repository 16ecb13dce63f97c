// Looking codec tags up; see the header.

#include "aviparser/AviCodecTags.h"

#include "splitter/Splitter.h"

namespace quorv {

namespace {

constexpr uint32_t upper(uint32_t byte) {
    return byte >= 'a' && byte <= 'z' ? byte - 32 : byte;
}

uint32_t find_exact(const AviCodecTag *table, uint32_t tag) {
    const AviCodecTag *row = table;
    while (row->codec != 0 && row->tag != tag)
        ++row;
    return row->codec;
}

}  // namespace

uint32_t avi_toupper4(uint32_t tag) {
    return upper(tag & 0xFF) | upper(tag >> 8 & 0xFF) << 8 | upper(tag >> 16 & 0xFF) << 16 |
           upper(tag >> 24) << 24;
}

uint32_t avi_codec_get_id(const AviCodecTag *table, uint32_t tag) {
    if (const uint32_t codec = find_exact(table, tag); codec != 0) return codec;
    const uint32_t wanted = avi_toupper4(tag);
    const AviCodecTag *row = table;
    while (row->codec != 0 && avi_toupper4(row->tag) != wanted)
        ++row;
    return row->codec;
}

bool avi_is_mpeg4(uint32_t codec) {
    return codec == fourcc("m4vs") || codec == fourcc("m4va") || codec == fourcc("dx50") ||
           codec == fourcc("xvid") || codec == fourcc("divx");
}

uint32_t avi_wave_format_codec(uint32_t format_tag) {
    return find_exact(avi_wave_formats, format_tag);
}

}  // namespace quorv
