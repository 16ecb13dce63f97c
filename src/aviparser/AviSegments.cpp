// Files of several RIFF segments; see the header.

#include "aviparser/AviSegments.h"

#include <algorithm>

#include "aviparser/AviUtils.h"

namespace quorv {

namespace {

constexpr int64_t kNoSegment = 0;

// A chunk that may be a list: 8 bytes of header and 4 of list type.
struct ListHeader {
    uint32_t tag, size, type;
};

enum class Found { Yes, No, NotArrived };

// A source of unknown size is asked for what the file's headers promise.
int64_t source_limit(const AviContext &context) {
    return context.source_size > 0 ? context.source_size : INT64_MAX;
}

Found read_list_header(AviContext *context, int64_t position, ListHeader *header) {
    if (source_limit(*context) - position < 12) return Found::No;
    uint8_t bytes[12];
    uint32_t delivered = 0;
    if (context->source.move_to(position) != 0) return Found::NotArrived;
    if (context->source.read_fully(bytes, sizeof(bytes), &delivered) != 0) return Found::NotArrived;
    if (delivered < sizeof(bytes)) return Found::No;
    *header = {avi_le32(bytes), avi_le32(bytes + 4), avi_le32(bytes + 8)};
    return Found::Yes;
}

Found read_segment_header(AviContext *context, int64_t position, ListHeader *header) {
    const Found found = read_list_header(context, position, header);
    if (found != Found::Yes) return found;
    const bool is_segment =
        header->tag == avi_tag("RIFF") && header->type == avi_tag("AVIX") && header->size >= 4;
    return is_segment ? Found::Yes : Found::No;
}

// Looks for the "movi" list among the chunks from `position` up to the segment's end.
Found find_movi(AviContext *context, int64_t position, int64_t segment_end, int64_t *movi_end) {
    AviZeroRun zero_run;
    while (position < segment_end) {
        ListHeader chunk = {};
        const Found found = read_list_header(context, position, &chunk);
        if (found != Found::Yes) return found;
        if (zero_run.too_long(chunk.tag, chunk.size)) return Found::No;
        const int64_t chunk_end = position + 8 + avi_padded(chunk.size);
        if (chunk.tag == avi_tag("LIST") && chunk.type == avi_tag("movi")) {
            *movi_end = std::min(chunk_end, source_limit(*context));
            return Found::Yes;
        }
        position = chunk_end;
    }
    return Found::No;
}

}  // namespace

void avi_find_segments(AviContext *context) {
    const bool has_media = context->media_end > context->media_start;
    const bool may_follow =
        has_media && context->riff_end > context->media_start && context->riff_end < source_limit(*context);
    context->next_segment = may_follow ? context->riff_end + (context->riff_end & 1) : kNoSegment;
    if (!context->source.is_local()) return;
    while (avi_extend_media(context)) {
    }
}

bool avi_extend_media(AviContext *context) {
    while (context->next_segment != kNoSegment) {
        const int64_t start = context->next_segment;
        ListHeader riff = {};
        const Found segment = read_segment_header(context, start, &riff);
        if (segment == Found::NotArrived) return false;
        if (segment == Found::No) break;

        const int64_t end = start + 8 + avi_padded(riff.size);
        int64_t movi_end = 0;
        const Found movi = find_movi(context, start + 12, end, &movi_end);
        if (movi == Found::NotArrived) return false;
        context->next_segment = end;
        if (movi == Found::Yes && movi_end > context->media_end) {
            context->media_end = movi_end;
            context->file_end = std::max(context->file_end, movi_end);
            return true;
        }
    }
    context->next_segment = kNoSegment;
    return false;
}

bool avi_is_segment(AviContext *context, int64_t position) {
    ListHeader riff = {};
    return read_segment_header(context, position, &riff) == Found::Yes;
}

}  // namespace quorv
