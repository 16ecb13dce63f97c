// The legacy index; see the header.

#include "aviparser/AviIndex.h"

#include <algorithm>

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
    return track.opendml.size != 0 && track.index.count != 0 && position <= track.index.last().pos;
}

uint32_t key_flags(const AviTrack &track, const Idx1Entry &entry) {
    // Decoding cannot start on an empty chunk, whatever is said of it.
    if (entry.size == 0) return 0;
    if (entry.key_frame) return kAviIndexKeyFrame | kAviIndexStatedKey;
    const bool first_picture = track.type == SPLITER_TRACK_VIDEO && track.index.key_frame_count == 0;
    return entry.stream == 1 || first_picture ? kAviIndexKeyFrame : 0;
}

void add_entry(AviContext *context, const Idx1Entry &entry) {
    AviTrack *track = context->tracks[entry.stream].get();
    // An OpenDML index is the better one; this file carries both.
    if (track->has_opendml_index) return;

    const int64_t position = context->idx1.base + entry.offset;
    const bool repeated = position == context->idx1.previous;
    context->idx1.previous = position;
    if (repeated) context->non_interleaved = true;
    if (is_known(*track, position)) return;
    AviIndexArray &index = track->index;
    if (!repeated && (entry.size != 0 || track->sampling.sample_size == 0)) {
        // One that there is no room for is lost, and its time passes.
        avi_add_index_entry(&index, position, index.next_timestamp, entry.size, key_flags(*track, entry));
    }
    index.next_timestamp += avi_piece_duration(track->sampling, entry.size);
}

// What must be known before the first entry: whether offsets count from the start of the file or of the media
// data, and where the bytes that may be entries end.
Code start_index(AviContext *context) {
    AviLegacyIndex &idx1 = context->idx1;
    int64_t end = context->media.file_end;
    // Entries are read up to the end of the file, whatever the chunk's own size says; but a further segment
    // is gigabytes of media.
    const int64_t segment = context->media.riff_end + (context->media.riff_end & 1);
    if (segment > idx1.position && segment < end) {
        Found found = Found::No;
        const Code code = avi_is_segment(context, segment, &found);
        if (code != Code::Ok) return code;
        if (found == Found::Yes) end = segment;
    }
    idx1.block = make_array<uint8_t>(kBlockBytes);
    if (idx1.block == nullptr) return Code::NoMemory;
    idx1.previous = kUnset;
    idx1.base = kUnset;
    idx1.end = end;
    return Code::Ok;
}

// Whether any of the block's bytes look like an entry of a stream that this file declares.
bool add_entries(AviContext *context, uint32_t size) {
    AviLegacyIndex &idx1 = context->idx1;
    const uint8_t *block = idx1.block.get();
    if (idx1.base == kUnset && size >= kEntryBytes) {
        const bool absolute = int64_t{load_le32(block + 8)} > context->media.start;
        idx1.base = absolute ? 0 : context->media.start;
    }
    bool any_known = false;
    for (uint32_t at = 0; size - at >= kEntryBytes; at += kEntryBytes) {
        const Idx1Entry entry = parse_entry(block + at);
        if (entry.stream >= context->track_count) continue;
        add_entry(context, entry);
        any_known = true;
    }
    return any_known;
}

// A failure to read is none of whoever looked for the index: it may come later.
Code search_idx1(AviContext *context) {
    StreamSource &source = context->source;
    const AviMedia &media = context->media;
    AviLegacyIndex &idx1 = context->idx1;
    // A source that is still arriving is asked over and over: what was passed once is not passed again.
    int64_t &position = idx1.search;
    position = std::max(position, media.movi_end);
    while (media.file_end - position >= kAviChunkHeaderBytes) {
        uint8_t header[kAviChunkHeaderBytes];
        uint32_t delivered = 0;
        if (source.read_at(position, header, sizeof(header), &delivered) != Code::Ok) return Code::Ok;
        const uint32_t tag = load_le32(header), size = load_le32(header + 4);
        // What the source's size promises and does not come has not arrived yet.
        if (delivered < sizeof(header) && media.size_known()) return Code::Ok;
        if (delivered < sizeof(header)) break;
        if (avi_is_zero_header(tag, size)) {
            position = avi_skip_zeros(context, position, media.file_end);
            continue;
        }
        if (tag == avi_tag("idx1")) {
            idx1.position = position + kAviChunkHeaderBytes;
            idx1.declared_end = idx1.position + size;
            return avi_read_idx1(context);
        }
        position += kAviChunkHeaderBytes + avi_padded(size);
    }
    idx1.absent = true;
    return Code::Ok;
}

}  // namespace

Code avi_read_idx1(AviContext *context) {
    AviLegacyIndex &idx1 = context->idx1;
    if (idx1.block == nullptr) {
        const Code code = start_index(context);
        if (code != Code::Ok) return code;
    }
    const int64_t start = idx1.position;
    const int64_t left = std::max<int64_t>(idx1.end - start, 0);
    const auto size = static_cast<uint32_t>(std::min<int64_t>(left, kBlockBytes));
    uint32_t delivered = 0;
    Code code = context->source.move_to(start);
    if (code != Code::Ok) return code;
    code = context->source.read_fully(idx1.block.get(), size, &delivered);
    if (code != Code::Ok && context->detailed) return code;
    idx1.position += delivered;
    // A source of unknown size just ends: nobody has promised more.
    const bool may_fall_short = code == Code::Ok && !context->media.size_known();
    idx1.read_failed = delivered < size && !may_fall_short;
    if (delivered < kBlockBytes) idx1.complete = true;
    const bool any_known = add_entries(context, delivered);
    // Behind the chunk, a block in which nothing looks like an entry ends the index: what is left of the file
    // may be huge.
    if (!any_known && start >= idx1.declared_end) idx1.complete = true;
    return code;
}

Code avi_load_index(AviContext *context) {
    AviLegacyIndex &idx1 = context->idx1;
    const AviMedia &media = context->media;
    if (!idx1.pending()) return Code::Ok;
    if (media.movi_end <= media.start || media.file_end <= media.movi_end) {
        idx1.absent = true;
        return Code::Ok;
    }
    const int64_t remembered = avi_url_fstell(&context->source);
    const Code code = idx1.position == 0 ? search_idx1(context) : avi_read_idx1(context);
    // Out of memory is told from a callback's own code by the block that could not be had.
    if (code == Code::NoMemory && idx1.block == nullptr) return code;
    return context->source.is_local() ? context->source.move_to(remembered) : Code::Ok;
}

Code avi_load_more_index(AviContext *context, Found *more) {
    *more = Found::No;
    if (!context->idx1.pending()) return Code::Ok;
    const int64_t before = context->idx1.position;
    const Code code = avi_load_index(context);
    if (code == Code::Ok && context->idx1.position != before) *more = Found::Yes;
    return code;
}

}  // namespace quorv
