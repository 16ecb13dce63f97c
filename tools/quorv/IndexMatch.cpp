// Chunks and index entries side by side; see the header.

#include "IndexMatch.h"

#include <algorithm>

namespace quorv::tool {

namespace {

// So many chunks of the same sizes in a row are the same ones.
constexpr size_t kRun = 8;
// How far entries are looked through for such a row.
constexpr size_t kReach = 20000;

bool is_like(const AviChunk &chunk, const AviIndexEntry &entry) {
    return chunk.size == entry.size && chunk.stream == entry.stream;
}

}  // namespace

// The entry that names this place, or the number of entries.
size_t IndexMatch::entry_at(uint64_t position) const {
    const auto begin = entries_.begin() + static_cast<std::ptrdiff_t>(entry_);
    const uint64_t wanted = position - shift_;
    const auto found = std::lower_bound(begin, entries_.end(), wanted,
                                        [](const auto &entry, uint64_t at) { return entry.position < at; });
    const bool is_there = found != entries_.end() && found->position == wanted &&
                          found->stream == chunks_[chunk_].stream && !found->dropped;
    return is_there ? static_cast<size_t>(found - entries_.begin()) : entries_.size();
}

bool IndexMatch::runs_match(size_t entry) const {
    const size_t run = std::min(kRun, chunks_.size() - chunk_);
    if (run < 2 || entries_.size() - entry < run) return false;
    for (size_t i = 0; i < run; ++i) {
        const AviChunk &chunk = chunks_[chunk_ + i];
        const AviIndexEntry &named = entries_[entry + i];
        const bool same_distance =
            chunk.position - chunks_[chunk_].position == named.position - entries_[entry].position;
        if (!is_like(chunk, named) || !same_distance) return false;
    }
    return true;
}

// The nearest entry from which on entries and chunks are alike.
size_t IndexMatch::entry_of_run() const {
    const uint64_t wanted = chunks_[chunk_].position - shift_;
    const auto distance = [&](size_t i) {
        const uint64_t at = entries_[i].position;
        return at > wanted ? at - wanted : wanted - at;
    };
    size_t best = entries_.size();
    const size_t last = std::min(entries_.size(), entry_ + kReach);
    for (size_t i = entry_; i < last; ++i) {
        if (runs_match(i) && (best == entries_.size() || distance(i) < distance(best))) best = i;
    }
    return best;
}

// Finds out whether the next chunk is one that the index names.
void IndexMatch::catch_up() {
    in_step_ = false;
    known_until_ = entry_;
    if (chunk_ == chunks_.size() || entry_ == entries_.size()) return;
    size_t found = entry_at(chunks_[chunk_].position);
    if (found == entries_.size() && searches_left_ > 0) {
        --searches_left_;
        found = entry_of_run();
        if (found != entries_.size()) shift_ = chunks_[chunk_].position - entries_[found].position;
    }
    if (found == entries_.size()) return;
    in_step_ = true;
    known_until_ = found;
}

bool IndexMatch::next(IndexPair &pair) {
    pair = {};
    if (!in_step_) catch_up();
    if (entry_ < known_until_) {
        pair.entry = &entries_[entry_++];
        return true;
    }
    if (chunk_ == chunks_.size()) {
        if (entry_ == entries_.size()) return false;
        pair.entry = &entries_[entry_++];
        return true;
    }
    pair.chunk = &chunks_[chunk_++];
    if (in_step_) pair.entry = &entries_[entry_++];
    in_step_ = false;
    return true;
}

}  // namespace quorv::tool
