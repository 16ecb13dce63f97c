// The legacy index; see the header.

#include "aviparser/AviIndex.h"

#include <quorv/platform/memory.h>

#include <algorithm>

#include "aviparser/AviIndexArray.h"
#include "aviparser/AviMath.h"
#include "aviparser/AviRiff.h"
#include "aviparser/AviSegments.h"
#include "aviparser/AviUtils.h"
#include "aviparser/AviZeroRun.h"

namespace quorv {

namespace {

constexpr uint32_t kBlockBytes = 65536;
constexpr uint32_t kEntryBytes = 16;
constexpr uint32_t kKeyFrameFlag = 0x10;
constexpr int64_t kUnset = -1;

// One entry as it stands in the file.
struct Idx1Entry {
    uint32_t stream;
    bool key_frame;
    uint32_t offset, size;
};

Idx1Entry parse_entry(const uint8_t *bytes) {
    // Characters below '0' give huge numbers, which no track has.
    const int stream = 10 * (bytes[0] - '0') + (bytes[1] - '0');
    return {static_cast<uint32_t>(stream), (bytes[4] & kKeyFrameFlag) != 0, load_le32(bytes + 8),
            load_le32(bytes + 12)};
}

// Whether an OpenDML index that ends early has the track's chunk at this position.
bool is_known(const AviTrack &track, int64_t position) {
    const AviIndexArray &index = track.index;
    return track.opendml_size != 0 && index.count != 0 && position <= index.entries[index.count - 1].pos;
}

// False for an entry of a stream that this file does not declare.
bool add_entry(AviContext *context, const Idx1Entry &entry) {
    if (entry.stream >= context->track_count) return false;
    AviTrack *track = context->tracks[entry.stream];
    AviStreamState &state = *track->state;
    // An OpenDML index is the better one; this file carries both.
    if (track->has_opendml_index) return true;

    const int64_t position = context->idx1_base + entry.offset;
    const bool repeated = position == context->idx1_previous;
    context->idx1_previous = position;
    if (repeated) context->non_interleaved = true;
    if (is_known(*track, position)) return true;
    if (!repeated && (entry.size != 0 || state.sample_size == 0)) {
        const bool first_picture = track->type == SPLITER_TRACK_VIDEO && track->index.key_frame_count == 0;
        // Decoding cannot start on an empty chunk, whatever is said of it.
        const bool key_frame = entry.size != 0 && (entry.key_frame || entry.stream == 1 || first_picture);
        avi_add_index_entry(&track->index, position, state.index_timestamp, entry.size, 0,
                            key_frame ? kAviIndexKeyFrame : 0);
    }
    state.index_timestamp += avi_piece_duration(state, entry.size);
    return true;
}

// What must be known before the first entry: whether offsets count from the start of the file or of the media
// data, and where the bytes that may be entries end.
uint32_t start_index(AviContext *context) {
    int64_t end = context->file_end;
    // Entries are read up to the end of the file, whatever the chunk's own size says; but a further segment
    // is gigabytes of media.
    const int64_t segment = context->riff_end + (context->riff_end & 1);
    if (segment > context->idx1_position && segment < end) {
        bool is_segment = false;
        const uint32_t code = avi_is_segment(context, segment, &is_segment);
        if (code != SPLITER_OK) return code;
        if (is_segment) end = segment;
    }
    context->idx1_block = static_cast<uint8_t *>(MMemAlloc(nullptr, kBlockBytes));
    if (context->idx1_block == nullptr) return SPLITER_ERR_NO_MEMORY;
    context->idx1_previous = kUnset;
    context->idx1_base = kUnset;
    context->idx1_end = end;
    return SPLITER_OK;
}

uint32_t search_idx1(AviContext *context) {
    StreamSource &source = context->source;
    // A source that is still arriving is asked over and over: what was passed once is not passed again.
    int64_t &position = context->idx1_search;
    position = std::max(position, context->movi_end);
    while (context->file_end - position >= kAviChunkHeaderBytes) {
        uint8_t header[kAviChunkHeaderBytes];
        uint32_t delivered = 0;
        if (source.move_to(position) != 0) return SPLITER_OK;
        if (source.read_fully(header, sizeof(header), &delivered) != 0) return SPLITER_OK;
        const uint32_t tag = load_le32(header), size = load_le32(header + 4);
        // What the source's size promises and does not come has not arrived yet.
        if (delivered < sizeof(header) && context->source_size > 0) return SPLITER_OK;
        if (delivered < sizeof(header)) break;
        if (avi_is_zero_header(tag, size)) {
            position = avi_skip_zeros(context, position, context->file_end);
            continue;
        }
        if (tag == avi_tag("idx1")) {
            context->idx1_position = position + kAviChunkHeaderBytes;
            context->idx1_declared_end = context->idx1_position + size;
            return avi_read_idx1(context);
        }
        position += kAviChunkHeaderBytes + avi_padded(size);
    }
    context->index_absent = true;
    return SPLITER_OK;
}

}  // namespace

uint32_t avi_read_idx1(AviContext *context) {
    if (context->idx1_block == nullptr) {
        const uint32_t code = start_index(context);
        if (code != SPLITER_OK) return code;
    }
    StreamSource &source = context->source;
    const int64_t start = context->idx1_position;
    const int64_t left = std::max<int64_t>(context->idx1_end - start, 0);
    const auto size = static_cast<uint32_t>(std::min<int64_t>(left, kBlockBytes));
    uint32_t delivered = 0;
    uint32_t code = source.move_to(start);
    if (code != SPLITER_OK) return code;
    code = source.read_fully(context->idx1_block, size, &delivered);
    context->idx1_position += delivered;
    // A source of unknown size just ends: nobody has promised more.
    const bool may_fall_short = code == SPLITER_OK && context->source_size <= 0;
    context->index_read_failed = delivered < size && !may_fall_short;
    if (delivered < kBlockBytes) context->index_complete = true;

    if (context->idx1_base == kUnset && delivered >= kEntryBytes) {
        const bool absolute = int64_t{load_le32(context->idx1_block + 8)} > context->media_start;
        context->idx1_base = absolute ? 0 : context->media_start;
    }
    bool any_known = false;
    for (uint32_t at = 0; delivered - at >= kEntryBytes; at += kEntryBytes) {
        if (add_entry(context, parse_entry(context->idx1_block + at))) any_known = true;
    }
    // Behind the chunk, a block in which nothing looks like an entry ends the index: what is left of the file
    // may be huge.
    if (!any_known && start >= context->idx1_declared_end) context->index_complete = true;
    return code;
}

uint32_t avi_load_index(AviContext *context) {
    if (!avi_index_pending(*context)) return SPLITER_OK;
    if (context->movi_end <= context->media_start || context->file_end <= context->movi_end) {
        context->index_absent = true;
        return SPLITER_OK;
    }
    const int64_t remembered = avi_url_fstell(&context->source);
    const uint32_t code = context->idx1_position == 0 ? search_idx1(context) : avi_read_idx1(context);
    // Out of memory is told from a callback's own code by the block that could not be had.
    if (code == SPLITER_ERR_NO_MEMORY && context->idx1_block == nullptr) return code;
    return context->source.is_local() ? context->source.move_to(remembered) : uint32_t{SPLITER_OK};
}

bool avi_load_more_index(AviContext *context, uint32_t *code) {
    if (!avi_index_pending(*context)) return false;
    const int64_t before = context->idx1_position;
    *code = avi_load_index(context);
    return *code == SPLITER_OK && context->idx1_position != before;
}

}  // namespace quorv
