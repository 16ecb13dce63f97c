// The entries of all indexes of an AVI file; see the header.

#include "AviIndexes.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "AviChunkWalk.h"

namespace quorv::tool {

namespace {

constexpr uint32_t kFrameEntryBytes = 8, kFieldEntryBytes = 12;
// So many tell from where offsets count.
constexpr uint64_t kTriedEntries = 16;

}  // namespace

AviIndexReader::AviIndexReader(FileSource &file, std::vector<bool> is_video, uint64_t media)
    : window_(file),
      size_(file.size()),
      is_video_(std::move(is_video)),
      media_(media),
      entries_left_(size_ / kFrameEntryBytes),
      last_(is_video_.size(), media) {}

// Whether there may be one more.
bool AviIndexReader::take_entry() {
    if (entries_left_ == 0) return false;
    --entries_left_;
    return true;
}

void AviIndexReader::add(size_t stream, AviIndexEntry entry) {
    // What lay behind the end of a file that is cut off leaves no hole.
    if (entry.position >= size_) return;
    entry.stream = static_cast<uint8_t>(stream);
    entries_.push_back(entry);
    last_[stream] = entry.position;
}

void AviIndexReader::add_dropped(size_t stream) {
    if (is_video_[stream]) add(stream, {.position = last_[stream] + 1, .dropped = true});
}

void AviIndexReader::read_chunk_index(const ByteRange &data) {
    const std::span<const uint8_t> header = window_.view(data.begin, kIndexHeaderBytes);
    if (header.empty() || data.size() < kIndexHeaderBytes || header[3] != kIndexOfChunks) return;
    const uint32_t entry_bytes = load_le16(header.data()) * 4;
    if (entry_bytes != kFrameEntryBytes && entry_bytes != kFieldEntryBytes) return;
    const uint64_t room = (data.size() - kIndexHeaderBytes) / entry_bytes;
    const uint64_t count = std::min<uint64_t>(load_le32(header.data() + 4), room);
    const std::optional<AviChunk> chunk = chunk_of_name(header.data() + 8, is_video_.size());
    const uint64_t base = load_le64(header.data() + 12);
    // Palette changes take no time and are found without an index.
    if (!chunk || !chunk->is_frame()) return;
    for (uint64_t i = 0; i < count && take_entry(); ++i) {
        const auto bytes = window_.view(data.begin + kIndexHeaderBytes + i * entry_bytes, kFrameEntryBytes);
        if (bytes.empty()) return;
        const uint32_t offset = load_le32(bytes.data()), stated = load_le32(bytes.data() + 4);
        const uint32_t size = stated & ~kNotKeyFrame;
        if (offset == 0 && size == 0)
            add_dropped(chunk->stream);
        else
            add(chunk->stream, {.position = base + offset - kChunkHeaderBytes,
                                .size = size,
                                .key = stated == size && size != 0});
    }
}

// Offsets count from the type of the media list, or from the beginning of the file: as most entries fit.
uint64_t AviIndexReader::old_index_base(const ByteRange &data) {
    const uint64_t count = std::min(data.size() / kOldEntryBytes, kTriedEntries);
    const std::string entries = window_.copy(data.begin, static_cast<size_t>(count * kOldEntryBytes));
    size_t relative = 0, absolute = 0;
    for (size_t at = 0; entries.size() - at >= kOldEntryBytes; at += kOldEntryBytes) {
        const auto fits = [&](uint64_t base) {
            const std::span<const uint8_t> name = window_.view(base + field_le32(entries, at + 8), 4);
            return !name.empty() && std::memcmp(name.data(), &entries[at], name.size()) == 0;
        };
        if (fits(media_)) ++relative;
        if (fits(0)) ++absolute;
    }
    if (relative != absolute) return relative > absolute ? media_ : 0;
    return field_le32(entries, 8) > media_ ? 0 : media_;
}

void AviIndexReader::read_old_index(const ByteRange &data) {
    last_.assign(is_video_.size(), media_);
    const uint64_t base = old_index_base(data);
    for (uint64_t at = data.begin; data.end - at >= kOldEntryBytes && take_entry(); at += kOldEntryBytes) {
        const std::span<const uint8_t> bytes = window_.view(at, kOldEntryBytes);
        if (bytes.empty()) return;
        const std::optional<AviChunk> chunk = chunk_of_name(bytes.data(), is_video_.size());
        if (!chunk || !chunk->is_frame()) continue;
        const uint32_t offset = load_le32(bytes.data() + 8), size = load_le32(bytes.data() + 12);
        const bool key = (bytes[4] & kOldKeyFrame) != 0 && size != 0;
        if (offset == 0 && size == 0)
            add_dropped(chunk->stream);
        else
            add(chunk->stream, {.position = base + offset, .size = size, .key = key});
    }
}

std::vector<AviIndexEntry> AviIndexReader::entries() {
    std::stable_sort(entries_.begin(), entries_.end(),
                     [](const auto &a, const auto &b) { return a.position < b.position; });
    const auto same = [](const AviIndexEntry &a, const AviIndexEntry &b) { return a.position == b.position; };
    entries_.erase(std::unique(entries_.begin(), entries_.end(), same), entries_.end());
    return std::exchange(entries_, {});
}

}  // namespace quorv::tool
