// What a repaired AVI file is made of; see the header.

#include "RepairPlan.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "IndexMatch.h"
#include "Text.h"

namespace quorv::tool {

namespace {

// Silence is written in chunks of so much.
constexpr uint64_t kMinSilence = 64, kMaxSilence = 0x100000;
constexpr size_t kMostLines = 10000;

// Chunks of one stream that were lost one after another.
struct Loss {
    uint64_t count = 0, bytes = 0, time_ms = 0;
};

struct StreamState {
    const AviStreamHeader *header = nullptr;
    AviChunkType type = AviChunkType::Compressed;  // of its latest chunk
    uint64_t units = 0;
    int64_t owed = 0;          // bytes of silence; below 0 a chunk has taken in some of what follows it
    uint64_t typical = 0;      // bytes of its latest chunk
    uint64_t missing = 0;      // units that its length counts and nobody has found, where there is no index
    uint64_t stood_for = 0;    // of these
    std::optional<Loss> loss;  // that goes on
    bool has_picture = false;
};

class Planner {
public:
    Planner(const AviHeaders &headers, const AviChunkMap &map, const std::vector<AviIndexEntry> &index);

    void use_lengths();
    RepairPlan run();

private:
    bool index_fits() const;
    void pass_gaps(uint64_t position);
    void fill_gap(size_t stream);
    void add_chunk(const AviChunk &chunk, const AviIndexEntry *entry);
    void add_lost(size_t stream, uint64_t bytes);
    void add_new(size_t stream, uint64_t size);
    void add_silence(size_t stream);
    void close_loss(size_t stream);
    uint64_t stated_bytes(const AviIndexEntry &entry) const;
    void note(std::string line);
    std::string now(size_t stream) const;
    static uint64_t length(const StreamState &state);

    const AviChunkMap &map_;
    const std::vector<AviIndexEntry> &index_;
    std::vector<StreamState> streams_;
    size_t clock_ = 0;  // the stream whose time says where damage lies
    size_t gap_ = 0;    // the next one
    uint64_t lines_ = 0;
    uint64_t gap_bytes_ = 0, gap_bytes_passed_ = 0;
    RepairPlan plan_;
};

Planner::Planner(const AviHeaders &headers, const AviChunkMap &map, const std::vector<AviIndexEntry> &index)
    : map_(map), index_(index), streams_(headers.streams.size()) {
    for (size_t i = 0; i < streams_.size(); ++i) {
        streams_[i].header = &headers.streams[i];
        if (headers.streams[i].is_audio()) streams_[i].type = AviChunkType::Sound;
    }
    const auto video = std::find_if(headers.streams.begin(), headers.streams.end(),
                                    [](const AviStreamHeader &stream) { return stream.is_video(); });
    if (video != headers.streams.end()) clock_ = static_cast<size_t>(video - headers.streams.begin());
    for (const ByteRange &gap : map.gaps)
        gap_bytes_ += gap.size();
}

// One of another file, or of before an edit, says nothing about what is lost.
bool Planner::index_fits() const {
    IndexMatch match(map_.chunks, index_);
    size_t both = 0;
    for (IndexPair pair; match.next(pair);)
        both += pair.chunk != nullptr && pair.entry != nullptr ? 1 : 0;
    return both > index_.size() / 2;
}

// Without an index: how much of each stream must have been where the gaps are.
void Planner::use_lengths() {
    std::vector<uint64_t> found(streams_.size());
    for (const AviChunk &chunk : map_.chunks) {
        if (chunk.is_frame()) found[chunk.stream] += streams_[chunk.stream].header->units_of(chunk.size);
    }
    for (size_t i = 0; i < streams_.size(); ++i) {
        const AviStreamHeader &header = *streams_[i].header;
        if (!header.is_video() && !header.silence()) continue;
        const uint64_t missing = std::max<uint64_t>(header.length(), found[i]) - found[i];
        const uint64_t least_bytes = header.is_video() ? 8 : header.unit_bytes();
        if (missing <= gap_bytes_ / least_bytes) streams_[i].missing = missing;
    }
}

void Planner::note(std::string line) {
    if (++lines_ <= kMostLines) plan_.left_out.push_back(std::move(line));
}

// As much as there is room for up to the next chunk: an index may name any size.
uint64_t Planner::stated_bytes(const AviIndexEntry &entry) const {
    if (entry.size == 0) return 0;
    const auto *const next = std::find_if(&entry + 1, index_.data() + index_.size(),
                                          [](const AviIndexEntry &each) { return !each.dropped; });
    if (next == index_.data() + index_.size()) return std::min<uint64_t>(entry.size, kMaxSilence);
    const uint64_t distance = next->position - entry.position;
    return std::min<uint64_t>(entry.size,
                              std::max<uint64_t>(distance, kChunkHeaderBytes) - kChunkHeaderBytes);
}

std::string Planner::now(size_t stream) const {
    return time_text(streams_[stream].header->milliseconds(streams_[stream].units));
}

void Planner::pass_gaps(uint64_t position) {
    for (; gap_ < map_.gaps.size() && map_.gaps[gap_].begin < position; ++gap_) {
        const ByteRange &gap = map_.gaps[gap_];
        note(fmt::format("{} at offset {}, {}, belong to no chunk", counted(gap.size(), "byte"), gap.begin,
                         now(clock_)));
        gap_bytes_passed_ += gap.size();
        for (size_t i = 0; i < streams_.size(); ++i)
            fill_gap(i);
    }
}

// This gap's share of what is missing.
void Planner::fill_gap(size_t stream) {
    StreamState &state = streams_[stream];
    const double part = static_cast<double>(gap_bytes_passed_) / static_cast<double>(gap_bytes_);
    const bool is_last = gap_bytes_passed_ == gap_bytes_;
    const uint64_t due =
        is_last ? state.missing : static_cast<uint64_t>(part * static_cast<double>(state.missing));
    const uint64_t count = due - std::min(due, state.stood_for);
    state.stood_for += count;
    if (state.header->silence()) {
        add_lost(stream, count * state.header->unit_bytes());
    } else {
        for (uint64_t i = 0; i < count; ++i)
            add_lost(stream, 1);
    }
    close_loss(stream);
}

void Planner::add_new(size_t stream, uint64_t size) {
    AviChunk chunk;
    chunk.size = static_cast<uint32_t>(size);
    chunk.stream = static_cast<uint8_t>(stream);
    chunk.type = streams_[stream].type;
    chunk.key = streams_[stream].header->is_video() ? KeyFrame::No : KeyFrame::Yes;
    chunk.is_new = true;
    plan_.chunks.push_back(chunk);
    streams_[stream].units += streams_[stream].header->units_of(size);
}

void Planner::add_silence(size_t stream) {
    StreamState &state = streams_[stream];
    const uint64_t unit_bytes = state.header->unit_bytes();
    if (state.owed < static_cast<int64_t>(unit_bytes)) return;
    const auto owed = static_cast<uint64_t>(state.owed);
    uint64_t left = owed - owed % unit_bytes;
    state.owed = static_cast<int64_t>(owed - left);
    const uint64_t usual = std::clamp(state.typical, kMinSilence, kMaxSilence);
    const uint64_t piece = std::max(usual - usual % unit_bytes, unit_bytes);
    for (; left > 0; left -= std::min(left, piece))
        add_new(stream, std::min(left, piece));
}

// Of a chunk with so many bytes.
void Planner::add_lost(size_t stream, uint64_t bytes) {
    StreamState &state = streams_[stream];
    if (state.header->is_video()) add_new(stream, 0);
    // An empty chunk repeats the picture before: nothing is lost.
    if (bytes == 0) return;
    if (!state.loss) state.loss = Loss{0, 0, state.header->milliseconds(state.units)};
    ++state.loss->count;
    state.loss->bytes += bytes;
    if (!state.header->silence()) return;
    state.owed += static_cast<int64_t>(bytes);
    add_silence(stream);
}

void Planner::close_loss(size_t stream) {
    StreamState &state = streams_[stream];
    if (!state.loss) return;
    const Loss loss = *std::exchange(state.loss, std::nullopt);
    const std::string where = fmt::format("track {}: ", stream + 1), when = time_text(loss.time_ms);
    if (state.header->is_video()) {
        note(fmt::format("{}{} lost at {}: empty chunks keep the time", where, counted(loss.count, "picture"),
                         when));
    } else if (state.header->silence()) {
        note(fmt::format("{}{} of sound lost at {}: silence keeps the time", where,
                         counted(loss.bytes, "byte"), when));
    } else {
        note(fmt::format("{}{} lost at {}, {}: what follows comes earlier", where,
                         counted(loss.count, "chunk"), when, counted(loss.bytes, "byte")));
    }
}

void Planner::add_chunk(const AviChunk &chunk, const AviIndexEntry *entry) {
    StreamState &state = streams_[chunk.stream];
    plan_.chunks.push_back(chunk);
    if (!chunk.is_frame()) return;
    close_loss(chunk.stream);
    AviChunk &added = plan_.chunks.back();
    if (!state.header->is_video()) added.key = KeyFrame::Yes;
    // Decoding begins at the first picture, where nothing else is known.
    const bool is_likely = entry != nullptr ? entry->key : !state.has_picture;
    if (added.key == KeyFrame::Unknown && is_likely && chunk.size != 0) added.key = KeyFrame::Yes;
    state.has_picture = state.has_picture || chunk.size != 0;
    state.type = chunk.type;
    state.typical = chunk.size;
    state.units += state.header->units_of(chunk.size);
    if (entry == nullptr || !state.header->silence()) return;
    // A chunk of another size than the index says has taken in what follows it, or lacks some.
    const uint64_t stated = entry->size > chunk.size ? stated_bytes(*entry) : entry->size;
    state.owed += static_cast<int64_t>(stated) - int64_t{chunk.size};
    add_silence(chunk.stream);
}

// Writers may count a last chunk that is not full as they like.
uint64_t Planner::length(const StreamState &state) {
    const uint64_t stated = state.header->length();
    const uint64_t difference = std::max(stated, state.units) - std::min(stated, state.units);
    return difference < state.header->units_of(state.typical) ? stated : state.units;
}

RepairPlan Planner::run() {
    static const std::vector<AviIndexEntry> kNone;
    const bool fits = index_fits();
    if (!fits && !index_.empty()) note("its index does not fit what it holds and is not used");
    plan_.chunks.reserve(map_.chunks.size());
    IndexMatch match(map_.chunks, fits ? index_ : kNone);
    for (IndexPair pair; match.next(pair);) {
        if (pair.chunk != nullptr) {
            pass_gaps(pair.chunk->position);
            add_chunk(*pair.chunk, pair.entry);
        } else {
            pass_gaps(pair.entry->position + 1);
            add_lost(pair.entry->stream, stated_bytes(*pair.entry));
        }
    }
    pass_gaps(UINT64_MAX);
    for (size_t i = 0; i < streams_.size(); ++i) {
        close_loss(i);
        plan_.units.push_back(length(streams_[i]));
    }
    if (lines_ > kMostLines) plan_.left_out.push_back(fmt::format("and {} more", lines_ - kMostLines));
    return std::move(plan_);
}

}  // namespace

RepairPlan plan_repair(const AviHeaders &headers, const AviChunkMap &map,
                       const std::vector<AviIndexEntry> &index, bool is_cut_off) {
    Planner planner(headers, map, index);
    if (index.empty() && !is_cut_off) planner.use_lengths();
    return planner.run();
}

}  // namespace quorv::tool
