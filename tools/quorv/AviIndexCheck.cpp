// Compares the index of an AVI file with its chunks; see the header.

#include "AviIndexCheck.h"

#include <quorv/video_header.h>

#include <algorithm>
#include <functional>

namespace quorv::tool {

namespace {

// Whether the frame's own header says that it is no key frame, or one, although the index says otherwise.
// Where it says nothing, the key flag that the library tells is the index's.
bool contradicts(const QuorvTrack &track, const QuorvPacket &packet) {
    const auto *data = static_cast<const uint8_t *>(packet.data);
    const auto size = static_cast<uint32_t>(packet.size);
    const auto *codec_data = static_cast<const uint8_t *>(track.codec_data);
    ZevVideoParam layer = {};
    uint32_t type = 0;
    switch (track.framing) {
        case QUORV_FRAMING_ANNEX_B:
            type = ZEV_H264_GetSliceType(data, size);
            // An intra picture may be one to begin with all the same.
            return type == VIDHDR_H264_SLICE_IDR || type == VIDHDR_H264_SLICE_P ||
                   type == VIDHDR_H264_SLICE_B;
        case QUORV_FRAMING_MPEG4_VISUAL:
            // A picture that is not coded may be marked like the one that it repeats.
            return ZEV_MPEG4_GetVideoParam(codec_data, static_cast<uint32_t>(track.codec_data_size),
                                           &layer) == VIDHDR_OK &&
                   ZEV_MPEG4_GetVop_IPB(data, size, &layer, &type) == VIDHDR_OK &&
                   type != VIDHDR_VOP_NOT_CODED;
        default:
            return track.codec == QUORV_CODEC_MPEG1 || track.codec == QUORV_CODEC_MPEG2;
    }
}

std::vector<AviIndexEntry> read_indexes(FileSource &file, const AviOutline &outline,
                                        const std::vector<Track> &tracks) {
    std::vector<bool> is_video(tracks.size());
    std::transform(tracks.begin(), tracks.end(), is_video.begin(), std::mem_fn(&Track::is_video));
    AviIndexReader reader(file, is_video, outline.media);
    for (const ByteRange &data : outline.indexes)
        reader.read_chunk_index(data);
    for (const ByteRange &data : outline.old_indexes)
        reader.read_old_index(data);
    std::vector<AviIndexEntry> entries = reader.entries();
    std::erase_if(entries, [](const AviIndexEntry &entry) { return entry.dropped; });
    return entries;
}

}  // namespace

AviIndexCheck::AviIndexCheck(FileSource &file, const std::vector<Track> &tracks)
    : outline_(read_avi_outline(file)),
      window_(file),
      entries_(read_indexes(file, outline_, tracks)),
      tracks_(tracks) {
    for (const Track &track : tracks) {
        const uint32_t number = track.facts->number;
        runs_.push_back(
            {{"chunk_not_indexed", Severity::Remark, number, "chunk", "in no index"},
             {"key_flag", Severity::Remark, number, "frame",
              "marked as key frames in the index, and none by their own headers"},
             {"key_flag", Severity::Remark, number, "frame",
              "not marked as key frames in the index, and such by their own headers"},
             {"index_elsewhere", Severity::Damage, number, "chunk", "of another size than the index says"}});
    }
}

// The entry of the chunk that this place lies in, null when there is none.
AviIndexEntry *AviIndexCheck::find(uint64_t place) {
    const auto holds = [&](size_t at) {
        return at < entries_.size() && entries_[at].data() <= place &&
               place - entries_[at].data() < std::max<uint32_t>(entries_[at].size, 1);
    };
    // Chunks are mostly asked for in order.
    for (const size_t at : {hint_, hint_ + 1}) {
        if (holds(at)) return &entries_[hint_ = at];
    }
    const auto behind =
        std::upper_bound(entries_.begin(), entries_.end(), place,
                         [](uint64_t offset, const AviIndexEntry &entry) { return offset < entry.data(); });
    if (behind == entries_.begin()) return nullptr;
    const auto at = static_cast<size_t>(behind - entries_.begin()) - 1;
    return holds(at) ? &entries_[hint_ = at] : nullptr;
}

void AviIndexCheck::take(const Track &track, uint64_t index, const QuorvPacket &packet) {
    if (packet.offset < 0 || entries_.empty()) return;
    AviIndexEntry *entry = find(static_cast<uint64_t>(packet.offset));
    if (entry == nullptr || entry->stream != track.index) {
        runs_[track.index].not_indexed.note(index, packet.offset, packet.time_us / kMicroseconds,
                                            static_cast<int64_t>(packet.size));
        return;
    }
    entry->seen = true;
    if (entry->data() == static_cast<uint64_t>(packet.offset)) compare(track, index, packet, *entry);
}

void AviIndexCheck::compare(const Track &track, uint64_t index, const QuorvPacket &packet,
                            const AviIndexEntry &entry) {
    TrackRuns &runs = runs_[track.index];
    const int64_t time = packet.time_us / kMicroseconds, bytes = static_cast<int64_t>(packet.size);
    // A packet may be a piece of its chunk, or have a palette besides.
    if (packet.size != entry.size) {
        const std::span<const uint8_t> header = window_.view(entry.position, kChunkHeaderBytes);
        if (!header.empty() && load_le32(header.data() + 4) != entry.size)
            runs.wrong_size.note(index, packet.offset, time, bytes);
    }
    if (!track.is_video() || entry.key == (packet.key != 0) || !contradicts(*track.facts, packet)) return;
    (entry.key ? runs.no_key : runs.unmarked_key).note(index, packet.offset, time, bytes);
}

AviIndexCheck::Place AviIndexCheck::look(const AviIndexEntry &entry, const QuorvRanges &passed_over) {
    const auto offset = static_cast<int64_t>(entry.data());
    const auto *end = passed_over.ranges + passed_over.count;
    const auto holds = [&](const QuorvRange &range) { return range.begin <= offset && offset <= range.end; };
    if (std::find_if(passed_over.ranges, end, holds) != end) return Place::Passed;
    const std::span<const uint8_t> name = window_.view(entry.position, sizeof(uint32_t));
    return !name.empty() && chunk_stream(name.data()) == entry.stream ? Place::Sound : Place::Elsewhere;
}

// Chunks that reading did not come by may be empty, or not be read at all: a look at them tells.
void AviIndexCheck::look_for_unseen(const QuorvRanges &passed_over, std::vector<Finding> &findings) {
    std::vector<FindingRuns> elsewhere;
    for (const Track &track : tracks_)
        elsewhere.emplace_back("index_elsewhere", Severity::Damage, track.facts->number, "chunk",
                               "in the index at places where none begins");
    std::vector<uint64_t> numbers(tracks_.size());
    for (const AviIndexEntry &entry : entries_) {
        ++numbers[entry.stream];
        if (!entry.seen && look(entry, passed_over) == Place::Elsewhere)
            elsewhere[entry.stream].note(numbers[entry.stream], static_cast<int64_t>(entry.data()), -1,
                                         entry.size);
    }
    for (const FindingRuns &runs : elsewhere)
        runs.finish(findings);
}

void AviIndexCheck::finish(const QuorvRanges &passed_over, bool is_whole, std::vector<Finding> &findings) {
    FindingRuns lost("index_elsewhere", Severity::Damage, 0, "part", "of the index not where its list says");
    for (const uint64_t offset : outline_.lost_indexes)
        lost.note(0, static_cast<int64_t>(offset), -1, -1);
    lost.finish(findings);
    const bool has_video =
        std::any_of(tracks_.begin(), tracks_.end(), [](const Track &track) { return track.is_video(); });
    if (entries_.empty() && is_whole && has_video && outline_.may_have_index)
        findings.push_back({.kind = "index_missing", .text = "there is no index"});
    for (const TrackRuns &runs : runs_) {
        for (const FindingRuns *each :
             {&runs.not_indexed, &runs.no_key, &runs.unmarked_key, &runs.wrong_size})
            each->finish(findings);
    }
    look_for_unseen(passed_over, findings);
}

}  // namespace quorv::tool
