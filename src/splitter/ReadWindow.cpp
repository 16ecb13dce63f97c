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
// Reads that follow each other grow to twice of what was used, up to a third of the window: five frames of 4
// KB, while other tracks read elsewhere.
constexpr uint32_t kGrowth = 2, kLongestRun = 21504;
// What is passed over between two reads that still follow each other: it costs no more than a call.
constexpr uint32_t kLongestGap = 4096;
// Reads that are farther apart than this have nothing to do with each other.
constexpr int64_t kNeighbourhood = 1 << 20;
// Payloads differ a little in length.
constexpr uint32_t kSlack = 64;

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
    for (Header &header : headers_) {
        if (position - header.position < kHeaderBytes) header = {};
    }
}

ReadWindow::Bytes ReadWindow::find(int64_t position, uint32_t needed) {
    uint32_t best = recent_;
    uint32_t length = pieces_[best].length_from(position);
    for (uint32_t i = 0; i < kPieces && length < needed; ++i) {
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

void ReadWindow::count_used(uint32_t count) {
    Piece &piece = pieces_[recent_];
    piece.used = std::min(piece.used + std::min(count, kLongestRun), piece.length);
}

const uint8_t *ReadWindow::find_header(int64_t position) const {
    const Header &header = headers_[header_slot(position)];
    return header.position == position && position != 0 ? header.bytes : nullptr;
}

void ReadWindow::keep_header(int64_t position, const uint8_t *bytes) {
    Header &header = headers_[header_slot(position)];
    header.position = position;
    memcpy(header.bytes, bytes, kHeaderBytes);
}

void ReadWindow::pass(int64_t start, uint32_t count) {
    if (start >= passed_end_)
        between_payloads_ = static_cast<uint32_t>(std::min<int64_t>(start - passed_end_, kLongestRun));
    if (__builtin_add_overflow(start, int64_t{count}, &passed_end_)) passed_end_ = 0;
}

// Where to begin, and how much to read beside what is needed.
ReadWindow::Run ReadWindow::ahead_of(int64_t start) const {
    if (anew_) return {start, kFirstRun};
    if (start < kHeaderRun) return {start, static_cast<uint32_t>(kHeaderRun - start)};
    // Between large payloads there is mostly as much as the last time.
    if (start == passed_end_) return {start, between_payloads_};
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
    for (Piece &piece : pieces_) {
        if (piece.place < room_end && next_place_ < piece.place + piece.length) piece.length = 0;
    }
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
