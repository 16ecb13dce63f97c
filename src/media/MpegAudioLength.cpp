// How long an MPEG audio file is: told by its header, counted, or estimated.
//
// A header that tells the frames is believed, unless further frames follow the bytes that it tells. Without
// one, the frames of a small file are counted, and the first ones of a large file, with the rest taken to
// have as many bytes a frame. For constant rates that is exact to a frame or two. Where a large file ends
// with something else, more of it is looked at, but never all of it.

#include <algorithm>

#include "media/MpegAudioFile.h"
#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

constexpr int64_t kCountedBytes = 4 << 20, kMostCountedBytes = 64 << 20;
// At the end of a file: without a frame in so many bytes it is no sound.
constexpr int64_t kEndBytes = 64 << 10;
// Fewer bytes behind the sound are tags.
constexpr int64_t kLeastSound = 4096;
constexpr uint64_t kSecond = 1000000000;  // nanoseconds

}  // namespace

Code MpegAudioFile::measure() {
    bool tells = has_xing_ && xing_.frames > 0, is_joined = false;
    Code code = tells ? more_follow(&is_joined) : Code::Ok;
    if (code != Code::Ok) return code;
    if (tells && !is_joined) {
        take_told_length();
        return Code::Ok;
    }
    bool is_sound = true;
    if (size_ > kCountedBytes) code = ends_with_sound(&is_sound);
    return code == Code::Ok ? count_frames(is_sound ? kCountedBytes : kMostCountedBytes) : code;
}

// Whether there are frames where the header says that the sound ends.
Code MpegAudioFile::more_follow(bool *answer) {
    const int64_t end = xing_offset_ + xing_.bytes;
    if (xing_.bytes <= 0 || size_ < 0 || size_ - end < kLeastSound) return Code::Ok;
    MpegAudioFrame frame;
    scanner_.move_to(mpeg_audio_place(end, true));
    const Code code = scanner_.next(&frame, kLeastSound);
    *answer = code == Code::Ok && frame.junk == 0;
    return code == Code::EndOfStream || code == Code::NoParser ? Code::Ok : code;
}

Code MpegAudioFile::ends_with_sound(bool *answer) {
    MpegAudioFrame frame;
    scanner_.move_to(mpeg_audio_place(size_ - kEndBytes, false));
    const Code code = scanner_.next(&frame);
    *answer = code == Code::Ok;
    return code == Code::EndOfStream ? Code::Ok : code;
}

void MpegAudioFile::take_told_length() {
    const uint32_t samples = mp3_samples_per_frame(header_);
    length_.frames = static_cast<uint64_t>(xing_.frames);
    length_.samples = trim_.sound >= 0 ? static_cast<uint64_t>(trim_.sound) : length_.frames * samples;
    length_.duration_us = audio_time_us(static_cast<int64_t>(length_.samples), header_.sample_rate);
    length_.is_constant = xing_.is_constant_rate;
    const int64_t end = xing_.bytes > 0 ? xing_offset_ + xing_.bytes : size_;
    if (end > sound_offset_) {
        length_.known_frames = length_.frames;
        length_.known_bytes = length_.sound_bytes = static_cast<uint64_t>(end - sound_offset_);
    }
    if (size_ >= 0 && end > size_) {
        damage_.cut_off = 1;
        damage_.bytes_missing = end - size_;
    }
}

// Those in the first bytes of the sound.
Code MpegAudioFile::count_frames(int64_t most_bytes) {
    go_to(start_);
    length_.is_constant = true;
    bool has_one_rate = true;
    uint64_t nanoseconds = 0;
    int64_t end = 0;
    while (end - sound_offset_ < most_bytes) {
        MpegAudioFrame frame;
        int64_t time_us = 0;
        const Code code = next(&frame, &time_us, most_bytes);
        if (code == Code::EndOfStream || code == Code::NoParser) {
            length_.frames = length_.known_frames;
            length_.duration_us = now_.clock.time_us();
            if (!has_one_rate) length_.nanoseconds = nanoseconds;
            if (has_one_rate) length_.samples = static_cast<uint64_t>(now_.clock.samples());
            return Code::Ok;
        }
        if (code != Code::Ok) return code;
        const Mp3FrameHeader &header = scanner_.header();
        end = frame.offset + frame.size;
        ++length_.known_frames;
        length_.known_bytes = static_cast<uint64_t>(end - sound_offset_);
        length_.sound_bytes += frame.size;
        length_.channels = std::max(length_.channels, mp3_channels(header));
        nanoseconds += uint64_t{mp3_samples_per_frame(header)} * kSecond / header.sample_rate;
        length_.is_constant = length_.is_constant && header.bitrate == header_.bitrate;
        has_one_rate = has_one_rate && header.sample_rate == header_.sample_rate;
    }
    estimate_length();
    return Code::Ok;
}

void MpegAudioFile::estimate_length() {
    if (size_ < sound_offset_) return;
    const auto bytes = static_cast<uint64_t>(size_ - sound_offset_);
    if (bytes > kMpegAudioMostBytes) return;
    length_.frames = bytes * length_.known_frames / length_.known_bytes;
    const uint64_t samples = length_.frames * mp3_samples_per_frame(header_);
    length_.duration_us = audio_time_us(static_cast<int64_t>(samples), header_.sample_rate);
}

uint32_t MpegAudioFile::bit_rate() const {
    if (length_.is_constant) return header_.bitrate * 1000;
    if (length_.nanoseconds != 0)
        return static_cast<uint32_t>(length_.sound_bytes * 8 * kSecond / length_.nanoseconds);
    const uint64_t samples = length_.known_frames * mp3_samples_per_frame(header_);
    if (samples == 0) return 0;
    return static_cast<uint32_t>(length_.sound_bytes * 8 * header_.sample_rate / samples);
}

}  // namespace quorv
