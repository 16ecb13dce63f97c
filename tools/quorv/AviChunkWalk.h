// What lies in the media data of an AVI file, found without its index.
#ifndef QUORV_TOOLS_QUORV_AVICHUNKWALK_H
#define QUORV_TOOLS_QUORV_AVICHUNKWALK_H

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "AviHeaders.h"

namespace quorv::tool {

// The last two letters of a chunk's name.
enum class AviChunkType : uint8_t { Compressed, Bitmap, Sound, Text, Palette };

// Whether decoding can begin at a chunk.
enum class KeyFrame : uint8_t { Unknown, No, Yes };

// A chunk of a stream. There are millions of them.
struct AviChunk {
    uint64_t position = 0;  // of its header
    uint32_t size = 0;      // of its data
    uint8_t stream = 0;
    AviChunkType type = AviChunkType::Compressed;
    KeyFrame key = KeyFrame::Unknown;
    bool is_new = false;  // stands for a lost one: there is no data in the file

    uint64_t data() const { return position + 8; }
    bool is_frame() const { return type != AviChunkType::Palette; }
};
static_assert(sizeof(AviChunk) == 16);

struct AviChunkMap {
    std::vector<AviChunk> chunks;
    std::vector<ByteRange> gaps;         // in the media data, what belongs to nothing
    std::vector<ByteRange> indexes;      // the data of index chunks of OpenDML
    std::optional<ByteRange> old_index;  // the data of "idx1"
    std::vector<ByteRange> information;  // further lists of tags, whole
};

// The name's letters as they stand in the file.
uint16_t type_letters(AviChunkType type);
// What a chunk of that name holds, if it belongs to one of so many streams.
std::optional<AviChunk> chunk_of_name(const uint8_t *name, size_t streams);

// Goes on behind damage of any length. Calls back with how far it has come.
AviChunkMap walk_avi_chunks(FileSource &file, const AviHeaders &headers,
                            const std::function<void(uint64_t)> &progress);

}  // namespace quorv::tool

#endif
