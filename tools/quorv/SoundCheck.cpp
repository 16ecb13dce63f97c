// Decodes the sound of an MPEG audio track; see the header.

#include "SoundCheck.h"

#include <fmt/format.h>

namespace quorv::tool {

namespace {

constexpr struct {
    uint64_t QuorvSkippedFrames::*count;
    std::string_view kind, noun, phrase;
} kReasons[] = {
    {&QuorvSkippedFrames::lost_sync, "audio_lost_sync", "piece", "that is no MPEG audio"},
    {&QuorvSkippedFrames::bad_check, "audio_bad_check", "frame", "of sound with a wrong check word"},
    {&QuorvSkippedFrames::no_reservoir, "audio_no_reservoir", "frame",
     "of sound without the bytes of earlier frames"},
    {&QuorvSkippedFrames::bad_data, "audio_bad_data", "frame", "of sound that breaks the standard"},
    {&QuorvSkippedFrames::cut_off, "audio_cut_off", "frame", "of sound cut off"},
};

}  // namespace

SoundCheck::SoundCheck(const Track &track)
    : track_(track),
      changes_("audio_format", Severity::Remark, track.facts->number, "change",
               "of sample rate or channels") {
    QuorvDecoder *decoder = nullptr;
    if (quorv_decoder_open(track.facts, QUORV_DECODER_KEEP_PADDING, &decoder) != QUORV_OK)
        throw Failure(ExitCode::Io, "out of memory");
    decoder_.reset(decoder);
    const uint32_t number = track.facts->number;
    // A stream that was cut out of another one begins with frames that need what came before.
    for (const auto &[count, kind, noun, phrase] : kReasons)
        reasons_.push_back({count,
                            {kind, Severity::Damage, number, noun, phrase},
                            {kind, Severity::Remark, number, noun, phrase}});
}

void SoundCheck::take(uint64_t index, const QuorvPacket &packet) {
    last_ = now_;
    now_ = {index, packet.offset, packet.time_us / kMicroseconds};
    const QuorvSamples *samples = nullptr;
    QuorvResult result = quorv_decode(decoder_.get(), packet.data, packet.size, &samples);
    while (has_more(result, samples))
        result = quorv_decode(decoder_.get(), nullptr, 0, &samples);
    note_skipped();
}

// Whether the decoder has given something.
bool SoundCheck::has_more(QuorvResult result, const QuorvSamples *samples) {
    if (result != QUORV_OK) throw Failure(ExitCode::Io, "out of memory");
    if (samples->frames == 0) return false;
    ++portions_;
    if (!has_sound_) {
        note_skipped();
        sample_rate_ = samples->sample_rate;
        channels_ = samples->channels;
    } else if (samples->format_changed != 0) {
        const Place &place = decoded();
        changes_.note(place.index, place.offset, place.time_ms, -1);
    }
    has_sound_ = true;
    return true;
}

// A frame is decoded when what follows it has come: where each packet holds one, with the next packet.
const SoundCheck::Place &SoundCheck::decoded() const {
    return portions_ + quorv_decoder_skipped(decoder_.get())->total <= now_.index ? last_ : now_;
}

void SoundCheck::note_skipped() {
    const QuorvSkippedFrames &skipped = *quorv_decoder_skipped(decoder_.get());
    if (skipped.total == before_.total) return;
    const Place &place = decoded();
    for (Reason &reason : reasons_) {
        const uint64_t more = skipped.*reason.count - before_.*reason.count;
        if (more != 0)
            (has_sound_ ? reason.runs : reason.at_start)
                .note(place.index, place.offset, place.time_ms, -1, more);
    }
    before_ = skipped;
}

void SoundCheck::finish(std::vector<Finding> &findings) {
    const QuorvSamples *samples = nullptr;
    QuorvResult result = QUORV_OK;
    do {
        result = quorv_decoder_finish(decoder_.get(), &samples);
    } while (has_more(result, samples));
    note_skipped();
    for (const Reason &reason : reasons_) {
        reason.runs.finish(findings);
        reason.at_start.finish(findings);
    }
    changes_.finish(findings);
    const QuorvTrack &facts = *track_.facts;
    if (has_sound_ && (facts.sample_rate != sample_rate_ || facts.channels != channels_))
        findings.push_back(
            {.kind = "codec_header",
             .track = facts.number,
             .text = fmt::format("the sound has {} Hz and {} channels, the file says {} Hz and {}",
                                 sample_rate_, channels_, facts.sample_rate, facts.channels)});
}

}  // namespace quorv::tool
