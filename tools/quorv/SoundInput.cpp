// The MPEG audio of an input; see the header.

#include "SoundInput.h"

#include <algorithm>
#include <map>
#include <utility>

#include "Failure.h"
#include "Format.h"
#include "MusicCheck.h"
#include "Problems.h"
#include "SoundDecoder.h"

namespace quorv::tool {

namespace {

constexpr size_t kBlockBytes = 0x10000;

constexpr TrackKind kMpegAudio = {
    [](const Track &track) { return track.facts->framing == QUORV_FRAMING_MPEG_AUDIO; }, "not MPEG audio",
    "no track is MPEG audio"};

}  // namespace

SoundInput::SoundInput(FileSource &file, uint32_t track_number)
    : file_(file), track_number_(track_number), piped_(!file.is_seekable()) {
    if (!piped_ || track_number > 1 || !begins_as_mpeg_audio(file.head())) open();
}

SoundFacts SoundInput::stated() const {
    QuorvReader *reader = nullptr;
    SoundFacts facts;
    if (quorv_open_memory(file_.head().data(), file_.head().size(), &reader) == QUORV_OK) {
        const QuorvTrack &track = *quorv_track(reader, 0);
        if (track.stated_packets != 0) facts = {{track.sample_rate, track.channels}, track.sample_count};
    }
    quorv_close(reader);
    return facts;
}

void SoundInput::open() {
    media_ = std::make_unique<MediaFile>(file_);
    track_ = find_tracks(*media_, track_number_, kMpegAudio).front();
}

std::span<const uint8_t> SoundInput::next() {
    if (is_stream()) {
        if (!std::exchange(has_read_head_, true)) return file_.head();
        block_.resize(kBlockBytes);
        return std::span(block_).first(file_.read_on(block_));
    }
    Frame frame;
    do {
        if (!media_->read_frame(track_, frame)) return {};
    } while (frame.data.empty());
    return frame.data;
}

std::string SoundInput::check_music() {
    return is_stream() ? std::string() : tool::check_music(file_, *media_);
}

SoundFacts SoundInput::survey(uint32_t decoder_flags, Progress &progress) {
    std::map<uint32_t, uint64_t> frames_of_rate;
    SoundFacts facts;
    SoundDecoder decoder(*this, QUORV_DECODER_MEASURE | decoder_flags);
    // Damage is told when the sound is decoded.
    Problems().note([&] {
        while (const QuorvSamples *samples = decoder.next()) {
            frames_of_rate[samples->sample_rate] += samples->frames;
            facts.format.channels = std::max(facts.format.channels, samples->channels);
            progress.update(position(), size());
        }
    });
    const auto lasts_less = [](const auto &a, const auto &b) {
        return a.second * b.first < b.second * a.first;
    };
    const auto most = std::max_element(frames_of_rate.begin(), frames_of_rate.end(), lasts_less);
    if (most != frames_of_rate.end()) facts.format.sample_rate = most->first;
    for (const auto &[rate, frames] : frames_of_rate)
        facts.frames += frames * facts.format.sample_rate / rate;
    open();
    return facts;
}

}  // namespace quorv::tool
