// Files of several RIFF segments; see the header.

#include "aviparser/AviSegments.h"

#include <algorithm>

#include "aviparser/AviRiff.h"
#include "aviparser/AviZeroRun.h"

namespace quorv {

namespace {

constexpr int64_t kNoSegment = 0;

// A chunk that may be a list: 8 bytes of header and 4 of list type.
struct ListHeader {
    uint32_t tag, size, type;
};

// A source of unknown size is asked for what the file's headers promise.
int64_t source_limit(const AviContext &context) {
    return context.source_size > 0 ? context.source_size : INT64_MAX;
}

// Recorders that were cut off leave sizes of 0: such a list reaches to the end of the source, when that is
// known.
bool has_no_size(const AviContext &context, const ListHeader &header) {
    return header.size == 0 && context.source_size > 0;
}

int64_t list_end(const AviContext &context, int64_t position, const ListHeader &header) {
    return has_no_size(context, header) ? context.source_size : position + 8 + avi_padded(header.size);
}

// All of these return a callback's code, or SPLITER_ERR_END_OF_STREAM for bytes that have not arrived; *found
// is false when the bytes are there and are something else.

uint32_t read_list_header(AviContext *context, int64_t position, ListHeader *header, bool *found) {
    *found = false;
    if (source_limit(*context) - position < 12) return SPLITER_OK;
    uint8_t bytes[12] = {};
    uint32_t delivered = 0;
    uint32_t code = context->source.move_to(position);
    if (code == 0) code = context->source.read_fully(bytes, sizeof(bytes), &delivered);
    *header = {load_le32(bytes), load_le32(bytes + 4), load_le32(bytes + 8)};
    *found = delivered == sizeof(bytes);
    // Bytes that the source's size promises and that do not come have not arrived yet.
    if (code == 0 && !*found && context->source_size > 0) return SPLITER_ERR_END_OF_STREAM;
    return code;
}

uint32_t read_segment_header(AviContext *context, int64_t position, ListHeader *header, bool *found) {
    const uint32_t code = read_list_header(context, position, header, found);
    const bool segment = header->tag == avi_tag("RIFF") && header->type == avi_tag("AVIX") &&
                         (header->size >= 4 || has_no_size(*context, *header));
    *found = *found && segment;
    return code;
}

// Looks for the "movi" list among the chunks from `position` up to the segment's end.
uint32_t find_movi(AviContext *context, int64_t position, int64_t segment_end, int64_t *movi_end,
                   bool *found) {
    *found = false;
    while (position < segment_end) {
        ListHeader chunk = {};
        bool whole = false;
        const uint32_t code = read_list_header(context, position, &chunk, &whole);
        if (!whole) return code;
        if (avi_is_zero_header(chunk.tag, chunk.size)) {
            position = avi_skip_zeros(context, position, std::min(segment_end, source_limit(*context)));
            continue;
        }
        if (chunk.tag == avi_tag("LIST") && chunk.type == avi_tag("movi")) {
            *movi_end = std::min(list_end(*context, position, chunk), source_limit(*context));
            *found = true;
            return SPLITER_OK;
        }
        position += 8 + avi_padded(chunk.size);
    }
    return SPLITER_OK;
}

}  // namespace

void avi_find_segments(AviContext *context) {
    const bool has_media = context->media_end > context->media_start;
    const bool may_follow =
        has_media && context->riff_end > context->media_start && context->riff_end < source_limit(*context);
    context->next_segment = may_follow ? context->riff_end + (context->riff_end & 1) : kNoSegment;
    if (!context->source.is_local()) return;
    bool extended = true;
    while (extended)
        avi_extend_media(context, &extended);
}

uint32_t avi_extend_media(AviContext *context, bool *extended) {
    *extended = false;
    while (context->next_segment != kNoSegment) {
        const int64_t start = context->next_segment;
        ListHeader riff = {};
        bool found = false;
        uint32_t code = read_segment_header(context, start, &riff, &found);
        if (code != SPLITER_OK) return code;
        if (!found) break;

        const int64_t end = list_end(*context, start, riff);
        int64_t movi_end = 0;
        code = find_movi(context, start + 12, end, &movi_end, &found);
        if (code != SPLITER_OK) return code;
        context->next_segment = end;
        if (found && movi_end > context->media_end) {
            context->media_end = movi_end;
            context->file_end = std::max(context->file_end, movi_end);
            *extended = true;
            return SPLITER_OK;
        }
    }
    context->next_segment = kNoSegment;
    return SPLITER_OK;
}

uint32_t avi_is_segment(AviContext *context, int64_t position, bool *is_segment) {
    ListHeader riff = {};
    return read_segment_header(context, position, &riff, is_segment);
}

}  // namespace quorv
