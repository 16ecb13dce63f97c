// Reads a whole media file and collects what is wrong with it; see the header.

#include "MediaCheck.h"

#include <fmt/format.h>

#include <algorithm>

#include "AsfOutline.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr int64_t kSecondMs = 1000;

// How much could not be used so far.
uint64_t amount(const QuorvDamage &damage) {
    return damage.bytes_passed_over.count + damage.chunks_missing.count + damage.packets_unusable.count +
           damage.frames_skipped.count;
}

}  // namespace

MediaCheck::MediaCheck(FileSource &file) : file_(file), media_(file) {
    const QuorvContainer container = quorv_file(media_.reader())->container;
    for (const Track &track : media_.tracks())
        tracks_.emplace_back(track, container);
    damage_met_.resize(tracks_.size());
    if (container == QUORV_CONTAINER_AVI) index_.emplace(file, media_.tracks());
}

void MediaCheck::run(const PacketHandler &handler) {
    QuorvPacket packet = {};
    for (;;) {
        const QuorvResult result = media_.read_next(packet);
        if (result == QUORV_END) break;
        if (result == QUORV_ERR_DAMAGED) {
            has_bad_parts_ = true;
            continue;
        }
        take(packet);
        if (handler) handler(media_.tracks()[packet.track], packet);
    }
    finish();
}

void MediaCheck::take(const QuorvPacket &packet) {
    TrackCheck &track = tracks_[packet.track];
    // What was met on the way to this packet lies in front of it.
    const uint64_t met = amount(*quorv_damage(media_.reader(), packet.track));
    if (met != damage_met_[packet.track]) track.note_damage(packet);
    damage_met_[packet.track] = met;
    if (index_) index_->take(track.track(), track.frames(), packet);
    track.take(packet);
}

void MediaCheck::finish() {
    const QuorvDamage &damage = *quorv_damage(media_.reader(), QUORV_WHOLE_FILE);
    const bool is_whole = damage.cut_off == 0;
    for (TrackCheck &track : tracks_)
        track.finish(is_whole, findings_);
    if (index_) index_->finish(damage.passed_over_at, is_whole, findings_);
    tell_damage();
    if (is_whole) tell_lengths();
}

// The time of what follows a place, and of which track that is.
int64_t MediaCheck::time_at(int64_t offset, uint32_t *number) const {
    int64_t time = -1;
    for (const TrackCheck &track : tracks_) {
        const int64_t behind = track.time_behind(offset);
        if (behind < 0 || (time >= 0 && behind >= time)) continue;
        time = behind;
        *number = track.track().facts->number;
    }
    return time;
}

void MediaCheck::tell_places(const QuorvRanges &places, std::string_view kind, std::string_view noun,
                             std::string_view phrase) {
    for (size_t i = 0; i < places.count; ++i) {
        const auto [begin, end] = places.ranges[i];
        uint32_t number = 0;
        const int64_t time = time_at(begin, &number);
        findings_.push_back(
            {.kind = kind,
             .severity = Severity::Damage,
             .track = number,
             .offset = begin,
             .time_ms = time,
             .text = fmt::format("{} {}", counted(static_cast<uint64_t>(end - begin), noun), phrase)});
    }
}

void MediaCheck::tell_passed_over(const QuorvDamage &damage) {
    const auto end = static_cast<int64_t>(declared_end());
    const auto size = static_cast<int64_t>(file_.size());
    for (size_t i = 0; i < damage.passed_over_at.count; ++i) {
        const auto [begin, behind] = damage.passed_over_at.ranges[i];
        uint32_t number = 0;
        const int64_t time = time_at(begin, &number);
        const bool is_mp3 = !index_ && media_.format() == "mp3";
        // Behind the end nothing was lost.
        if (begin >= end || (is_mp3 && behind == size)) continue;
        findings_.push_back(
            {.kind = "bytes_passed_over",
             .severity = Severity::Damage,
             .track = number,
             .offset = begin,
             .time_ms = time,
             .bytes = behind - begin,
             .text = fmt::format("{} passed over", counted(static_cast<uint64_t>(behind - begin), "byte"))});
    }
}

void MediaCheck::tell_damage() {
    const QuorvDamage &damage = *quorv_damage(media_.reader(), QUORV_WHOLE_FILE);
    tell_passed_over(damage);
    tell_places(damage.missing_at, "chunk_missing", "chunk", "of the index not to be found");
    tell_places(damage.unusable_at, "packet_unusable", "packet", "unusable, whole or in part");
    for (size_t i = 0; i < damage.skipped_at.count; ++i) {
        const auto [begin, end] = damage.skipped_at.ranges[i];
        findings_.push_back({.kind = "frame_cut_off",
                             .severity = Severity::Damage,
                             .track = 1,
                             .offset = begin,
                             .time_ms = tracks_[0].end_ms(),
                             .bytes = end - begin,
                             .text = "the last frame is cut off"});
    }
    if (has_bad_parts_ && amount(damage) == 0)
        findings_.push_back(
            {.kind = "part_unusable", .severity = Severity::Damage, .text = "a part of it cannot be read"});
    tell_end(damage);
}

// Where the file should end by its own account.
uint64_t MediaCheck::declared_end() {
    if (index_) return index_->declared_end();
    if (media_.format() == "asf") return asf_objects_end(file_);
    return file_.size();
}

void MediaCheck::tell_end(const QuorvDamage &damage) {
    const uint64_t size = file_.size();
    if (damage.cut_off != 0) {
        int64_t last = -1;
        for (const TrackCheck &track : tracks_)
            last = std::max(last, track.end_ms());
        findings_.push_back(
            {.kind = "cut_off",
             .severity = Severity::Damage,
             .offset = static_cast<int64_t>(size),
             .time_ms = last,
             .bytes = damage.bytes_missing,
             .text = damage.bytes_missing >= 0
                         ? fmt::format("cut off: {} missing at the end",
                                       counted(static_cast<uint64_t>(damage.bytes_missing), "byte"))
                         : "cut off: it ends before its header says"});
        return;
    }
    uint64_t end = declared_end();
    const QuorvRanges &passed = damage.passed_over_at;
    const bool is_mp3 = media_.format() == "mp3";
    if (is_mp3 && passed.count != 0 && passed.ranges[passed.count - 1].end == static_cast<int64_t>(size))
        end = static_cast<uint64_t>(passed.ranges[passed.count - 1].begin);
    if (end >= size) return;
    findings_.push_back({.kind = "junk_at_end",
                         .offset = static_cast<int64_t>(end),
                         .bytes = static_cast<int64_t>(size - end),
                         .text = fmt::format("{} behind the end", counted(size - end, "byte"))});
}

// Of the tracks that can be read the longest is the measure.
void MediaCheck::tell_lengths() {
    const TrackCheck *longest = nullptr;
    for (const TrackCheck &track : tracks_) {
        if (track.frames() != 0 && (longest == nullptr || track.end_ms() > longest->end_ms()))
            longest = &track;
    }
    if (longest == nullptr) return;
    for (const TrackCheck &track : tracks_) {
        if (track.frames() == 0 || longest->end_ms() - track.end_ms() <= kSecondMs) continue;
        const auto less = static_cast<uint64_t>(longest->end_ms() - track.end_ms());
        findings_.push_back({.kind = "lengths_differ",
                             .track = track.track().facts->number,
                             .time_ms = track.end_ms(),
                             .text = fmt::format("it ends {} before track {}", time_text(less),
                                                 longest->track().facts->number)});
    }
}

CheckResult MediaCheck::result() {
    CheckResult result;
    result.findings = findings_;
    for (const TrackCheck &track : tracks_)
        result.tracks.push_back({track.track().facts->number, track.frames(), track.bytes(), {}});
    result.judge();
    return result;
}

}  // namespace quorv::tool
