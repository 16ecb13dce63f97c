// The indexes of an AVI file as they stand in it, both kinds, and where the file's outermost parts lie.
#ifndef QUORV_TOOLS_QUORV_AVIINDEXFILE_H
#define QUORV_TOOLS_QUORV_AVIINDEXFILE_H

#include <cstdint>
#include <functional>
#include <vector>

#include "FileSource.h"

namespace quorv::tool {

// A chunk that an index names.
struct NamedChunk {
    uint64_t offset;  // of the chunk's data
    uint32_t size;
    uint8_t stream;  // from 0
    bool key;
    bool seen;  // for whoever compares: a chunk is there
};

class AviIndexFile {
public:
    // Reads what the file has of its lists and indexes; what makes no sense is left out. Throws Failure.
    AviIndexFile(FileSource &file, uint32_t streams);

    // In the order of their offsets; what both indexes name is there once.
    std::vector<NamedChunk> &entries() { return entries_; }
    // The entry of the chunk that this place lies in, null when there is none.
    NamedChunk *find(uint64_t place);
    // Whether it is of the kind that has an index.
    bool may_have_index() const { return may_have_index_; }
    // Where index chunks are named that are none.
    const std::vector<uint64_t> &lost_index_chunks() const { return lost_index_chunks_; }
    // Where the last RIFF ends by its own size; the file's size when that is left open.
    uint64_t declared_end() const { return declared_end_; }
    // The chunk header that belongs to data at this offset; false where there is no room for one.
    struct ChunkHeader {
        uint8_t id[4];
        uint32_t size;
    };
    bool read_header(uint64_t data_offset, ChunkHeader &header);

private:
    void walk_segments();
    void walk_list(uint64_t begin, uint64_t end, int depth);
    void read_super_index(uint64_t begin, uint32_t size);
    void read_standard_index(uint64_t begin, uint32_t size);
    void read_legacy_index(uint64_t begin, uint32_t size);
    bool add(const NamedChunk &chunk);
    void read_entries(uint64_t begin, uint64_t size, size_t entry_bytes,
                      const std::function<bool(const uint8_t *)> &take);
    uint64_t legacy_base(const std::vector<uint8_t> &bytes);
    std::vector<uint8_t> read(uint64_t offset, uint64_t size);

    FileSource &file_;
    const uint32_t streams_;
    std::vector<NamedChunk> entries_;
    std::vector<uint64_t> lost_index_chunks_;
    uint64_t movi_ = 0;  // position of the first media list's type
    uint64_t declared_end_ = 0;
    bool may_have_index_ = false;
    size_t hint_ = 0;
};

// The number that a chunk's id begins with; 100 when it does not begin with one.
uint32_t chunk_stream(const uint8_t *id);

}  // namespace quorv::tool

#endif
