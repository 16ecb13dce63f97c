// Tells whether an AVI file ends where its own headers say: walks the outermost chunks of every segment.

#include <algorithm>
#include <array>
#include <cstring>

#include "Completeness.h"

namespace quorv::tool {

namespace {

constexpr uint64_t kChunkHeader = 8;
constexpr uint64_t kRiffHeader = 12;
// Writers count the outermost header in, or forget a pad byte; nothing is missing then.
constexpr uint64_t kTolerance = 16;
// Real files have fewer than twenty outermost chunks; the limit is for those that only look like one.
constexpr int kMaxChunks = 10000;

struct ChunkHeader {
    char tag[4];
    uint32_t size;

    bool is(const char *name) const { return std::memcmp(tag, name, sizeof(tag)) == 0; }
    // As left by writers that cannot go back, or were interrupted.
    bool is_open() const { return size == 0 || size == UINT32_MAX; }
};

class ChunkWalk {
public:
    explicit ChunkWalk(FileSource &file) : file_(file) {}

    // The length that the headers declare for the file, 0 when they leave it open.
    uint64_t declared_end();

private:
    bool read(uint64_t position, ChunkHeader &chunk);
    uint64_t declared_segment_end(uint64_t start, uint32_t size);

    FileSource &file_;
    int chunks_ = 0;
};

bool ChunkWalk::read(uint64_t position, ChunkHeader &chunk) {
    std::array<uint8_t, kChunkHeader> bytes;
    if (++chunks_ > kMaxChunks || file_.read_at(position, bytes) < bytes.size()) return false;
    std::memcpy(chunk.tag, bytes.data(), sizeof(chunk.tag));
    chunk.size = uint32_t{bytes[7]} << 24 | uint32_t{bytes[6]} << 16 | uint32_t{bytes[5]} << 8 | bytes[4];
    return true;
}

uint64_t ChunkWalk::declared_segment_end(uint64_t start, uint32_t size) {
    const uint64_t end = start + kChunkHeader + size;
    ChunkHeader chunk = {};
    for (uint64_t at = start + kRiffHeader; at < end && read(at, chunk);) {
        const uint64_t chunk_end = at + kChunkHeader + chunk.size;
        if (chunk.is("LIST") && chunk.is_open()) return 0;
        if (chunk_end > file_.size()) {
            if (chunk.is("LIST") || chunk.is("idx1") || chunk.is("JUNK")) return std::max(chunk_end, end);
            break;  // not a chunk
        }
        at = chunk_end + (chunk.size & 1);
    }
    return end > file_.size() + kTolerance ? end : std::min(end, file_.size());
}

uint64_t ChunkWalk::declared_end() {
    uint64_t end = 0;
    ChunkHeader segment = {};
    for (uint64_t start = 0; read(start, segment) && (start == 0 || segment.is("RIFF")); start = end) {
        if (segment.is_open()) return 0;
        end = declared_segment_end(start, segment.size);
        if (end == 0 || end >= file_.size()) return end;
        end += end & 1;
    }
    return end;
}

}  // namespace

std::string find_avi_damage(FileSource &file) {
    return compare_length(ChunkWalk(file).declared_end(), file);
}

}  // namespace quorv::tool
