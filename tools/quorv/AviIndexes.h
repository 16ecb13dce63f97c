// What the indexes of an AVI file say of its chunks, whether these are there or not.
#ifndef QUORV_TOOLS_QUORV_AVIINDEXES_H
#define QUORV_TOOLS_QUORV_AVIINDEXES_H

#include <cstdint>
#include <vector>

#include "AviChunkWalk.h"

namespace quorv::tool {

struct AviIndexEntry {
    uint64_t position = 0;  // of the chunk's header, as stated
    uint32_t size = 0;
    uint8_t stream = 0;
    bool key = false;
    bool dropped = false;  // of a picture that never had a chunk: only its time passes
};

// In the order of positions, each of which is named once. Indexes of OpenDML go before the old one.
std::vector<AviIndexEntry> read_avi_indexes(FileSource &file, const AviHeaders &headers,
                                            const AviChunkMap &map);

}  // namespace quorv::tool

#endif
