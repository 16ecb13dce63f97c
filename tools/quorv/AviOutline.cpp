// Where the outermost parts of an AVI file and its indexes lie; see the header.

#include "AviOutline.h"

#include <algorithm>

#include "ByteWindow.h"

namespace quorv::tool {

namespace {

// Of lists inside lists: a RIFF, its header list, a stream's list.
constexpr int kDeepestList = 3;
// A list of index chunks that claims more is damaged.
constexpr uint64_t kLongestSuperIndex = 1 << 20;

class OutlineWalk {
public:
    explicit OutlineWalk(FileSource &file) : window_(file), size_(file.size()) {}

    AviOutline run();

private:
    void walk_list(ByteRange data, int depth);
    void take_index(const ByteRange &data);
    void follow(uint64_t position);

    ByteWindow window_;
    const uint64_t size_;
    AviOutline outline_;
};

bool is_open(uint32_t size) {
    return size == 0 || size == UINT32_MAX;
}

AviOutline OutlineWalk::run() {
    uint64_t start = 0;
    while (size_ - start >= kListHeaderBytes) {
        const std::span<const uint8_t> head = window_.view(start, kListHeaderBytes);
        if (head.empty() || load_le32(head.data()) != riff_tag("RIFF")) break;
        const uint32_t stated = load_le32(head.data() + 4);
        if (start == 0) outline_.may_have_index = load_le32(head.data() + 8) == riff_tag("AVI ");
        const uint64_t end = is_open(stated) ? size_ : std::min(size_, start + kChunkHeaderBytes + stated);
        walk_list({start + kListHeaderBytes, end}, 1);
        start = std::min(size_, padded(end));
    }
    outline_.declared_end = start;
    return std::move(outline_);
}

void OutlineWalk::walk_list(ByteRange data, int depth) {
    for (uint64_t at = data.begin; at < data.end && data.end - at >= kChunkHeaderBytes;) {
        const std::span<const uint8_t> head = window_.view(at, kChunkHeaderBytes);
        if (head.empty()) return;
        const uint32_t tag = load_le32(head.data()), stated = load_le32(head.data() + 4);
        const uint64_t begin = at + kChunkHeaderBytes, size = std::min<uint64_t>(stated, data.end - begin);
        const ByteRange chunk = {begin, begin + size};
        at = begin + padded(size);
        if (tag == riff_tag("indx")) take_index(chunk);
        if (tag == riff_tag("idx1")) outline_.old_indexes.push_back(chunk);
        const std::span<const uint8_t> type = window_.view(begin, sizeof(uint32_t));
        if (tag != riff_tag("LIST") || type.empty()) continue;
        const uint32_t list = load_le32(type.data());
        if (list == riff_tag("movi")) {
            if (outline_.media == 0) outline_.media = begin;
            if (is_open(stated)) return;  // up to the end
        } else if ((list == riff_tag("hdrl") || list == riff_tag("strl")) && depth < kDeepestList) {
            walk_list({begin + type.size(), chunk.end}, depth + 1);
        }
    }
}

// A list of index chunks, or an index itself.
void OutlineWalk::take_index(const ByteRange &data) {
    if (data.size() < kIndexHeaderBytes || data.size() > kLongestSuperIndex) return;
    const std::string bytes = window_.copy(data.begin, static_cast<size_t>(data.size()));
    if (bytes.size() < kIndexHeaderBytes) return;
    if (static_cast<uint8_t>(bytes[3]) == kIndexOfChunks) {
        outline_.indexes.push_back(data);
        return;
    }
    const auto *entry = reinterpret_cast<const uint8_t *>(bytes.data()) + kIndexHeaderBytes;
    const size_t room = (bytes.size() - kIndexHeaderBytes) / kSuperEntryBytes;
    const size_t count = std::min<size_t>(field_le32(bytes, 4), room);
    for (size_t i = 0; i < count; ++i)
        follow(load_le64(entry + i * kSuperEntryBytes));
}

// To an index chunk. What lay behind the end of a file that is cut off is told by that.
void OutlineWalk::follow(uint64_t position) {
    if (position == 0 || position >= size_) return;
    const std::span<const uint8_t> head = window_.view(position, kChunkHeaderBytes);
    if (!head.empty() && is_index_name(head.data())) {
        const uint64_t begin = position + kChunkHeaderBytes;
        outline_.indexes.push_back({begin, begin + load_le32(head.data() + 4)});
    } else {
        outline_.lost_indexes.push_back(position);
    }
}

}  // namespace

AviOutline read_avi_outline(FileSource &file) {
    return OutlineWalk(file).run();
}

}  // namespace quorv::tool
