// Files of several RIFF segments; see the header.

#include "aviparser/AviSegments.h"

#include <algorithm>
#include <optional>

#include "aviparser/AviRiff.h"
#include "aviparser/AviZeroRun.h"

namespace quorv {

namespace {

constexpr int64_t kNoSegment = 0;

constexpr uint32_t kListHeaderBytes = 12;

// A chunk that may be a list: 8 bytes of header and 4 of list type.
struct ListHeader {
    uint32_t tag, size, type;
};

// A source of unknown size is asked for what the file's headers promise.
int64_t source_limit(const AviMedia &media) {
    return media.size_known() ? media.source_size : INT64_MAX;
}

// Recorders that were cut off leave sizes of 0: such a list reaches to the end of the source, when that is
// known.
bool has_no_size(const AviMedia &media, const ListHeader &header) {
    return header.size == 0 && media.size_known();
}

int64_t list_end(const AviMedia &media, int64_t position, const ListHeader &header) {
    return has_no_size(media, header) ? media.source_size : position + 8 + avi_padded(header.size);
}

bool is_segment(const AviMedia &media, const ListHeader &header) {
    return header.tag == avi_tag("RIFF") && header.type == avi_tag("AVIX") &&
           (header.size >= 4 || has_no_size(media, header));
}

// All of these return a callback's code, or Code::EndOfStream for bytes that have not arrived; what is there
// and is something else is no failure and gives nothing.

Code read_list_header(AviContext *context, int64_t position, std::optional<ListHeader> *header) {
    const AviMedia &media = context->media;
    header->reset();
    if (source_limit(media) - position < kListHeaderBytes) return Code::Ok;
    const uint8_t *bytes = nullptr;
    const Code code = context->source.view(position, kListHeaderBytes, kListHeaderBytes, &bytes);
    if (code != Code::Ok) return code;
    if (bytes != nullptr) {
        *header = {load_le32(bytes), load_le32(bytes + 4), load_le32(bytes + 8)};
        return Code::Ok;
    }
    // Bytes that the source's size promises and that do not come have not arrived yet.
    return media.size_known() ? Code::EndOfStream : Code::Ok;
}

Code read_segment_header(AviContext *context, int64_t position, std::optional<ListHeader> *header) {
    const Code code = read_list_header(context, position, header);
    if (*header && !is_segment(context->media, **header)) header->reset();
    return code;
}

// Looks for the "movi" list among the chunks from `position` up to the segment's end.
Code find_movi(AviContext *context, int64_t position, int64_t segment_end, std::optional<int64_t> *movi_end) {
    const AviMedia &media = context->media;
    movi_end->reset();
    while (position < segment_end) {
        std::optional<ListHeader> chunk;
        const Code code = read_list_header(context, position, &chunk);
        if (!chunk) return code;
        if (avi_is_zero_header(chunk->tag, chunk->size)) {
            position = avi_skip_zeros(context, position, std::min(segment_end, source_limit(media)));
            continue;
        }
        if (chunk->tag == avi_tag("LIST") && chunk->type == avi_tag("movi")) {
            *movi_end = std::min(list_end(media, position, *chunk), source_limit(media));
            return Code::Ok;
        }
        position += 8 + avi_padded(chunk->size);
    }
    return Code::Ok;
}

}  // namespace

void avi_find_segments(AviContext *context) {
    AviMedia &media = context->media;
    const bool may_follow =
        media.end > media.start && media.riff_end > media.start && media.riff_end < source_limit(media);
    media.next_segment = may_follow ? media.riff_end + (media.riff_end & 1) : kNoSegment;
    if (!context->source.is_local()) return;
    Found extended = Found::Yes;
    // What cannot be read now is looked for again when reading has come as far.
    while (extended == Found::Yes)
        static_cast<void>(avi_extend_media(context, &extended));
}

Code avi_extend_media(AviContext *context, Found *extended) {
    AviMedia &media = context->media;
    *extended = Found::No;
    while (media.next_segment != kNoSegment) {
        const int64_t start = media.next_segment;
        std::optional<ListHeader> riff;
        Code code = read_segment_header(context, start, &riff);
        if (code != Code::Ok) return code;
        if (!riff) break;

        const int64_t end = list_end(media, start, *riff);
        std::optional<int64_t> movi_end;
        code = find_movi(context, start + 12, end, &movi_end);
        if (code != Code::Ok) return code;
        media.next_segment = end;
        if (movi_end && *movi_end > media.end) {
            media.end = *movi_end;
            media.file_end = std::max(media.file_end, *movi_end);
            *extended = Found::Yes;
            return Code::Ok;
        }
    }
    media.next_segment = kNoSegment;
    return Code::Ok;
}

Code avi_is_segment(AviContext *context, int64_t position, Found *segment) {
    std::optional<ListHeader> riff;
    const Code code = read_segment_header(context, position, &riff);
    *segment = riff ? Found::Yes : Found::No;
    return code;
}

}  // namespace quorv
