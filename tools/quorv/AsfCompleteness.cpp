// Tells whether an ASF file ends where its own objects say: walks the outermost ones.

#include <array>

#include "Completeness.h"

namespace quorv::tool {

namespace {

constexpr uint64_t kObjectHeader = 24;
// Files have a header, the media data and a few indexes.
constexpr int kMaxObjects = 1000;

}  // namespace

std::string find_asf_damage(FileSource &file) {
    uint64_t end = 0;
    for (int i = 0; i < kMaxObjects && end < file.size(); ++i) {
        std::array<uint8_t, kObjectHeader> bytes;
        if (file.read_at(end, bytes) < bytes.size()) break;
        uint64_t size = 0;
        for (size_t byte = kObjectHeader; byte-- > 16;)
            size = size << 8 | bytes[byte];
        // A live recording leaves it open.
        if (size < kObjectHeader || size > uint64_t{INT64_MAX} - end) return {};
        end += size;
    }
    return compare_length(end, file);
}

}  // namespace quorv::tool
