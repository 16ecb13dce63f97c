// What was read last, and how much to read ahead; see the header.

#include "splitter/ReadWindow.h"

#include <string.h>

#include <algorithm>

namespace quorv {

namespace {

// A file begins with its headers.
constexpr uint32_t kHeaderRun = 16384;
// It ends with an index. A rest as short as this is read at once.
constexpr uint32_t kShortRest = 8192;
// A first read brings little more than a chunk's header: often a large payload follows, or none of this
// track.
constexpr uint32_t kFirstRun = 1024;
// Reads that follow each other grow, up to a third of the window: five frames of 4 KB, with two other tracks
// reading elsewhere.
constexpr uint32_t kGrowth = 2, kLongestRun = 21504;
// What is passed over between two reads that still follow each other: it costs no more than a call.
constexpr uint32_t kLongestGap = 4096;
// Behind a frame: the next chunk's header and a small frame.
constexpr uint32_t kSlack = 512;

}  // namespace

void ReadWindow::enlarge() {
    if (is_large()) return;
    Owned<uint8_t[]> memory = make_array<uint8_t>(kLargeBytes);
    if (memory == nullptr) return;
    // A source that lies about what it has written must not show what was in this memory.
    memset(memory.get(), 0, kLargeBytes);
    forget_from(0);
    large_ = std::move(memory);
    next_place_ = newest_ = recent_ = 0;
}

void ReadWindow::forget_from(int64_t position) {
    for (Piece &piece : pieces_)
        piece.length = static_cast<uint32_t>(std::clamp<int64_t>(position - piece.start, 0, piece.length));
}

ReadWindow::Bytes ReadWindow::find(int64_t position, uint32_t needed) {
    uint32_t best = recent_;
    uint32_t length = pieces_[best].length_from(position);
    for (uint32_t i = 0; i < piece_count() && length < needed; ++i) {
        const uint32_t other = pieces_[i].length_from(position);
        if (other <= length) continue;
        length = other;
        best = i;
    }
    if (length == 0) return {};
    recent_ = best;
    const Piece &piece = pieces_[best];
    return {memory() + piece.place + (piece.length - length), length};
}

uint32_t ReadWindow::copy(int64_t position, void *to, uint32_t count) {
    auto *bytes = static_cast<uint8_t *>(to);
    uint32_t done = 0;
    while (done < count) {
        const Bytes found = find(position + done, count - done);
        if (found.length == 0) break;
        const uint32_t length = std::min(found.length, count - done);
        memcpy(bytes + done, found.data, length);
        done += length;
    }
    return done;
}

ReadWindow::Run ReadWindow::run_for(int64_t start, uint32_t missing, int64_t source_end) const {
    const Run exact = {start, missing};
    const int64_t end = std::min(end_, source_end);
    const bool refused = start >= refused_.start && start - refused_.start < refused_.length;
    if (refused || start >= end || missing >= kDirectBytes) return exact;
    Run run = {start, kFirstRun};
    if (!anew_) {
        if (start < kHeaderRun) run.length = std::max(run.length, static_cast<uint32_t>(kHeaderRun - start));
        int64_t shortest = kLongestGap + 1;
        for (uint32_t i = 0; i < piece_count(); ++i) {
            const Piece &piece = pieces_[i];
            const int64_t gap = start - piece.start - piece.length;
            if (piece.length == 0 || gap < 0 || gap >= shortest) continue;
            shortest = gap;
            run = {start - gap, std::max(run.length, std::min(kGrowth * piece.length, kLongestRun))};
        }
    }
    if (end - start <= kShortRest) run.length = std::max(run.length, static_cast<uint32_t>(end - run.start));
    const auto gap = static_cast<uint32_t>(start - run.start);
    run.length = std::max(run.length, gap + missing + kSlack);
    run.length = static_cast<uint32_t>(std::min<int64_t>(run.length, end - run.start));
    return run.length > gap + missing ? run : exact;
}

uint8_t *ReadWindow::make_room(int64_t start, uint32_t there, uint32_t count) {
    const Bytes moved = find(start, there);
    const uint32_t size = there + count;
    if (capacity() - next_place_ < size) next_place_ = 0;
    uint8_t *room = memory() + next_place_;
    if (there != 0) memmove(room, moved.data, there);
    const uint32_t room_end = next_place_ + size;
    for (uint32_t i = 0; i < piece_count(); ++i) {
        Piece &piece = pieces_[i];
        if (piece.place < room_end && next_place_ < piece.place + piece.length) piece.length = 0;
    }
    newest_ = (newest_ + 1) % piece_count();
    pieces_[newest_] = {start, there, next_place_};
    next_place_ += there;
    anew_ = false;
    return room + there;
}

void ReadWindow::add(uint32_t count) {
    Piece &piece = pieces_[newest_];
    piece.length =
        static_cast<uint32_t>(std::min<int64_t>(int64_t{piece.length} + count, INT64_MAX - piece.start));
    next_place_ += count;
}

}  // namespace quorv
