// What a call has read before its source answered "not here yet", for when the call is repeated.
#ifndef QUORV_SRC_MEDIA_READJOURNAL_H
#define QUORV_SRC_MEDIA_READJOURNAL_H

#include <stddef.h>
#include <stdint.h>

#include "platform/MemoryOwner.h"

namespace quorv {

// The repetition gets these bytes again and asks the source for others only. So it comes further each time,
// even if the source answers every other read with bytes.
class ReadJournal {
public:
    // False when nothing is known of the bytes at the offset. Else copies as many as are known, at most size,
    // and stores how many; 0 at the source's end.
    bool find(uint64_t offset, void *buffer, size_t size, size_t *got) const;
    // How many of the bytes at the offset, at most size, may be added: those in front of the next known ones.
    size_t unknown_bytes(uint64_t offset, size_t size) const;
    // What the source has answered there, 0 bytes at its end. False when there is no memory.
    [[nodiscard]] bool add(uint64_t offset, const void *bytes, size_t size);
    void clear();

private:
    struct Piece {
        uint64_t offset;
        size_t start;  // in bytes_
        size_t size;
    };
    Piece *piece_behind(uint64_t offset) const;
    bool append_bytes(const void *bytes, size_t size);
    bool insert_piece(const Piece &piece);

    // Sorted by offset; they do not overlap.
    Owned<Piece[]> pieces_;
    size_t piece_count_ = 0, piece_room_ = 0;
    Owned<uint8_t[]> bytes_;
    size_t byte_count_ = 0, byte_room_ = 0;
    uint64_t end_ = UINT64_MAX;  // the lowest offset at which nothing came
};

}  // namespace quorv

#endif
