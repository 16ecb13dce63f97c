// What was read of a file last, and how much to read ahead of what is asked for.
//
// One window belongs to one handle; all of its streams read through it (StreamSource::window), so that a
// track finds what was read for another. From a local source small reads are made large ones as long as they
// follow each other. A progressive source is read exactly as far as is asked; of it the window only keeps
// what is looked at in place (StreamSource::view).
#ifndef QUORV_SRC_SPLITTER_READWINDOW_H
#define QUORV_SRC_SPLITTER_READWINDOW_H

#include <stdint.h>

#include "platform/MemoryOwner.h"
#include "splitter/SeenChunks.h"

namespace quorv {

class ReadWindow {
public:
    // Reads that lack so many bytes go past the window: a second copy of them costs more than a call.
    static constexpr uint32_t kDirectBytes = 8192;
    using Bytes = SeenChunks::Bytes;
    struct Run {
        int64_t start;
        uint32_t length;
    };

    // Makes room for 64 KB, so many of them for short chunks that are passed over. Without memory the window
    // stays small, and nothing is read ahead.
    void enlarge(uint32_t seen_bytes);
    bool is_large() const { return large_ != nullptr; }
    uint32_t capacity() const { return is_large() ? ahead_bytes_ : kSmallBytes; }

    // The bytes from a position on that lie together: `needed` of them or more, else as many as there are.
    // They stay until the next read.
    Bytes find(int64_t position, uint32_t needed);
    // Copies from a position on what is there; returns how much.
    uint32_t copy(int64_t position, void *to, uint32_t count);
    // So many of the bytes that were found last have been of use.
    void count_used(uint32_t count);

    // The headers of chunks that were looked at. Tracks that read far apart come by the same ones.
    const SeenChunks &seen() const { return seen_; }
    void keep_header(int64_t position, const uint8_t *bytes) { seen_.keep_header(position, bytes); }
    // A chunk of so many bytes, header and all, is passed over: another track may want it later.
    void keep_chunk(int64_t position, int64_t length);

    // What to read to have `missing` bytes at `start`; no more than those when reading ahead is of no use. It
    // may begin a little earlier, where bytes that are there end.
    Run run_for(int64_t start, uint32_t missing, int64_t source_end) const;
    // A large payload of these bytes goes past the window.
    void pass(int64_t start, uint32_t count);
    // Reading ahead of the run's start has failed.
    void refuse(const Run &run) { refused_ = run; }
    // Nothing is read ahead behind the end of the source, or before that is known. 0 or less: it has none.
    void set_end(int64_t end) { end_ = end > 0 ? end : INT64_MAX; }
    // Reading goes on at another place.
    void start_anew() { anew_ = true; }
    // From that position on the source may have other bytes now.
    void forget_from(int64_t position);

    // Room for `count` bytes behind the first `there` at `start`, which are in the window. What lies in the
    // room is lost.
    uint8_t *make_room(int64_t start, uint32_t there, uint32_t count);
    // So many of them have come.
    void add(uint32_t count);

private:
    // Bytes of the file that lie together in memory.
    struct Piece {
        int64_t start;
        uint32_t length, place;
        uint32_t used;  // how many of them have been of use

        // How many bytes lie from a position on.
        uint32_t length_from(int64_t position) const {
            return position >= start && position - start < length
                       ? length - static_cast<uint32_t>(position - start)
                       : 0;
        }
        void give_up(uint32_t lost, uint32_t lost_end);
    };

    static constexpr uint32_t kLargeBytes = 65536, kSmallBytes = 2048;
    static constexpr uint32_t kPieces = 16;
    // The bytes that were found last are of no piece.
    static constexpr uint32_t kNoPiece = kPieces;

    Run ahead_of(int64_t start) const;
    uint8_t *memory() { return is_large() ? large_.get() : small_; }

    Owned<uint8_t[]> large_;
    uint32_t ahead_bytes_ = 0;  // of it, for what is read ahead
    uint32_t next_place_ = 0;   // pieces follow each other in memory, and round again
    uint32_t newest_ = 0, recent_ = 0;
    bool anew_ = false;
    int64_t end_ = 0;
    int64_t passed_end_ = 0;  // of the latest large payload
    // How many bytes lay in front of it, behind another, and how many in front of that.
    uint32_t between_payloads_[2] = {};
    Run refused_ = {};
    Piece pieces_[kPieces] = {};
    SeenChunks seen_;
    uint8_t small_[kSmallBytes] = {};
};

}  // namespace quorv

#endif
