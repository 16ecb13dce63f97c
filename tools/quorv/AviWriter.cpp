// Writes an AVI file from beginning to end; see the header.

#include "AviWriter.h"

#include <algorithm>

#include "Failure.h"
#include "Riff.h"

namespace quorv::tool {

namespace {

constexpr size_t kCopiedAtOnce = 0x40000;
constexpr uint32_t kMainHeaderBytes = 56, kExtendedHeaderBytes = 248;
constexpr uint32_t kOldNoTime = 0x100;
// The entries of an OpenDML index.
constexpr uint32_t kEntryBytes = 8;
constexpr uint8_t kIndexOfIndexes = 0;

enum MainField : size_t { kFlags = 12, kTotalFrames = 16, kStreams = 24 };
enum MainFlag : uint32_t { kHasIndex = 0x10, kMustUseIndex = 0x20 };
enum StreamField : size_t { kStreamLength = 32, kSuggestedBuffer = 36 };

uint32_t clamped(uint64_t value) {
    return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

uint64_t bytes_of(const AviChunk &chunk) {
    return kChunkHeaderBytes + padded(chunk.size);
}

std::string digits(size_t stream) {
    return {static_cast<char>('0' + stream / 10), static_cast<char>('0' + stream % 10)};
}

std::string name_of(size_t stream, AviChunkType type) {
    std::string name = digits(stream);
    append_le(name, type_letters(type));
    return name;
}

// What the data of an OpenDML index begins with.
std::string index_header(uint32_t entry_bytes, uint8_t type, uint32_t entries, const std::string &name,
                         uint64_t base) {
    std::string header;
    append_le(header, static_cast<uint16_t>(entry_bytes / 4));
    append_le(header, uint8_t{0});
    append_le(header, type);
    append_le(header, entries);
    header += name;
    append_le(header, base);
    append_le(header, uint32_t{0});
    return header;
}

uint32_t old_flags(const AviChunk &chunk) {
    if (!chunk.is_frame()) return kOldNoTime;
    return chunk.key == KeyFrame::Yes ? kOldKeyFrame : 0;
}

std::string list_start(uint32_t tag, uint64_t data_bytes, uint32_t type) {
    std::string start;
    append_le(start, tag);
    append_le(start, clamped(data_bytes + 4));
    append_le(start, type);
    return start;
}

}  // namespace

AviWriter::AviWriter(const AviHeaders &headers, const RepairPlan &plan, uint64_t segment_bytes)
    : headers_(headers), plan_(plan), block_(kCopiedAtOnce) {
    split(UINT64_MAX);
    place();
    if (size_ <= segment_bytes) return;
    split(segment_bytes);
    place();
}

void AviWriter::split(uint64_t segment_bytes) {
    segments_.clear();
    segments_.emplace_back().indexes.resize(headers_.streams.size());
    uint64_t bytes = 0;
    for (size_t i = 0; i < plan_.chunks.size(); ++i) {
        const AviChunk &chunk = plan_.chunks[i];
        const uint64_t more = bytes_of(chunk) + kEntryBytes + kOldEntryBytes;
        if (bytes != 0 && segment_bytes - bytes < more) {
            close_segment(i);
            bytes = 0;
        }
        bytes += more;
        Segment &segment = segments_.back();
        segment.chunk_bytes += bytes_of(chunk);
        if (!chunk.is_frame()) continue;
        StreamIndex &index = segment.indexes[chunk.stream];
        ++index.entries;
        index.units += headers_.streams[chunk.stream].units_of(chunk.size);
        index.type = chunk.type;
    }
    segments_.back().end = plan_.chunks.size();
}

void AviWriter::close_segment(size_t end) {
    segments_.back().end = end;
    Segment next;
    next.begin = end;
    next.indexes.resize(headers_.streams.size());
    segments_.push_back(std::move(next));
}

// Finds out where everything lies.
void AviWriter::place() {
    uint64_t position = 0;
    for (Segment &segment : segments_) {
        segment.position = position;
        const bool is_first = position == 0;
        position += is_first ? header().size() + kListHeaderBytes : size_t{2} * kListHeaderBytes;
        position += segment.chunk_bytes;
        for (StreamIndex &index : segment.indexes) {
            index.position = position;
            if (is_open_dml() && index.entries != 0)
                position += kChunkHeaderBytes + kIndexHeaderBytes + uint64_t{index.entries} * kEntryBytes;
        }
        if (is_first) position += old_index_bytes();
    }
    size_ = position;
}

uint64_t AviWriter::index_bytes(const Segment &segment) const {
    uint64_t bytes = 0;
    for (const StreamIndex &index : segment.indexes) {
        if (is_open_dml() && index.entries != 0)
            bytes += kChunkHeaderBytes + kIndexHeaderBytes + uint64_t{index.entries} * kEntryBytes;
    }
    return bytes;
}

uint64_t AviWriter::old_index_bytes() const {
    return kChunkHeaderBytes + segments_.front().end * uint64_t{kOldEntryBytes};
}

uint64_t AviWriter::media_bytes(const Segment &segment) const {
    return segment.chunk_bytes + index_bytes(segment);
}

// Of the first video stream in so many segments.
uint64_t AviWriter::pictures(size_t segments) const {
    for (size_t stream = 0; stream < headers_.streams.size(); ++stream) {
        if (!headers_.streams[stream].is_video()) continue;
        uint64_t count = 0;
        for (size_t i = 0; i < segments; ++i)
            count += segments_[i].indexes[stream].entries;
        return count;
    }
    return 0;
}

std::string AviWriter::main_header() const {
    std::string main = headers_.main;
    main.resize(std::max<size_t>(main.size(), kMainHeaderBytes));
    // Chunks are written in the order in which they are played.
    set_field_le32(main, kFlags, (field_le32(main, kFlags) | kHasIndex) & ~uint32_t{kMustUseIndex});
    set_field_le32(main, kTotalFrames, clamped(pictures(1)));
    set_field_le32(main, kStreams, static_cast<uint32_t>(headers_.streams.size()));
    return riff_chunk(riff_tag("avih"), main);
}

std::string AviWriter::super_index(size_t stream) const {
    std::string entries;
    uint32_t count = 0;
    AviChunkType type = AviChunkType::Compressed;
    for (const Segment &segment : segments_) {
        const StreamIndex &index = segment.indexes[stream];
        if (index.entries == 0) continue;
        append_le(entries, index.position);
        append_le(entries, kChunkHeaderBytes + kIndexHeaderBytes + index.entries * kEntryBytes);
        append_le(entries, clamped(index.units));
        type = index.type;
        ++count;
    }
    const std::string name = name_of(stream, type);
    return riff_chunk(riff_tag("indx"),
                      index_header(kSuperEntryBytes, kIndexOfIndexes, count, name, 0) + entries);
}

std::string AviWriter::stream_list(size_t stream) const {
    const AviStreamHeader &kept = headers_.streams[stream];
    std::string header = kept.header;
    set_field_le32(header, kStreamLength, clamped(plan_.units[stream]));
    if (field_le32(header, kSuggestedBuffer) == 0) {
        uint32_t largest = 0;
        for (const AviChunk &chunk : plan_.chunks)
            largest = std::max(largest, chunk.stream == stream ? chunk.size : 0);
        set_field_le32(header, kSuggestedBuffer, largest);
    }
    std::string list = riff_chunk(riff_tag("strh"), header);
    if (!kept.format.empty()) list += riff_chunk(riff_tag("strf"), kept.format);
    list += kept.others;
    if (is_open_dml()) list += super_index(stream);
    return riff_list(riff_tag("strl"), list);
}

std::string AviWriter::header_list() const {
    std::string list = main_header();
    for (size_t i = 0; i < headers_.streams.size(); ++i)
        list += stream_list(i);
    if (is_open_dml()) {
        std::string extended;
        append_le(extended, clamped(pictures(segments_.size())));
        extended.resize(kExtendedHeaderBytes);
        list += riff_list(riff_tag("odml"), riff_chunk(riff_tag("dmlh"), extended));
    }
    return riff_list(riff_tag("hdrl"), list + headers_.others);
}

// Up to the media data's list.
std::string AviWriter::header() const {
    const std::string lists = header_list() + headers_.information;
    const uint64_t bytes =
        lists.size() + kListHeaderBytes + media_bytes(segments_.front()) + old_index_bytes();
    return list_start(riff_tag("RIFF"), bytes, riff_tag("AVI ")) + lists;
}

std::string AviWriter::segment_start(const Segment &segment) const {
    const uint64_t bytes = media_bytes(segment);
    const std::string riff = segment.begin == 0
                                 ? header()
                                 : list_start(riff_tag("RIFF"), kListHeaderBytes + bytes, riff_tag("AVIX"));
    return riff + list_start(riff_tag("LIST"), bytes, riff_tag("movi"));
}

void AviWriter::copy(const AviChunk &chunk, FileSource &input, OutputStream &out) {
    std::string header = name_of(chunk.stream, chunk.type);
    append_le(header, chunk.size);
    out.write(header);
    if (chunk.is_new)
        std::fill(block_.begin(), block_.end(), headers_.streams[chunk.stream].silence().value_or(0));
    for (uint32_t done = 0; done < chunk.size;) {
        const auto piece = std::span(block_).first(std::min<size_t>(block_.size(), chunk.size - done));
        if (!chunk.is_new && input.read_at(chunk.data() + done, piece) < piece.size())
            throw Failure(ExitCode::Io, "it has become shorter while it was read");
        out.write(piece);
        done += static_cast<uint32_t>(piece.size());
    }
    if ((chunk.size & 1) != 0) out.write(std::string_view("\0", 1));
}

// The index chunks of the segment, a stream after another.
void AviWriter::write_indexes(const Segment &segment, OutputStream &out) const {
    const uint64_t first = segment.position + segment_start(segment).size();
    for (size_t stream = 0; stream < segment.indexes.size(); ++stream) {
        const StreamIndex &index = segment.indexes[stream];
        if (index.entries == 0) continue;
        std::string chunk = "ix" + digits(stream);
        append_le(chunk, kIndexHeaderBytes + index.entries * kEntryBytes);
        chunk += index_header(kEntryBytes, kIndexOfChunks, index.entries, name_of(stream, index.type),
                              segment.position);
        uint64_t position = first;
        for (size_t i = segment.begin; i < segment.end; ++i) {
            const AviChunk &entry = plan_.chunks[i];
            if (entry.stream == stream && entry.is_frame()) {
                append_le(chunk, static_cast<uint32_t>(position + kChunkHeaderBytes - segment.position));
                append_le(chunk, entry.key == KeyFrame::Yes ? entry.size : entry.size | kNotKeyFrame);
            }
            position += bytes_of(entry);
        }
        out.write(chunk);
    }
}

// Of the first segment; offsets count from the list type "movi".
void AviWriter::write_old_index(OutputStream &out) const {
    std::string header;
    append_le(header, riff_tag("idx1"));
    append_le(header, static_cast<uint32_t>(old_index_bytes() - kChunkHeaderBytes));
    out.write(header);
    uint64_t offset = 4;
    for (size_t i = 0; i < segments_.front().end; ++i) {
        const AviChunk &chunk = plan_.chunks[i];
        std::string entry = name_of(chunk.stream, chunk.type);
        append_le(entry, old_flags(chunk));
        append_le(entry, static_cast<uint32_t>(offset));
        append_le(entry, chunk.size);
        out.write(entry);
        offset += bytes_of(chunk);
    }
}

void AviWriter::write(FileSource &input, OutputStream &out, const std::function<void(uint64_t)> &progress) {
    uint64_t written = 0;
    for (const Segment &segment : segments_) {
        out.write(segment_start(segment));
        for (size_t i = segment.begin; i < segment.end; ++i) {
            copy(plan_.chunks[i], input, out);
            progress(written += bytes_of(plan_.chunks[i]));
        }
        if (is_open_dml()) write_indexes(segment, out);
        if (segment.begin == 0) write_old_index(out);
    }
}

}  // namespace quorv::tool
