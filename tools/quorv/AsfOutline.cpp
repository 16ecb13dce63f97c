// Where the outermost objects of an ASF file end; see the header.

#include "AsfOutline.h"

namespace quorv::tool {

namespace {

// An identifier and a size, which counts them in.
constexpr uint64_t kIdentifier = 16, kObjectHeader = 24;
// A Data Object has its own identifier and the number of packets behind that.
constexpr uint64_t kEmptyDataObject = 50;

}  // namespace

uint64_t asf_objects_end(FileSource &file) {
    uint64_t position = 0;
    uint8_t head[kObjectHeader];
    for (int object = 0; file.size() - position >= kObjectHeader; ++object) {
        if (file.read_at(position, head) < kObjectHeader) break;
        uint64_t size = 0;
        for (uint64_t i = kObjectHeader; i > kIdentifier; --i)
            size = size << 8 | head[i - 1];
        const bool is_data = object == 1;
        if (is_data && (size <= kEmptyDataObject || size > file.size() - position)) return file.size();
        if (size < kObjectHeader || size > file.size() - position) break;
        position += size;
    }
    return position;
}

}  // namespace quorv::tool
