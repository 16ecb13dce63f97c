// Compares the index of an AVI file with its chunks; see the header.

#include "AviIndexCheck.h"

#include <quorv/video_header.h>

#include <algorithm>

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

}  // namespace

AviIndexCheck::AviIndexCheck(FileSource &file, const std::vector<Track> &tracks)
    : index_(file, static_cast<uint32_t>(tracks.size())), tracks_(tracks), file_size_(file.size()) {
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

void AviIndexCheck::take(const Track &track, uint64_t index, const QuorvPacket &packet) {
    if (packet.offset < 0 || index_.entries().empty()) return;
    NamedChunk *entry = index_.find(static_cast<uint64_t>(packet.offset));
    if (entry == nullptr || entry->stream != track.index) {
        runs_[track.index].not_indexed.note(index, packet.offset, packet.time_us / kMicroseconds,
                                            static_cast<int64_t>(packet.size));
        return;
    }
    entry->seen = true;
    if (entry->offset == static_cast<uint64_t>(packet.offset)) compare(track, index, packet, *entry);
}

void AviIndexCheck::compare(const Track &track, uint64_t index, const QuorvPacket &packet,
                            const NamedChunk &entry) {
    TrackRuns &runs = runs_[track.index];
    const int64_t time = packet.time_us / kMicroseconds, bytes = static_cast<int64_t>(packet.size);
    AviIndexFile::ChunkHeader header = {};
    // A packet may be a piece of its chunk, or have a palette besides.
    if (packet.size != entry.size && index_.read_header(entry.offset, header) && header.size != entry.size)
        runs.wrong_size.note(index, packet.offset, time, bytes);
    if (!track.is_video() || entry.key == (packet.key != 0) || !contradicts(*track.facts, packet)) return;
    (entry.key ? runs.no_key : runs.unmarked_key).note(index, packet.offset, time, bytes);
}

AviIndexCheck::Place AviIndexCheck::look(const NamedChunk &entry, const QuorvRanges &passed_over) {
    const auto offset = static_cast<int64_t>(entry.offset);
    const auto *end = passed_over.ranges + passed_over.count;
    const auto holds = [&](const QuorvRange &range) { return range.begin <= offset && offset <= range.end; };
    if (entry.offset >= file_size_ || std::find_if(passed_over.ranges, end, holds) != end)
        return Place::Passed;
    AviIndexFile::ChunkHeader header = {};
    const bool is_there = index_.read_header(entry.offset, header) && chunk_stream(header.id) == entry.stream;
    return is_there ? Place::Sound : Place::Elsewhere;
}

// Chunks that reading did not come by may be empty, or not be read at all: a look at them tells.
void AviIndexCheck::look_for_unseen(const QuorvRanges &passed_over, std::vector<Finding> &findings) {
    std::vector<FindingRuns> elsewhere;
    for (const Track &track : tracks_)
        elsewhere.emplace_back("index_elsewhere", Severity::Damage, track.facts->number, "chunk",
                               "in the index at places where none begins");
    uint64_t number = 0;
    for (const NamedChunk &entry : index_.entries()) {
        ++number;
        if (!entry.seen && look(entry, passed_over) == Place::Elsewhere)
            elsewhere[entry.stream].note(number, static_cast<int64_t>(entry.offset), -1, entry.size);
    }
    for (const FindingRuns &runs : elsewhere)
        runs.finish(findings);
}

void AviIndexCheck::finish(const QuorvRanges &passed_over, bool is_whole, std::vector<Finding> &findings) {
    for (const uint64_t offset : index_.lost_index_chunks())
        findings.push_back({.kind = "index_elsewhere",
                            .severity = Severity::Damage,
                            .offset = static_cast<int64_t>(offset),
                            .text = "a part of the index is not where its list says"});
    const bool has_video =
        std::any_of(tracks_.begin(), tracks_.end(), [](const Track &track) { return track.is_video(); });
    if (index_.entries().empty() && is_whole && has_video && index_.may_have_index())
        findings.push_back({.kind = "index_missing", .text = "there is no index"});
    for (const TrackRuns &runs : runs_) {
        for (const FindingRuns *each :
             {&runs.not_indexed, &runs.no_key, &runs.unmarked_key, &runs.wrong_size})
            each->finish(findings);
    }
    look_for_unseen(passed_over, findings);
}

}  // namespace quorv::tool
