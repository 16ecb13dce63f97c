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

namespace quorv {

class ReadWindow {
public:
    static constexpr uint32_t kLargeBytes = 65536;
    // Reads that lack so many bytes go past the window: a second copy of them costs more than a call.
    static constexpr uint32_t kDirectBytes = 16384;

    struct Bytes {
        const uint8_t *data;
        uint32_t length;
    };
    struct Run {
        int64_t start;
        uint32_t length;
    };

    // Makes room for kLargeBytes. Without memory the window stays small, and nothing is read ahead.
    void enlarge();
    bool is_large() const { return large_ != nullptr; }
    uint32_t capacity() const { return is_large() ? kLargeBytes : kSmallBytes; }

    // The bytes from a position on that lie together: `needed` of them or more, else as many as there are.
    // They stay until the next read.
    Bytes find(int64_t position, uint32_t needed);
    // Copies from a position on what is there; returns how much.
    uint32_t copy(int64_t position, void *to, uint32_t count);

    // What to read to have `missing` bytes at `start`; no more than those when reading ahead is of no use.
    // It may begin a little earlier, where bytes that are there end.
    Run run_for(int64_t start, uint32_t missing, int64_t source_end) const;
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

        // How many bytes lie from a position on.
        uint32_t length_from(int64_t position) const {
            return position >= start && position - start < length
                       ? length - static_cast<uint32_t>(position - start)
                       : 0;
        }
    };

    static constexpr uint32_t kSmallBytes = 2048;
    // Small windows hold the headers of many chunks, large ones a few long runs.
    static constexpr uint32_t kMostPieces = 128, kLargePieces = 16;

    uint32_t piece_count() const { return is_large() ? kLargePieces : kMostPieces; }
    uint8_t *memory() { return is_large() ? large_.get() : small_; }

    Owned<uint8_t[]> large_;
    uint32_t next_place_ = 0;  // pieces follow each other in memory, and round again
    uint32_t newest_ = 0, recent_ = 0;
    bool anew_ = false;
    int64_t end_ = 0;
    Run refused_ = {};
    Piece pieces_[kMostPieces] = {};
    uint8_t small_[kSmallBytes] = {};
};

}  // namespace quorv

#endif
