// The entries of all indexes of an AVI file; see the header.

#include "AviIndexes.h"

#include <algorithm>
#include <functional>

#include "ByteWindow.h"
#include "Riff.h"

namespace quorv::tool {

namespace {

constexpr uint32_t kFrameEntryBytes = 8, kFieldEntryBytes = 12;

class IndexReader {
public:
    IndexReader(FileSource &file, const AviHeaders &headers, const AviChunkMap &map)
        : window_(file),
          size_(file.size()),
          headers_(headers),
          map_(map),
          last_(headers.streams.size(), headers.media.begin) {}

    std::vector<AviIndexEntry> run();

private:
    void read_chunk_index(const ByteRange &data);
    void read_old_index(const ByteRange &data);
    uint64_t old_index_base(const ByteRange &data);
    void add(const AviChunk &chunk, uint64_t position, uint32_t size, bool key);
    void add_dropped(const AviChunk &chunk);

    ByteWindow window_;
    const uint64_t size_;
    const AviHeaders &headers_;
    const AviChunkMap &map_;
    std::vector<uint64_t> last_;  // position of each stream's latest entry
    std::vector<AviIndexEntry> entries_;
};

void IndexReader::add(const AviChunk &chunk, uint64_t position, uint32_t size, bool key) {
    // Palette changes take no time and are written as they are found. What lay behind the end of a file that
    // is cut off leaves no hole.
    if (!chunk.is_frame() || position >= size_) return;
    entries_.push_back({position, size, chunk.stream, key && size != 0, false});
    last_[chunk.stream] = position;
}

void IndexReader::add_dropped(const AviChunk &chunk) {
    if (!headers_.streams[chunk.stream].is_video()) return;
    entries_.push_back({++last_[chunk.stream], 0, chunk.stream, false, true});
}

void IndexReader::read_chunk_index(const ByteRange &data) {
    const std::span<const uint8_t> header = window_.view(data.begin, kIndexHeaderBytes);
    if (header.empty() || data.size() < kIndexHeaderBytes || header[3] != kIndexOfChunks) return;
    const uint32_t entry_bytes = load_le16(header.data()) * 4;
    if (entry_bytes != kFrameEntryBytes && entry_bytes != kFieldEntryBytes) return;
    const uint64_t room = (data.size() - kIndexHeaderBytes) / entry_bytes;
    const uint64_t count = std::min<uint64_t>(load_le32(header.data() + 4), room);
    const std::optional<AviChunk> chunk = chunk_of_name(header.data() + 8, headers_.streams.size());
    const uint64_t base = load_le64(header.data() + 12);
    if (!chunk) return;
    for (uint64_t i = 0; i < count; ++i) {
        const auto bytes = window_.view(data.begin + kIndexHeaderBytes + i * entry_bytes, kFrameEntryBytes);
        if (bytes.empty()) return;
        const uint32_t offset = load_le32(bytes.data()), size = load_le32(bytes.data() + 4);
        if (offset == 0 && (size & ~kNotKeyFrame) == 0) {
            add_dropped(*chunk);
        } else {
            add(*chunk, base + offset - kChunkHeaderBytes, size & ~kNotKeyFrame, (size & kNotKeyFrame) == 0);
        }
    }
}

// Offsets count from the beginning of the file in some files, from the list type "movi" in others.
uint64_t IndexReader::old_index_base(const ByteRange &data) {
    const std::span<const uint8_t> first = window_.view(data.begin, kOldEntryBytes);
    const uint64_t media = headers_.media.begin - 4;
    return first.empty() || load_le32(first.data() + 8) > media ? 0 : media;
}

void IndexReader::read_old_index(const ByteRange &data) {
    const uint64_t base = old_index_base(data);
    for (uint64_t at = data.begin; data.end - at >= kOldEntryBytes; at += kOldEntryBytes) {
        const std::span<const uint8_t> bytes = window_.view(at, kOldEntryBytes);
        if (bytes.empty()) return;
        const std::optional<AviChunk> chunk = chunk_of_name(bytes.data(), headers_.streams.size());
        if (!chunk) continue;
        const uint32_t offset = load_le32(bytes.data() + 8), size = load_le32(bytes.data() + 12);
        if (offset == 0 && size == 0) {
            add_dropped(*chunk);
        } else {
            add(*chunk, base + offset, size, (bytes[4] & kOldKeyFrame) != 0);
        }
    }
}

std::vector<AviIndexEntry> IndexReader::run() {
    for (const ByteRange &data : headers_.indexes)
        read_chunk_index(data);
    for (const ByteRange &data : map_.indexes)
        read_chunk_index(data);
    std::fill(last_.begin(), last_.end(), headers_.media.begin);
    if (map_.old_index) read_old_index(*map_.old_index);
    std::stable_sort(entries_.begin(), entries_.end(),
                     [](const auto &a, const auto &b) { return a.position < b.position; });
    const auto same = [](const AviIndexEntry &a, const AviIndexEntry &b) { return a.position == b.position; };
    entries_.erase(std::unique(entries_.begin(), entries_.end(), same), entries_.end());
    return std::move(entries_);
}

}  // namespace

std::vector<AviIndexEntry> read_avi_indexes(FileSource &file, const AviHeaders &headers,
                                            const AviChunkMap &map) {
    return IndexReader(file, headers, map).run();
}

}  // namespace quorv::tool
