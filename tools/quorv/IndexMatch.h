// Compares the chunks that an AVI file has with those that its index names.
#ifndef QUORV_TOOLS_QUORV_INDEXMATCH_H
#define QUORV_TOOLS_QUORV_INDEXMATCH_H

#include <cstddef>
#include <vector>

#include "AviChunkWalk.h"
#include "AviIndexes.h"

namespace quorv::tool {

// One of both, or one and the other: in the order of the file.
struct IndexPair {
    const AviChunk *chunk = nullptr;       // null: only the index has it
    const AviIndexEntry *entry = nullptr;  // null: only the file has it
};

// Walks along both. Where bytes have been inserted or taken out, what follows is found at its new place.
class IndexMatch {
public:
    IndexMatch(const std::vector<AviChunk> &chunks, const std::vector<AviIndexEntry> &entries)
        : chunks_(chunks), entries_(entries) {}

    // False behind the last pair.
    bool next(IndexPair &pair);

private:
    uint64_t expected(size_t entry) const { return entries_[entry].position + shift_; }
    size_t entry_at(uint64_t position) const;
    size_t entry_of_run() const;
    bool runs_match(size_t entry) const;
    void catch_up();

    const std::vector<AviChunk> &chunks_;
    const std::vector<AviIndexEntry> &entries_;
    size_t chunk_ = 0, entry_ = 0;
    size_t known_until_ = 0;  // the entries up to there are lost
    bool in_step_ = false;    // the chunk and known_until_ belong together
    uint64_t shift_ = 0;      // modulo 2^64
    unsigned searches_left_ = 1000;
};

}  // namespace quorv::tool

#endif
