// What the indexes of an AVI file say of its chunks, whether these are there or not.
#ifndef QUORV_TOOLS_QUORV_AVIINDEXES_H
#define QUORV_TOOLS_QUORV_AVIINDEXES_H

#include <cstdint>
#include <vector>

#include "ByteWindow.h"
#include "Riff.h"

namespace quorv::tool {

struct AviIndexEntry {
    uint64_t position = 0;  // of the chunk's header, as stated
    uint32_t size = 0;
    uint8_t stream = 0;
    bool key = false;
    bool dropped = false;  // of a picture that never had a chunk: only its time passes
    bool seen = false;     // for whoever compares: a chunk is there

    uint64_t data() const { return position + kChunkHeaderBytes; }
};
static_assert(sizeof(AviIndexEntry) == 16);

// Gathers the entries of one index after another. Of those that name the same place the first one counts.
class AviIndexReader {
public:
    // For each stream whether it is video; where the type of the first media list stands.
    AviIndexReader(FileSource &file, std::vector<bool> is_video, uint64_t media);

    // The data of an OpenDML index.
    void read_chunk_index(const ByteRange &data);
    // The data of an "idx1" chunk.
    void read_old_index(const ByteRange &data);
    // In the order of positions.
    std::vector<AviIndexEntry> entries();

private:
    uint64_t old_index_base(const ByteRange &data);
    bool take_entry();
    void add(size_t stream, AviIndexEntry entry);
    void add_dropped(size_t stream);

    ByteWindow window_;
    const uint64_t size_;
    const std::vector<bool> is_video_;
    const uint64_t media_;
    // Indexes may lie one inside the other, or be named again and again: all together have no more entries
    // than the file has room for.
    uint64_t entries_left_;
    std::vector<uint64_t> last_;  // position of each stream's latest entry
    std::vector<AviIndexEntry> entries_;
};

}  // namespace quorv::tool

#endif
