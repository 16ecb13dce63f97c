// Reads a whole media file and collects what is wrong with it; see the header.

#include "MediaCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "AsfOutline.h"
#include "MusicCheck.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr int64_t kSecondMs = 1000;
constexpr int64_t kNearby = 64;  // bytes

// How much could not be used so far.
uint64_t amount(const QuorvDamage &damage) {
    return damage.bytes_passed_over.count + damage.chunks_missing.count + damage.packets_unusable.count +
           damage.frames_skipped.count;
}

}  // namespace

MediaCheck::MediaCheck(FileSource &file) : file_(file), media_(file), container_(media_.facts().container) {
    for (const Track &track : media_.tracks())
        tracks_.emplace_back(track, container_);
    damage_met_.resize(tracks_.size());
    if (container_ == QUORV_CONTAINER_AVI) index_.emplace(file, media_.tracks());
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
    const QuorvDamage &damage = *quorv_damage(media_.reader(), packet.track);
    const uint64_t met = amount(damage);
    if (met != damage_met_[packet.track]) track.note_damage(packet, damage.unusable_at);
    damage_met_[packet.track] = met;
    if (index_) index_->take(track.track(), track.frames(), packet);
    track.take(packet);
}

void MediaCheck::finish() {
    const QuorvDamage &damage = media_.damage_facts();
    const bool is_whole = damage.cut_off == 0;
    for (TrackCheck &track : tracks_)
        track.finish(is_whole, findings_);
    if (index_) index_->finish(damage.passed_over_at, is_whole, findings_);
    tell_damage();
    if (!is_whole) return;
    tell_lengths();
    if (const std::string reason = check_music(file_, media_); !reason.empty())
        findings_.push_back(
            {.kind = "encoder_check", .severity = Severity::Damage, .track = 1, .text = reason});
}

MediaCheck::Follower MediaCheck::follower_of(int64_t offset) const {
    Follower first;
    for (const TrackCheck &track : tracks_) {
        const int64_t time = track.time_behind(offset);
        if (time >= 0 && (first.time_ms < 0 || time < first.time_ms))
            first = {time, track.track().facts->number};
    }
    return first;
}

Finding &MediaCheck::add_damage(std::string_view kind, int64_t offset, std::string text) {
    const Follower follower = follower_of(offset);
    findings_.push_back({.kind = kind,
                         .severity = Severity::Damage,
                         .track = follower.track,
                         .offset = offset,
                         .time_ms = follower.time_ms,
                         .text = std::move(text)});
    return findings_.back();
}

void MediaCheck::tell_places(const QuorvRanges &places, std::string_view kind, std::string_view noun,
                             std::string_view phrase) {
    for (size_t i = 0; i < places.count;) {
        const int64_t begin = places.ranges[i].begin;
        const Follower follower = follower_of(begin);
        uint64_t cases = 0;
        // Those with nothing between them that could be read are one.
        for (; i < places.count && follower_of(places.ranges[i].begin) == follower; ++i)
            cases += static_cast<uint64_t>(places.ranges[i].end - places.ranges[i].begin);
        add_damage(kind, begin, fmt::format("{} {}", counted(cases, noun), phrase));
    }
}

void MediaCheck::tell_passed_over(const QuorvRanges &places) {
    const auto end = static_cast<int64_t>(media_end());
    int64_t last = -1;  // behind the latest place
    for (size_t i = 0; i < places.count && places.ranges[i].begin < end; ++i) {
        const auto [begin, behind] = places.ranges[i];
        // An odd number of bytes too many or too few leaves pad bytes at even places from there on.
        if (i != 0 && behind - begin == 1 && begin % 2 == 0) continue;
        // What lies between places so close together is most likely nothing sound: entries of an index, say.
        const bool goes_on = last >= 0 && begin - last <= kNearby;
        Finding &finding = goes_on ? findings_.back() : add_damage("bytes_passed_over", begin, {});
        finding.bytes = std::max<int64_t>(finding.bytes, 0) + behind - begin;
        finding.text = fmt::format("{} passed over", counted(static_cast<uint64_t>(finding.bytes), "byte"));
        last = behind;
    }
}

void MediaCheck::tell_skipped(const QuorvRanges &places) {
    for (size_t i = 0; i < places.count; ++i) {
        const auto [begin, end] = places.ranges[i];
        Finding &finding = add_damage("frame_cut_off", begin, "the last frame is cut off");
        finding.track = 1;
        finding.time_ms = tracks_[0].end_ms();
        finding.bytes = end - begin;
    }
}

void MediaCheck::tell_damage() {
    const QuorvDamage &damage = media_.damage_facts();
    tell_passed_over(damage.passed_over_at);
    tell_places(damage.missing_at, "chunk_missing", "chunk", "of the index not to be found");
    tell_places(damage.unusable_at, "packet_unusable", "packet", "unusable, whole or in part");
    tell_skipped(damage.skipped_at);
    if (has_bad_parts_ && amount(damage) == 0)
        findings_.push_back(
            {.kind = "part_unusable", .severity = Severity::Damage, .text = "a part of it cannot be read"});
    if (damage.cut_off != 0)
        tell_cut(damage.bytes_missing);
    else
        tell_junk();
}

// Where the file ends by its own account. What follows the last frame of MPEG audio is behind its end.
uint64_t MediaCheck::media_end() {
    const QuorvRanges &passed = media_.damage_facts().passed_over_at;
    switch (container_) {
        case QUORV_CONTAINER_AVI:
            return index_->declared_end();
        case QUORV_CONTAINER_ASF:
            return asf_objects_end(file_);
        default:
            break;
    }
    const bool has_junk =
        passed.count != 0 && passed.ranges[passed.count - 1].end == static_cast<int64_t>(file_.size());
    return has_junk ? static_cast<uint64_t>(passed.ranges[passed.count - 1].begin) : file_.size();
}

void MediaCheck::tell_cut(int64_t bytes_missing) {
    int64_t last = -1;
    for (const TrackCheck &track : tracks_)
        last = std::max(last, track.end_ms());
    const std::string text = bytes_missing >= 0
                                 ? fmt::format("cut off: {} missing at the end",
                                               counted(static_cast<uint64_t>(bytes_missing), "byte"))
                                 : "cut off: it ends before its header says";
    findings_.push_back({.kind = "cut_off",
                         .severity = Severity::Damage,
                         .offset = static_cast<int64_t>(file_.size()),
                         .time_ms = last,
                         .bytes = bytes_missing,
                         .text = text});
}

void MediaCheck::tell_junk() {
    const uint64_t size = file_.size(), end = media_end();
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
