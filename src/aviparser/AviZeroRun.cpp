// Steps over zero bytes in large reads; see the header.

#include "aviparser/AviZeroRun.h"

#include <algorithm>

#include "aviparser/AviRiff.h"

namespace quorv {

namespace {

constexpr uint32_t kFirstRead = 512, kMaxRead = 16384;
// A sparse file may have any size without holding anything; a source of unknown size may have no end at all.
constexpr int64_t kLimit = int64_t{1} << 26, kUnknownSizeLimit = int64_t{1} << 17;

}  // namespace

int64_t avi_skip_zeros(AviContext *context, int64_t position, int64_t end) {
    StreamSource &source = context->source;
    const int64_t start = position + kAviChunkHeaderBytes;
    const int64_t longest = context->media.size_known() ? kLimit : kUnknownSizeLimit;
    const int64_t limit = end - start > longest ? start + longest : end;
    uint8_t bytes[kMaxRead];
    uint32_t size = kFirstRead;
    for (int64_t at = start; at < limit;) {
        const auto wanted = static_cast<uint32_t>(std::min<int64_t>(size, limit - at));
        uint32_t delivered = 0;
        // What cannot be read is left to the caller, who meets it with a code.
        if (source.move_to(at) == Code::Ok)
            static_cast<void>(source.read_available(bytes, wanted, &delivered));
        const uint8_t *behind = bytes + delivered;
        const uint8_t *found =
            std::find_if<const uint8_t *>(bytes, behind, [](uint8_t byte) { return byte != 0; });
        at += found - bytes;
        if (found != behind) return at;
        // The first bytes of what cannot be read at once may be there.
        size = delivered == wanted ? std::min(size * 2, kMaxRead) : wanted / 8;
        // The caller goes on from a header of zeros, now and when it asks again.
        if (size == 0) return at == start ? at : at - kAviChunkHeaderBytes;
    }
    return end;
}

}  // namespace quorv
