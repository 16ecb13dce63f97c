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
// Reads that follow each other grow to twice of what was used, up to less than half of the window: another
// track may read elsewhere, or in the same packets.
constexpr uint32_t kGrowth = 2, kLongestRun = 21504;
// What is passed over between two reads that still follow each other: it costs no more than a call.
constexpr uint32_t kLongestGap = 4096;
// Reads that are farther apart than this have nothing to do with each other.
constexpr int64_t kNeighbourhood = 1 << 20;
// Payloads differ a little in length.
constexpr uint32_t kSlack = 64;

}  // namespace

void ReadWindow::enlarge(uint32_t seen_bytes) {
    if (is_large()) return;
    Owned<uint8_t[]> memory = make_array<uint8_t>(kLargeBytes);
    if (memory == nullptr) return;
    // A source that lies about what it has written must not show what was in this memory.
    memset(memory.get(), 0, kLargeBytes);
    forget_from(0);
    large_ = std::move(memory);
    ahead_bytes_ = kLargeBytes - seen_bytes;
    seen_.set_room(large_.get() + ahead_bytes_, seen_bytes);
    next_place_ = newest_ = recent_ = 0;
}

void ReadWindow::forget_from(int64_t position) {
    for (Piece &piece : pieces_)
        piece.length = static_cast<uint32_t>(std::clamp<int64_t>(position - piece.start, 0, piece.length));
    seen_.forget_from(position);
}

// Of a piece that loses bytes to others one end stays.
void ReadWindow::Piece::give_up(uint32_t lost, uint32_t lost_end) {
    if (lost >= place + length || place >= lost_end) return;
    if (place < lost) {
        length = lost - place;
    } else {
        const uint32_t cut = std::min(lost_end - place, length);
        start += cut;
        place += cut;
        length -= cut;
    }
    used = std::min(used, length);
}

ReadWindow::Bytes ReadWindow::find(int64_t position, uint32_t needed) {
    uint32_t best = recent_;
    uint32_t length = best == kNoPiece ? 0 : pieces_[best].length_from(position);
    for (uint32_t i = 0; i < kPieces && length < needed; ++i) {
        const uint32_t other = pieces_[i].length_from(position);
        if (other <= length) continue;
        length = other;
        best = i;
    }
    recent_ = length == 0 ? kNoPiece : best;
    if (length == 0) return seen_.find_data(position);
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

void ReadWindow::count_used(uint32_t count) {
    if (recent_ == kNoPiece) return;
    Piece &piece = pieces_[recent_];
    piece.used = std::min(piece.used + std::min(count, kLongestRun), piece.length);
}

void ReadWindow::keep_chunk(int64_t position, int64_t length) {
    const auto count = static_cast<uint32_t>(std::min<int64_t>(length, UINT32_MAX));
    if (!seen_.wants(position, count)) return;
    const Bytes chunk = find(position, count);
    if (chunk.length >= count) seen_.keep(position, chunk.data, count);
}

void ReadWindow::pass(int64_t start, uint32_t count) {
    if (start >= passed_end_) {
        between_payloads_[1] = between_payloads_[0];
        between_payloads_[0] = static_cast<uint32_t>(std::min<int64_t>(start - passed_end_, kLongestRun));
    }
    if (__builtin_add_overflow(start, int64_t{count}, &passed_end_)) passed_end_ = 0;
}

// Where to begin, and how much to read beside what is needed.
ReadWindow::Run ReadWindow::ahead_of(int64_t start) const {
    if (anew_) return {start, kFirstRun};
    if (start < kHeaderRun) return {start, static_cast<uint32_t>(kHeaderRun - start)};
    // Between large payloads there is mostly as much as the last times.
    if (start == passed_end_) return {start, std::max(between_payloads_[0], between_payloads_[1])};
    const Piece *before = nullptr;
    int64_t gap = kNeighbourhood;
    for (const Piece &piece : pieces_) {
        const int64_t passed = start - piece.start - piece.length;
        if (piece.length == 0 || passed < 0 || passed >= gap) continue;
        gap = passed;
        before = &piece;
    }
    if (before == nullptr) return {start, kFirstRun};
    if (gap <= std::min(before->used, kLongestGap)) return {start - gap, kGrowth * before->used};
    // Behind what a track has passed over, it mostly needs as much as in front of that.
    return {start, std::max(before->used, std::min(kGrowth * before->used, kFirstRun))};
}

ReadWindow::Run ReadWindow::run_for(int64_t start, uint32_t missing, int64_t source_end) const {
    const Run exact = {start, missing};
    const int64_t end = std::min(end_, source_end);
    const bool refused = start >= refused_.start && start - refused_.start < refused_.length;
    if (refused || start >= end || missing >= kDirectBytes) return exact;
    // Another track has been here: what this one needs is known.
    const int64_t row_end =
        anew_ ? 0 : seen_.end_of_row(start - SeenChunks::kHeaderBytes, kLongestGap, kLongestRun);
    if (row_end - start > missing) return {start, static_cast<uint32_t>(std::min(row_end, end) - start)};
    Run run = ahead_of(start);
    const uint32_t needed = static_cast<uint32_t>(start - run.start) + missing;
    run.length = std::min(needed + std::max(run.length, kSlack), kLongestRun);
    if (end - start <= kShortRest) run.length = kLongestRun;
    run.length = static_cast<uint32_t>(std::min<int64_t>(run.length, end - run.start));
    return run.length > needed ? run : exact;
}

uint8_t *ReadWindow::make_room(int64_t start, uint32_t there, uint32_t count) {
    const Bytes moved = find(start, there);
    const uint32_t size = there + count;
    if (capacity() - next_place_ < size) next_place_ = 0;
    uint8_t *room = memory() + next_place_;
    if (there != 0) memmove(room, moved.data, there);
    const uint32_t room_end = next_place_ + size;
    for (Piece &piece : pieces_)
        piece.give_up(next_place_, room_end);
    newest_ = (newest_ + 1) % kPieces;
    pieces_[newest_] = {start, there, next_place_, 0};
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
