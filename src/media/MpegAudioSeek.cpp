// Seeking in an MPEG audio file.
//
// Nothing says exactly where a time lies, so frames are walked from the last known place in front of it: the
// result is exact. Only where that is far is it estimated where to begin, for variable rates by the header's
// table. At constant rates the frame that is met there has its number by its place, so that its time is exact
// as long as nothing but frames stands in front of it; at others the time is an estimate.

#include <algorithm>

#include "media/MpegAudioFile.h"
#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

constexpr int64_t kMostWalk = 32 << 20;
// More bytes without a frame are taken for the end of the sound.
constexpr int64_t kMostGap = 64 << 20;
// An estimate aims at so many frames in front of the time, as frames are certain only with others behind
// them.
constexpr uint64_t kFramesBefore = 8;
constexpr uint32_t kPlaces = 100, kPlaceUnit = 256;

// Of a table, with its end.
uint32_t place(const XingHeader &xing, uint32_t i) {
    return i < kPlaces ? xing.places[i] : kPlaceUnit;
}

// Where the sound has come after so many parts of its frames, in 1/2^16 of both.
uint64_t interpolate(const XingHeader &xing, uint64_t part) {
    const uint64_t hundredths = std::min<uint64_t>(part, 0xFFFF) * kPlaces;
    const auto i = static_cast<uint32_t>(hundredths >> 16);
    const uint32_t from = place(xing, i), to = std::max(place(xing, i + 1), from);
    return (uint64_t{from} << 8) + ((hundredths & 0xFFFF) * (to - from) >> 8);
}

// The opposite.
uint64_t interpolate_back(const XingHeader &xing, uint64_t part) {
    const uint64_t wanted = std::min<uint64_t>(part, 0xFFFF);
    uint32_t i = 0;
    while (i + 1 < kPlaces && uint64_t{place(xing, i + 1)} << 8 <= wanted)
        ++i;
    const uint64_t from = uint64_t{place(xing, i)} << 8, to = uint64_t{place(xing, i + 1)} << 8;
    const uint64_t inside = to > from && wanted > from ? ((wanted - from) << 16) / (to - from) : 0;
    return ((uint64_t{i} << 16) + inside) / kPlaces;
}

}  // namespace

// In 1/2^16; 0 when it is not known.
uint64_t MpegAudioFile::bytes_a_frame() const {
    const uint64_t bytes = std::min(length_.known_bytes, kMpegAudioMostBytes);
    const uint64_t mean = length_.known_frames != 0 ? (bytes << 16) / length_.known_frames : 0;
    if (!length_.is_constant || header_.bitrate_index == 0) return mean;
    // What the header says is exact, unless the encoder does without padding.
    constexpr uint64_t kClose = 1 << 10;
    const uint64_t samples = mp3_samples_per_frame(header_);
    const uint64_t exact = (samples * header_.bitrate * 125 << 16) / header_.sample_rate;
    return mean + kClose > exact && mean < exact + kClose ? exact : mean;
}

bool MpegAudioFile::has_table() const {
    return has_xing_ && xing_.has_places && !length_.is_constant && length_.known_bytes < kMpegAudioMostBytes;
}

int64_t MpegAudioFile::offset_of(uint64_t frame) const {
    uint64_t offset = frame * bytes_a_frame() >> 16;
    if (has_table())
        offset = length_.known_bytes * interpolate(xing_, (frame << 16) / length_.known_frames) >> 16;
    return sound_offset_ + static_cast<int64_t>(offset);
}

uint64_t MpegAudioFile::frame_at(int64_t offset) const {
    const uint64_t inside =
        std::min(static_cast<uint64_t>(std::max<int64_t>(offset - sound_offset_, 0)), kMpegAudioMostBytes);
    if (has_table())
        return length_.known_frames * interpolate_back(xing_, (inside << 16) / length_.known_bytes) >> 16;
    const uint64_t bytes = bytes_a_frame();
    return ((inside << 16) + bytes / 2) / bytes;
}

// Whether it takes long to walk to a frame.
bool MpegAudioFile::is_far(uint64_t frame) const {
    constexpr uint64_t kLeastFrame = uint64_t{8} << 16;
    if (bytes_a_frame() < kLeastFrame || frame <= now_.frame) return false;
    return offset_of(frame) - now_.place.offset > kMostWalk;
}

// Goes to about where a frame is. Code::EndOfStream: there is none.
Code MpegAudioFile::jump_towards(uint64_t frame) {
    MpegAudioFrame found;
    scanner_.move_to(mpeg_audio_place(offset_of(frame - std::min(frame, kFramesBefore)), false));
    const Code code = scanner_.next(&found, kMostGap);
    if (code != Code::Ok) return code == Code::NoParser ? Code::EndOfStream : code;
    MpegAudioPoint point = start_;
    point.frame = frame_at(found.offset);
    point.is_counted = false;
    point.clock.move_to(static_cast<int64_t>(point.frame * mp3_samples_per_frame(header_)),
                        trim_.sound >= 0 ? trim_.front : 0);
    point.place = scanner_.place();
    point.place.offset = point.place.behind_frame = found.offset;
    go_to(point);
    return Code::Ok;
}

// From where the file stands to the frame at a time.
Code MpegAudioFile::walk_to(int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    MpegAudioPoint last = now_;
    bool has_last = false;
    for (;;) {
        const MpegAudioPoint here = now_;
        MpegAudioFrame frame;
        int64_t start_us = 0;
        const Code code = next(&frame, &start_us, kMostGap);
        if ((code == Code::EndOfStream || code == Code::NoParser) && has_last) break;
        if (code != Code::Ok) return code;
        const bool is_behind = mode == MediaSeek::KeyFrameAfter ? start_us >= time_us : start_us > time_us;
        if (is_behind && has_last && mode != MediaSeek::KeyFrameAfter) break;
        last = here;
        has_last = true;
        *reached_us = start_us;
        if (is_behind) break;
    }
    go_to(last);
    return Code::Ok;
}

Code MpegAudioFile::seek(int64_t time_us, MediaSeek mode, int64_t *reached_us) {
    const MpegAudioPoint before = now_;
    go_to(time_us > 0 ? index_.before(time_us) : start_);
    *reached_us = 0;
    if (time_us <= 0) return Code::Ok;
    const auto samples = static_cast<uint64_t>(audio_samples(time_us, header_.sample_rate)) + trim_.front;
    const uint64_t wanted = std::min(samples / mp3_samples_per_frame(header_), length_.frames);
    Code code = is_far(wanted) ? jump_towards(wanted) : Code::Ok;
    // The file may be shorter than was estimated.
    if (code == Code::EndOfStream) {
        go_to(index_.before(time_us));
        code = Code::Ok;
    }
    if (code == Code::Ok) code = walk_to(time_us, mode, reached_us);
    if (code != Code::Ok) go_to(before);
    return code;
}

}  // namespace quorv
