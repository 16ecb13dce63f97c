// OpenDML indexes (OpenDML AVI file format extensions, version 1.02); see the header.

#include "aviparser/AviOpenDml.h"

#include <algorithm>
#include <optional>

#include "aviparser/AviContext.h"
#include "aviparser/AviRiff.h"

namespace quorv {

namespace {

// What every index chunk's data begins with.
constexpr uint32_t kIndexHeaderBytes = 24;
constexpr uint32_t kSuperEntryBytes = 16;
constexpr uint32_t kBlockBytes = 65536;
constexpr uint32_t kNotKeyFrame = 0x80000000;

enum IndexType : uint8_t { kIndexOfIndexes = 0, kIndexOfChunks = 1 };
enum IndexSubType : uint8_t { kIndexFrames = 0, kIndexFields = 1 };

struct IndexHeader {
    uint32_t entry_bytes;
    uint8_t sub_type, type;
    uint32_t entries;
    int64_t base_offset;  // of an index of chunks
};

class OpenDmlReader {
public:
    OpenDmlReader(AviContext *context, uint8_t *block) : context_(*context), block_(block) {
        const AviMedia &media = context->media;
        if (media.size_known())
            entries_left_ = static_cast<uint64_t>(media.source_size) / kAviChunkHeaderBytes;
    }

    // False when the index ends early: at damage, or where there was no memory for an entry.
    bool read_track(AviTrack *track);

private:
    bool read_at(int64_t position, void *buffer, uint32_t count);
    std::optional<IndexHeader> read_header(int64_t data_start, uint32_t size);
    bool read_super_index(AviTrack *track, int64_t data_start, const IndexHeader &header);
    bool read_chunk_index(AviTrack *track, int64_t data_start, const IndexHeader &header);
    bool read_entries(AviTrack *track, int64_t data_start, const IndexHeader &header);
    bool add_entry(AviTrack *track, const IndexHeader &header, const uint8_t *bytes);

    AviContext &context_;
    uint8_t *block_;
    uint64_t entries_left_ = kAviMaxIndexEntries;  // of all tracks, that the source can have chunks for
};

bool OpenDmlReader::read_at(int64_t position, void *buffer, uint32_t count) {
    uint32_t delivered = 0;
    return position >= 0 && context_.source.read_at(position, buffer, count, &delivered) == Code::Ok &&
           delivered == count;
}

// Nothing when no index chunk of that size is there.
std::optional<IndexHeader> OpenDmlReader::read_header(int64_t data_start, uint32_t size) {
    uint8_t bytes[kIndexHeaderBytes];
    if (size < kIndexHeaderBytes || !read_at(data_start, bytes, sizeof(bytes))) return std::nullopt;
    const AviMedia &media = context_.media;
    if (media.size_known() && media.source_size - data_start < size) return std::nullopt;
    const IndexHeader header = {load_le16(bytes) * 4, bytes[2], bytes[3], load_le32(bytes + 4),
                                static_cast<int64_t>(load_le64(bytes + 12))};
    const bool has_room =
        header.entry_bytes != 0 && header.entries <= (size - kIndexHeaderBytes) / header.entry_bytes;
    return has_room ? std::optional(header) : std::nullopt;
}

bool OpenDmlReader::add_entry(AviTrack *track, const IndexHeader &header, const uint8_t *bytes) {
    // Indexes may name the same chunks again and again; entries are limited to what the file has room for.
    if (entries_left_ == 0) return false;
    --entries_left_;
    AviIndexArray &index = track->index;
    const uint32_t offset = load_le32(bytes), size = load_le32(bytes + 4);
    const uint32_t length = size & ~kNotKeyFrame;
    // A frame that was dropped may have an entry without a chunk: only its time passes.
    if (offset == 0 && length == 0) {
        index.next_timestamp += avi_piece_duration(track->sampling, 0);
        index.has_dropped_frames = true;
        return true;
    }
    // Entries point to the data; positions in the index are those of the chunks' headers.
    int64_t position = 0;
    if (__builtin_add_overflow(header.base_offset, int64_t{offset} - kAviChunkHeaderBytes, &position) ||
        position < 0)
        return false;
    // The index of a file that was cut off names chunks that are gone; a seek must not end at one of them.
    const AviMedia &media = context_.media;
    const bool present = !media.size_known() || media.source_size - position >= kAviChunkHeaderBytes;
    const bool repeated = index.count != 0 && index.last().pos == position;
    if (present && !repeated && (length != 0 || track->sampling.sample_size == 0)) {
        // Decoding cannot start on an empty chunk, whatever is said of it.
        const bool key = (size & kNotKeyFrame) == 0 && length != 0;
        const uint32_t flags = key ? kAviIndexKeyFrame | kAviIndexStatedKey : 0;
        if (avi_add_index_entry(&index, position, index.next_timestamp, length, flags) < 0) return false;
    }
    index.next_timestamp += avi_piece_duration(track->sampling, length);
    return true;
}

// All entries of an index chunk, or none.
bool OpenDmlReader::read_chunk_index(AviTrack *track, int64_t data_start, const IndexHeader &header) {
    const AviIndexFill before = track->index.fill();
    if (read_entries(track, data_start, header)) return true;
    track->index.fill() = before;
    return false;
}

bool OpenDmlReader::read_entries(AviTrack *track, int64_t data_start, const IndexHeader &header) {
    // The second field's offset, which an index of fields adds, is not needed to read the frame.
    const uint32_t expected = header.sub_type == kIndexFields ? 12 : 8;
    if (header.sub_type > kIndexFields || header.entry_bytes != expected) return false;
    const uint32_t per_block = kBlockBytes / expected;
    int64_t position = data_start + kIndexHeaderBytes;
    for (uint32_t left = header.entries; left > 0;) {
        const uint32_t count = std::min(left, per_block);
        if (!read_at(position, block_, count * expected)) return false;
        for (uint32_t i = 0; i < count; ++i) {
            if (!add_entry(track, header, block_ + size_t{i} * expected)) return false;
        }
        left -= count;
        position += int64_t{count} * expected;
    }
    return true;
}

bool OpenDmlReader::read_super_index(AviTrack *track, int64_t data_start, const IndexHeader &header) {
    if (header.entry_bytes != kSuperEntryBytes) return false;
    int64_t previous_end = 0;
    for (uint32_t i = 0; i < header.entries; ++i) {
        uint8_t entry[kSuperEntryBytes], chunk[kAviChunkHeaderBytes];
        if (!read_at(data_start + kIndexHeaderBytes + int64_t{i} * kSuperEntryBytes, entry, sizeof(entry)))
            return false;
        const auto chunk_start = static_cast<int64_t>(load_le64(entry));
        if (chunk_start > kAviMaxPosition || !read_at(chunk_start, chunk, sizeof(chunk))) return false;
        const uint32_t chunk_size = load_le32(chunk + 4);
        const std::optional<IndexHeader> inner = read_header(chunk_start + kAviChunkHeaderBytes, chunk_size);
        if (!inner) return false;
        // The index chunks of a stream follow each other, and none counts twice: a small file could otherwise
        // make a huge index.
        if (chunk_start < previous_end) return false;
        previous_end = chunk_start + kAviChunkHeaderBytes + chunk_size;
        // One level only: an index of indexes that points to another could point to itself.
        if (inner->type != kIndexOfChunks ||
            !read_chunk_index(track, chunk_start + kAviChunkHeaderBytes, *inner))
            return false;
    }
    return true;
}

bool OpenDmlReader::read_track(AviTrack *track) {
    const AviOpenDmlChunk &chunk = track->opendml;
    const std::optional<IndexHeader> header = read_header(chunk.position, chunk.size);
    if (!header) return false;
    if (header->type == kIndexOfIndexes) return read_super_index(track, chunk.position, *header);
    return header->type == kIndexOfChunks && read_chunk_index(track, chunk.position, *header);
}

}  // namespace

Code avi_read_opendml_indexes(AviContext *context) {
    const std::span<const Owned<AviTrack>> tracks = context->all_tracks();
    const auto has_none = [](const Owned<AviTrack> &track) { return track->opendml.size == 0; };
    if (std::all_of(tracks.begin(), tracks.end(), has_none)) return Code::Ok;

    const Owned<uint8_t[]> block = make_array<uint8_t>(kBlockBytes);
    if (block == nullptr) return Code::NoMemory;
    OpenDmlReader reader(context, block.get());
    bool all = true;
    for (const Owned<AviTrack> &track : tracks) {
        const bool whole = track->opendml.size != 0 && reader.read_track(track.get());
        const bool usable = track->index.count != 0;
        track->has_opendml_index = whole && usable;
        all = all && track->has_opendml_index;
        if (usable) continue;
        // As if there were none: its times may be as wrong as its positions.
        track->opendml.size = 0;
        track->index.fill() = {};
    }
    context->idx1.complete = all;
    return Code::Ok;
}

}  // namespace quorv
