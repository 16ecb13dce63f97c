// What an interrupted call has read; see the header.

#include "media/ReadJournal.h"

namespace quorv {

namespace {

// Room for one more, and as many again.
template <typename T>
bool make_room(Owned<T[]> *array, size_t *room, size_t count, size_t more) {
    if (more <= *room - count) return true;
    const uint64_t wanted = (uint64_t{count} + more) * 2;
    if (!resize_array(array, wanted)) return false;
    *room = static_cast<size_t>(wanted);
    return true;
}

}  // namespace

// The first piece that begins behind the offset.
ReadJournal::Piece *ReadJournal::piece_behind(uint64_t offset) const {
    return std::upper_bound(pieces_.get(), pieces_.get() + piece_count_, offset,
                            [](uint64_t wanted, const Piece &piece) { return wanted < piece.offset; });
}

bool ReadJournal::find(uint64_t offset, void *buffer, size_t size, size_t *got) const {
    *got = 0;
    if (offset >= end_) return true;
    const Piece *piece = piece_behind(offset);
    if (piece == pieces_.get()) return false;
    --piece;
    const uint64_t skipped = offset - piece->offset;
    if (skipped >= piece->size) return false;
    *got = std::min(size, piece->size - static_cast<size_t>(skipped));
    memcpy(buffer, &bytes_[piece->start + static_cast<size_t>(skipped)], *got);
    return true;
}

size_t ReadJournal::unknown_bytes(uint64_t offset, size_t size) const {
    const Piece *next = piece_behind(offset);
    if (next == pieces_.get() + piece_count_) return size;
    return static_cast<size_t>(std::min<uint64_t>(size, next->offset - offset));
}

bool ReadJournal::add(uint64_t offset, const void *bytes, size_t size) {
    if (size == 0) {
        end_ = std::min(end_, offset);
        return true;
    }
    const size_t start = byte_count_;
    if (!append_bytes(bytes, size)) return false;
    Piece *const behind = piece_behind(offset);
    if (behind != pieces_.get()) {
        Piece &before = behind[-1];
        // Most reads go on where the one before has ended.
        if (offset - before.offset == before.size && before.start + before.size == start) {
            before.size += size;
            return true;
        }
    }
    return insert_piece({offset, start, size});
}

bool ReadJournal::append_bytes(const void *bytes, size_t size) {
    if (!make_room(&bytes_, &byte_room_, byte_count_, size)) return false;
    memcpy(&bytes_[byte_count_], bytes, size);
    byte_count_ += size;
    return true;
}

bool ReadJournal::insert_piece(const Piece &piece) {
    if (!make_room(&pieces_, &piece_room_, piece_count_, 1)) return false;
    Piece *const place = piece_behind(piece.offset);
    std::copy_backward(place, pieces_.get() + piece_count_, pieces_.get() + piece_count_ + 1);
    *place = piece;
    ++piece_count_;
    return true;
}

void ReadJournal::clear() {
    pieces_.reset();
    bytes_.reset();
    piece_count_ = piece_room_ = byte_count_ = byte_room_ = 0;
    end_ = UINT64_MAX;
}

}  // namespace quorv
