// Walks the outermost chunks of every segment; see the header.

#include "aviparser/AviCompleteness.h"

#include <algorithm>

#include "aviparser/AviRiff.h"

namespace quorv {

namespace {

constexpr int64_t kRiffHeaderBytes = 12;
// Writers count the outermost header in, or forget a pad byte; nothing is missing then.
constexpr int64_t kTolerance = 16;
// Real files have fewer than twenty outermost chunks; the limit is for those that only look like one.
constexpr uint32_t kMaxChunks = 10000;
constexpr int64_t kOpenEnd = 0;

struct Chunk {
    uint32_t tag, size;

    // As left by writers that cannot go back, or were interrupted.
    bool is_open() const { return size == 0 || size == UINT32_MAX; }
};

class OutermostWalk {
public:
    explicit OutermostWalk(AviContext *context)
        : source_(context->source),
          size_(context->media.source_size),
          first_size_(static_cast<uint32_t>(context->media.riff_end - kAviChunkHeaderBytes)) {}

    // The length that the headers declare for the file, kOpenEnd when they leave it open.
    int64_t declared_end();
    // Of reading, but for the end of the source.
    Code code() const { return code_; }

private:
    bool read(int64_t position, Chunk *chunk);
    int64_t declared_segment_end(int64_t start, uint32_t size);

    StreamSource &source_;
    const int64_t size_;
    const uint32_t first_size_;  // of the first segment, as declared
    uint32_t chunks_left_ = kMaxChunks;
    Code code_ = Code::Ok;
};

bool OutermostWalk::read(int64_t position, Chunk *chunk) {
    if (chunks_left_ == 0 || size_ - position < kAviChunkHeaderBytes) return false;
    --chunks_left_;
    uint8_t bytes[kAviChunkHeaderBytes];
    uint32_t delivered = 0;
    code_ = source_.read_at(position, bytes, sizeof(bytes), &delivered);
    *chunk = {load_le32(bytes), load_le32(bytes + 4)};
    return code_ == Code::Ok && delivered == sizeof(bytes);
}

int64_t OutermostWalk::declared_segment_end(int64_t start, uint32_t size) {
    const int64_t end = start + kAviChunkHeaderBytes + size;
    Chunk chunk = {};
    for (int64_t at = start + kRiffHeaderBytes; at < end && read(at, &chunk);) {
        const bool is_list = chunk.tag == avi_tag("LIST");
        if (is_list && chunk.is_open()) return kOpenEnd;
        const int64_t chunk_end = at + kAviChunkHeaderBytes + chunk.size;
        if (chunk_end > size_) {
            if (is_list || chunk.tag == avi_tag("idx1") || chunk.tag == avi_tag("JUNK"))
                return std::max(chunk_end, end);
            break;  // not a chunk
        }
        at = chunk_end + (chunk.size & 1);
    }
    return end > size_ + kTolerance ? end : std::min(end, size_);
}

int64_t OutermostWalk::declared_end() {
    int64_t end = 0;
    // The first header has been read; a second time would bring the beginning of the file again.
    Chunk segment = {avi_tag("RIFF"), first_size_};
    do {
        if (segment.is_open()) return kOpenEnd;
        end = declared_segment_end(end, segment.size);
        if (end == kOpenEnd || end >= size_) return end;
        end += end & 1;
    } while (read(end, &segment) && segment.tag == avi_tag("RIFF"));
    return end;
}

}  // namespace

Code avi_count_missing_bytes(AviContext *context, int64_t *missing) {
    *missing = 0;
    if (!context->media.size_known()) return Code::Ok;
    OutermostWalk walk(context);
    const int64_t declared = walk.declared_end();
    if (walk.code() == Code::Ok) *missing = std::max<int64_t>(declared - context->media.source_size, 0);
    return walk.code();
}

}  // namespace quorv
