// RIFF chunks that one reader has come by, for those that come by later: all headers, and short chunks whole.
//
// Writers put the sound of a time far from its picture. What a track has passed over is soon gone from the
// window; kept here, the other track need not read it again.
#ifndef QUORV_SRC_SPLITTER_SEENCHUNKS_H
#define QUORV_SRC_SPLITTER_SEENCHUNKS_H

#include <stdint.h>

namespace quorv {

class SeenChunks {
public:
    static constexpr uint32_t kHeaderBytes = 8;

    struct Bytes {
        const uint8_t *data;
        uint32_t length;
    };

    // Memory for whole chunks. Without it there are headers only.
    void set_room(uint8_t *room, uint32_t size);

    // A chunk's header, or null.
    const uint8_t *find_header(int64_t position) const;
    void keep_header(int64_t position, const uint8_t *bytes);

    // Whether a chunk that begins there, `length` bytes with its header, is worth to be kept whole.
    bool wants(int64_t position, uint32_t length) const;
    void keep(int64_t position, const uint8_t *bytes, uint32_t length);
    // What lies behind the header of a chunk that was kept whole: `position` is where its data begins.
    Bytes find_data(int64_t position) const;

    // Where a row of chunks with one tag ends, the first of which begins at `position`, `limit` bytes behind
    // it at the latest. Others of up to `gap` bytes between them do not end it. 0 where a header is missing.
    int64_t end_of_row(int64_t position, uint32_t gap, uint32_t limit) const;

    // From that position on the source may have other bytes now.
    void forget_from(int64_t position);

private:
    struct Chunk {
        int64_t position;  // 0 in an empty one; no chunk begins there
        uint8_t header[kHeaderBytes];
        uint64_t place : 48;   // of all bytes that were ever kept
        uint64_t length : 16;  // 0: only its header is kept
    };

    // A place in the file belongs to one set, of which the latest chunks are known.
    static constexpr uint32_t kSetBits = 6, kChunksOfSet = 4;
    using Set = Chunk[kChunksOfSet];
    static uint32_t set_of(int64_t position);
    const Chunk *find(int64_t position) const;
    Chunk *find(int64_t position);
    bool is_whole(const Chunk &chunk) const;

    Set sets_[1 << kSetBits] = {};
    uint8_t *room_ = nullptr;
    uint32_t size_ = 0;
    uint64_t kept_ = 0;  // bytes, of which the last `size_` are there
};

}  // namespace quorv

#endif
