// Opening an MPEG audio file, and reading its frames; see the header.

#include "media/MpegAudioFile.h"

#include <string.h>

#include <algorithm>

#include "media/MpegAudioFacts.h"
#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

// How far the first frame is searched for behind the tags.
constexpr int64_t kMostJunk = 1 << 20;

// With its slot of padding, where the bit rate does not come out even without one.
uint32_t frame_bytes(const Mp3FrameHeader &header, uint32_t bit_rate) {
    const uint64_t bytes = uint64_t{mp3_samples_per_frame(header)} * (bit_rate / 8);
    const uint32_t slot = header.layer == 1 ? 4 : 1;
    const auto even = static_cast<uint32_t>(bytes / header.sample_rate / slot * slot);
    return bytes % (uint64_t{header.sample_rate} * slot) == 0 ? even : even + slot;
}

// Of the layer's highest bit rate.
uint32_t largest_frame(const Mp3FrameHeader &header) {
    constexpr uint32_t kMpeg1[] = {448000, 384000, 320000}, kMpeg2[] = {256000, 160000, 160000};
    const bool low = (header.flags & MP3_FLAG_LOW_SAMPLING_RATE) != 0;
    return frame_bytes(header, (low ? kMpeg2 : kMpeg1)[header.layer - 1]);
}

}  // namespace

Code MpegAudioFile::open(const SplitterStreamSource &callbacks) {
    damage_.bytes_passed_over.first_offset = damage_.frames_skipped.first_offset = -1;
    Code code = scanner_.open(callbacks);
    if (code != Code::Ok) return code;
    code = scanner_.source().size(&size_);
    if (code == Code::DataPending) return code;
    // Whatever else that is, the frames may be there.
    if (code != Code::Ok || size_ < 0) size_ = -1;
    code = find_start();
    if (code == Code::Ok) code = measure();
    if (code == Code::Ok) go_to(start_);
    return code;
}

// The first frame of sound, and what the encoder says in the frame in front of it.
Code MpegAudioFile::find_start() {
    MpegAudioFrame frame;
    Code code = scanner_.next(&frame, kMostJunk);
    if (code == Code::EndOfStream) code = Code::NoParser;
    if (code != Code::Ok) return code;
    header_ = scanner_.header();
    MpegAudioPlace place = kMpegAudioStart;
    has_xing_ = xing_read(header_, frame.data, frame.size, &xing_);
    if (has_xing_) {
        xing_offset_ = frame.offset;
        trim_ = xing_trim(xing_, header_);
        count_junk(frame);
        place = scanner_.place();
        code = scanner_.next(&frame, kMostJunk);
        if (code == Code::EndOfStream) code = Code::NoParser;
        if (code != Code::Ok) return code;
        header_ = scanner_.header();
    }
    sound_offset_ = frame.offset;
    const bool trims = trim_.sound >= 0;
    const AudioTrim trim = trims ? AudioTrim(trim_.front, trim_.sound, trim_.back) : AudioTrim();
    start_ = {place, AudioClock(header_.sample_rate, trim), 0, true};
    go_to(start_);
    index_.note(start_);
    return Code::Ok;
}

void MpegAudioFile::go_to(const MpegAudioPoint &point) {
    now_ = point;
    scanner_.move_to(point.place);
}

void MpegAudioFile::describe(QuorvTrack *track) {
    constexpr uint32_t kCodecs[] = {QUORV_CODEC_MP1, QUORV_CODEC_MP2, QUORV_CODEC_MP3};
    *track = {};
    track->type = QUORV_TRACK_AUDIO;
    track->number = 1;
    track->codec = kCodecs[header_.layer - 1];
    name_ = codec_name(*track);
    track->codec_name = name_.text;
    track->framing = QUORV_FRAMING_MPEG_AUDIO;
    track->duration_us = length_.duration_us;
    track->bit_rate = bit_rate();
    track->block_align = 1;
    track->max_packet_size =
        length_.is_constant ? frame_bytes(header_, header_.bitrate * 1000) : largest_frame(header_);
    track->seekable = 1;
    track->sample_rate = header_.sample_rate;
    track->channels = std::max(mp3_channels(header_), length_.channels);
    track->rate_kind = length_.known_frames == 0 ? QUORV_RATE_UNKNOWN
                       : length_.is_constant     ? QUORV_RATE_CONSTANT
                                                 : QUORV_RATE_VARIABLE;
    texts_ = {};
    describe_mpeg_audio(header_, has_xing_ ? &xing_ : nullptr, &texts_);
    track->profile = texts_.profile;
    track->coding = texts_.coding;
    track->encoder = texts_.encoder;
    track->sample_count = length_.samples;
    if (trim_.sound >= 0) {
        track->trim_front = trim_.front;
        track->trim_back = trim_.back;
    }
    track->stated_packets = has_xing_ && xing_.frames > 0 ? static_cast<uint64_t>(xing_.frames) : 0;
    track->stated_end = has_xing_ && xing_.bytes > 0 ? xing_offset_ + xing_.bytes : -1;
}

Code MpegAudioFile::survey(QuorvSurvey *survey) const {
    // Of an estimate only a part is known, and of a file that is cut off what its header tells.
    const bool is_known = length_.frames != 0 && length_.frames == length_.known_frames;
    if (!is_known || damage_.cut_off != 0) return Code::Unsupported;
    *survey = {length_.frames, length_.sound_bytes, 0, 0};
    return Code::Ok;
}

// The next frame and its time.
Code MpegAudioFile::next(MpegAudioFrame *frame, int64_t *time_us, int64_t most_junk) {
    const Code code = scanner_.next(frame, most_junk);
    if (code != Code::Ok) {
        // What has been looked at need not be looked at again.
        now_.place = scanner_.place();
        return code;
    }
    index_.note(now_);
    now_.clock.set_rate(scanner_.header().sample_rate);
    *time_us = now_.clock.time_us();
    now_.clock.advance(mp3_samples_per_frame(scanner_.header()));
    ++now_.frame;
    now_.place = scanner_.place();
    return Code::Ok;
}

Code MpegAudioFile::read(uint8_t *buffer, size_t room, MediaPacket *packet) {
    const MpegAudioPoint before = now_;
    MpegAudioFrame frame;
    int64_t time_us = 0;
    const Code code = next(&frame, &time_us);
    if (code == Code::EndOfStream) count_rest();
    if (code != Code::Ok) return code;
    *packet = {frame.size, time_us, now_.clock.time_us() - time_us, frame.offset, true};
    if (frame.size > room) {
        go_to(before);
        return Code::BufferTooSmall;
    }
    memcpy(buffer, frame.data, frame.size);
    count_junk(frame);
    return Code::Ok;
}

void MpegAudioFile::count_passed(int64_t begin, int64_t end) {
    QuorvDamageCount &passed = damage_.bytes_passed_over;
    if (passed.count == 0) passed.first_offset = begin;
    passed.count += static_cast<uint64_t>(end - begin);
    passed_.add(begin, end);
}

void MpegAudioFile::count_junk(const MpegAudioFrame &frame) {
    if (frame.offset < counted_to_) return;
    counted_to_ = frame.offset + frame.size;
    if (frame.junk > 0) count_passed(frame.offset - frame.junk, frame.offset);
}

void MpegAudioFile::count_rest() {
    const MpegAudioRest rest = scanner_.rest();
    if (rest.offset < counted_to_) return;
    const bool is_whole = damage_.bytes_passed_over.count == 0;
    counted_to_ = rest.offset + std::max<int64_t>(rest.size, 1);
    const int64_t end = rest.offset + rest.size;
    if (rest.size > 0 && rest.is_frame) {
        damage_.frames_skipped = {1, rest.offset};
        skipped_.add(rest.offset, end);
    } else if (rest.size > 0) {
        count_passed(rest.offset, end);
    }
    const bool lacks_frames = now_.is_counted && static_cast<int64_t>(now_.frame) < xing_.frames;
    if (has_xing_ && xing_.bytes <= 0 && is_whole && lacks_frames) {
        damage_.cut_off = 1;
        damage_.bytes_missing = -1;
    }
}

QuorvDamage MpegAudioFile::damage() const {
    QuorvDamage damage = damage_;
    damage.passed_over_at = passed_.all();
    damage.skipped_at = skipped_.all();
    return damage;
}

}  // namespace quorv
