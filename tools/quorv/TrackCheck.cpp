// What the packets of one track come to; see the header.

#include "TrackCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "Text.h"

namespace quorv::tool {

namespace {

constexpr int64_t kOneSecond = 1000000;
// Pictures may stand still; sound that pauses is heard.
constexpr int64_t kVideoGap = kOneSecond, kAudioGap = kOneSecond / 2;
// Files with presentation times have B-frames behind pictures that are shown later.
constexpr int64_t kReordering = kOneSecond / 2;
constexpr size_t kMostAnchors = 4096;

}  // namespace

TrackCheck::TrackCheck(const Track &track, QuorvContainer container)
    : track_(track),
      container_(container),
      gaps_("time_gap", Severity::Remark, track.facts->number, "gap", "in its times"),
      steps_back_("time_step_back", Severity::Damage, track.facts->number, "step", "back in its times") {
    if (track.is_video()) picture_.emplace(track);
    if (track.facts->framing == QUORV_FRAMING_MPEG_AUDIO) sound_.emplace(track);
}

void TrackCheck::take(const QuorvPacket &packet) {
    check_time(packet);
    if (picture_) picture_->take(packet);
    if (sound_) sound_->take(frames_, packet);
    ++frames_;
    bytes_ += packet.size;
    if (packet.offset >= 0) end_offset_ = packet.offset + static_cast<int64_t>(packet.size);
}

void TrackCheck::check_time(const QuorvPacket &packet) {
    const int64_t time = packet.time_us;
    const bool is_asf = container_ == QUORV_CONTAINER_ASF;
    if (frames_ != 0) {
        const int64_t step_back = time_us_ - time, gap = time - expected_us_;
        if (step_back > (is_asf && track_.is_video() ? kReordering : 0))
            steps_back_.note(frames_, packet.offset, time / kMicroseconds, -1);
        if (gap > (track_.is_video() ? kVideoGap : kAudioGap))
            gaps_.note(frames_, packet.offset, expected_us_ / kMicroseconds, -1);
    }
    // How long a packet lasts is told, or as long as it took to the one before.
    if (frames_ != 0 && time > time_us_) step_us_ = time - time_us_;
    const int64_t end = time + (packet.duration_us > 0 || !is_asf ? packet.duration_us : step_us_);
    // There, a duration may be nothing but the time up to the next packet.
    expected_us_ = is_asf && step_us_ != 0 ? std::max(expected_us_, time + step_us_) : end;
    time_us_ = time;
    end_us_ = is_asf ? std::max(end, end_us_) : end;
}

// A frame that lies in several pieces has no place: it comes right behind the damage.
void TrackCheck::note_damage(const QuorvPacket &packet, const QuorvRanges &unusable) {
    int64_t offset = packet.offset;
    if (offset < 0 && unusable.count != 0) offset = unusable.ranges[unusable.count - 1].end;
    if (offset >= 0 && anchors_.size() < kMostAnchors)
        anchors_.push_back({offset, packet.time_us / kMicroseconds});
}

int64_t TrackCheck::time_behind(int64_t offset) const {
    const auto anchor = std::find_if(anchors_.begin(), anchors_.end(),
                                     [offset](const Anchor &each) { return each.offset >= offset; });
    return anchor != anchors_.end() ? anchor->time_ms : -1;
}

void TrackCheck::check_stated_length(std::vector<Finding> &findings) const {
    const int64_t stated = track_.facts->duration_us;
    // Of a file of sound alone it is counted, or guessed.
    if (stated <= 0 || container_ == QUORV_CONTAINER_MPEG_AUDIO) return;
    if (frames_ == 0) {
        findings.push_back({.kind = "no_frames",
                            .severity = Severity::Damage,
                            .track = track_.facts->number,
                            .text = "no frame can be read"});
    } else if (std::abs(stated - end_us_) > kOneSecond) {
        findings.push_back(
            {.kind = "length_stated",
             .track = track_.facts->number,
             .time_ms = end_ms(),
             .text = fmt::format("its header says {}, it ends at {}", time_text(track_.duration_ms()),
                                 time_text(static_cast<uint64_t>(end_ms())))});
    }
}

void TrackCheck::check_encoders_word(std::vector<Finding> &findings) const {
    const QuorvTrack &facts = *track_.facts;
    Finding finding;
    finding.kind = "encoder_count";
    finding.track = facts.number;
    finding.offset = end_offset_;
    finding.time_ms = end_ms();
    if (facts.stated_packets != 0 && facts.stated_packets != frames_) {
        findings.push_back(finding);
        findings.back().text = fmt::format("the encoder's header counts {}, there are {}",
                                           counted(facts.stated_packets, "frame"), counted(frames_, "frame"));
    }
    if (facts.stated_end >= 0 && facts.stated_end != end_offset_) {
        findings.push_back(finding);
        findings.back().bytes = std::abs(facts.stated_end - end_offset_);
        findings.back().text = fmt::format("the encoder's header has the sound end at {}, it ends at {}",
                                           facts.stated_end, end_offset_);
    }
}

void TrackCheck::finish(bool is_whole, std::vector<Finding> &findings) {
    gaps_.finish(findings);
    steps_back_.finish(findings);
    if (picture_) picture_->finish(findings);
    if (sound_) sound_->finish(findings);
    if (!is_whole) return;
    check_stated_length(findings);
    check_encoders_word(findings);
}

}  // namespace quorv::tool
