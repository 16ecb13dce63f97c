// The indexes of an AVI file as they stand in it; see the header.

#include "AviIndexFile.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Riff.h"

namespace quorv::tool {

namespace {

constexpr uint32_t kNoStream = 100;
// Of lists inside lists: a RIFF, its header list, a stream's list.
constexpr int kDeepestList = 3;
// A chunk of the header that is longer has nothing that is looked for.
constexpr uint32_t kSuperIndexLimit = 1 << 20;
constexpr uint32_t kIndexHeader = 24, kLegacyEntry = 16, kSuperEntry = 16;
constexpr uint32_t kKeyFlag = 0x10;
// Of a chunk's header and its entry in an index.
constexpr uint64_t kLeastBytes = 16;
// So many tell from where offsets count.
constexpr uint32_t kTriedEntries = 16;
constexpr size_t kBlockOfEntries = 0x10000, kLongestEntry = 64;

uint64_t load(const uint8_t *bytes, int count) {
    uint64_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = value << 8 | bytes[i];
    return value;
}

uint32_t load32(const uint8_t *bytes) {
    return static_cast<uint32_t>(load(bytes, 4));
}

bool is(const uint8_t *id, std::string_view text) {
    return std::memcmp(id, text.data(), text.size()) == 0;
}

bool is_open(uint32_t size) {
    return size == 0 || size == UINT32_MAX;
}

bool is_media_id(const uint8_t *id, uint32_t streams) {
    const auto is_letter = [](uint8_t c) { return c >= 'a' && c <= 'z'; };
    return chunk_stream(id) < streams && is_letter(id[2]) && is_letter(id[3]);
}

}  // namespace

uint32_t chunk_stream(const uint8_t *id) {
    const uint32_t tens = id[0] - uint32_t{'0'}, ones = id[1] - uint32_t{'0'};
    return tens <= 9 && ones <= 9 ? 10 * tens + ones : kNoStream;
}

AviIndexFile::AviIndexFile(FileSource &file, uint32_t streams) : file_(file), streams_(streams) {
    walk_segments();
    const auto before = [](const NamedChunk &a, const NamedChunk &b) { return a.offset < b.offset; };
    std::stable_sort(entries_.begin(), entries_.end(), before);
    const auto same = [](const NamedChunk &a, const NamedChunk &b) { return a.offset == b.offset; };
    entries_.erase(std::unique(entries_.begin(), entries_.end(), same), entries_.end());
}

std::vector<uint8_t> AviIndexFile::read(uint64_t offset, uint64_t size) {
    if (offset >= file_.size()) return {};
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min(size, file_.size() - offset)));
    bytes.resize(file_.read_at(offset, bytes));
    return bytes;
}

void AviIndexFile::walk_segments() {
    const uint64_t size = file_.size();
    uint64_t start = 0;
    while (size - start >= kListHeaderBytes) {
        uint8_t head[kListHeaderBytes];
        if (file_.read_at(start, head) < kListHeaderBytes || !is(head, "RIFF")) break;
        const uint32_t stated = load32(head + 4);
        if (start == 0) may_have_index_ = is(head + 8, "AVI ");
        const uint64_t end = is_open(stated) ? size : std::min(size, start + kChunkHeaderBytes + stated);
        walk_list(start + kListHeaderBytes, end, 1);
        start = std::min(size, end + (end & 1));
    }
    declared_end_ = start;
}

void AviIndexFile::walk_list(uint64_t begin, uint64_t end, int depth) {
    while (begin < end && end - begin >= kChunkHeaderBytes) {
        uint8_t head[kListHeaderBytes] = {};
        if (file_.read_at(begin, head) < kChunkHeaderBytes) return;
        const uint64_t data = begin + kChunkHeaderBytes;
        const uint32_t stated = load32(head + 4);
        const auto size = static_cast<uint32_t>(std::min<uint64_t>(stated, end - data));
        const bool is_media = is(head, "LIST") && is(head + 8, "movi");
        if (is_media && movi_ == 0) movi_ = data;
        if (is_media && is_open(stated)) return;  // up to the end
        if (is(head, "LIST") && (is(head + 8, "hdrl") || is(head + 8, "strl")) && depth < kDeepestList)
            walk_list(begin + kListHeaderBytes, data + size, depth + 1);
        if (is(head, "indx")) read_super_index(data, size);
        if (is(head, "idx1")) read_legacy_index(data, size);
        begin = data + size + (stated & 1);
    }
}

// A list of index chunks, or an index itself.
void AviIndexFile::read_super_index(uint64_t begin, uint32_t size) {
    if (size < kIndexHeader || size > kSuperIndexLimit) return;
    const std::vector<uint8_t> bytes = read(begin, size);
    if (bytes.size() < kIndexHeader) return;
    if (bytes[3] == 1) return read_standard_index(begin, size);
    const size_t room = (bytes.size() - kIndexHeader) / kSuperEntry;
    const size_t count = std::min<size_t>(load32(&bytes[4]), room);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t *entry = &bytes[kIndexHeader + i * kSuperEntry];
        const uint64_t position = load(entry, 8);
        if (position == 0) continue;
        ChunkHeader header = {};
        const bool fits = position < file_.size() && read_header(position + kChunkHeaderBytes, header) &&
                          (is(header.id, "ix") || is(header.id + 2, "ix"));
        if (fits) {
            read_standard_index(position + kChunkHeaderBytes, header.size);
        } else if (position < file_.size()) {
            lost_index_chunks_.push_back(position);
        }
    }
}

// False when there are more than the file has room for: then a list leads to the same index again and again.
bool AviIndexFile::add(const NamedChunk &chunk) {
    if (entries_.size() >= file_.size() / kLeastBytes) return false;
    entries_.push_back(chunk);
    return true;
}

// Hands entries on, block after block, as long as they are taken: what calls itself an index may be as long
// as the file.
void AviIndexFile::read_entries(uint64_t begin, uint64_t size, size_t entry_bytes,
                                const std::function<bool(const uint8_t *)> &take) {
    const size_t block = kBlockOfEntries / entry_bytes * entry_bytes;
    while (size >= entry_bytes) {
        const std::vector<uint8_t> bytes = read(begin, std::min<uint64_t>(size, block));
        if (bytes.size() < entry_bytes) return;
        for (size_t at = 0; bytes.size() - at >= entry_bytes; at += entry_bytes) {
            if (!take(&bytes[at])) return;
        }
        begin += bytes.size();
        size -= bytes.size();
    }
}

void AviIndexFile::read_standard_index(uint64_t begin, uint32_t size) {
    const std::vector<uint8_t> head = read(begin, std::min(size, kIndexHeader));
    if (head.size() < kIndexHeader || head[3] != 1 || entries_.size() >= file_.size() / kLeastBytes) return;
    const uint32_t stream = chunk_stream(&head[8]);
    // Those of fields have the place of the second one behind.
    const auto step = static_cast<size_t>(load(head.data(), 2) * 4);
    if (step < 8 || step > kLongestEntry || stream >= streams_) return;
    const uint64_t base = load(&head[12], 8);
    const uint64_t count = std::min<uint64_t>(load32(&head[4]), (size - kIndexHeader) / step);
    read_entries(begin + kIndexHeader, count * step, step, [&](const uint8_t *entry) {
        const uint32_t stated = load32(entry + 4);
        return add({base + load32(entry), stated & INT32_MAX, static_cast<uint8_t>(stream),
                    (stated & ~uint32_t{INT32_MAX}) == 0, false});
    });
}

void AviIndexFile::read_legacy_index(uint64_t begin, uint32_t size) {
    const uint64_t base = legacy_base(read(begin, std::min(size, kTriedEntries * kLegacyEntry)));
    read_entries(begin, size, kLegacyEntry, [&](const uint8_t *entry) {
        if (!is_media_id(entry, streams_) || is(entry + 2, "ix")) return true;
        return add({base + load32(entry + 8) + kChunkHeaderBytes, load32(entry + 12),
                    static_cast<uint8_t>(chunk_stream(entry)), (entry[4] & kKeyFlag) != 0, false});
    });
}

// Offsets count from the type of the media list, or from the beginning of the file: as most entries fit.
uint64_t AviIndexFile::legacy_base(const std::vector<uint8_t> &bytes) {
    size_t relative = 0, absolute = 0;
    for (size_t at = 0; bytes.size() - at >= kLegacyEntry; at += kLegacyEntry) {
        const auto fits = [&](uint64_t base) {
            ChunkHeader header = {};
            return read_header(base + load32(&bytes[at + 8]) + kChunkHeaderBytes, header) &&
                   std::memcmp(header.id, &bytes[at], sizeof(header.id)) == 0;
        };
        if (fits(movi_)) ++relative;
        if (fits(0)) ++absolute;
    }
    if (relative != absolute) return relative > absolute ? movi_ : 0;
    return bytes.size() >= kLegacyEntry && load32(&bytes[8]) > movi_ ? 0 : movi_;
}

bool AviIndexFile::read_header(uint64_t data_offset, ChunkHeader &header) {
    if (data_offset < kChunkHeaderBytes || data_offset > file_.size()) return false;
    uint8_t bytes[kChunkHeaderBytes];
    if (file_.read_at(data_offset - kChunkHeaderBytes, bytes) < kChunkHeaderBytes) return false;
    std::memcpy(header.id, bytes, sizeof(header.id));
    header.size = load32(bytes + 4);
    return true;
}

NamedChunk *AviIndexFile::find(uint64_t place) {
    const auto holds = [&](size_t at) {
        return at < entries_.size() && entries_[at].offset <= place &&
               place - entries_[at].offset < std::max<uint32_t>(entries_[at].size, 1);
    };
    // Chunks are mostly asked for in order.
    for (const size_t at : {hint_, hint_ + 1}) {
        if (holds(at)) return &entries_[hint_ = at];
    }
    const auto behind =
        std::upper_bound(entries_.begin(), entries_.end(), place,
                         [](uint64_t offset, const NamedChunk &entry) { return offset < entry.offset; });
    if (behind == entries_.begin()) return nullptr;
    const auto at = static_cast<size_t>(behind - entries_.begin()) - 1;
    if (!holds(at)) return nullptr;
    hint_ = at;
    return &entries_[at];
}

}  // namespace quorv::tool
