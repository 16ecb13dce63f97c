// Walking the frames of a file; see the header.

#include "media/MpegAudioScanner.h"

#include <string.h>

#include <algorithm>

#include "mp3dec/Mp3FrameSync.h"

namespace quorv {

MpegAudioScanner::~MpegAudioScanner() {
    // There is nobody to tell.
    if (is_open_) static_cast<void>(source_.close());
}

Code MpegAudioScanner::open(const SplitterStreamSource &callbacks) {
    source_.callbacks = callbacks;
    const Code code = source_.open(StreamAccess::Read);
    is_open_ = code == Code::Ok;
    move_to(kMpegAudioStart);
    return code;
}

Code MpegAudioScanner::next(MpegAudioFrame *frame, int64_t most_junk) {
    for (;;) {
        if (is_at_end()) return Code::EndOfStream;
        const Mp3Error error = header_decode(&header_, &input_);
        // The last frame passes with a byte missing, but then it is no frame of the file.
        if (is_last_ && error == Mp3Error::None && input_.read_position > input_.stream_end) continue;
        if (error == Mp3Error::None) {
            take(frame);
            return Code::Ok;
        }
        const uint8_t *done = mp3_skips_frame(error) ? input_.read_position : input_.frame_start;
        if (done != nullptr) first_ = std::clamp(static_cast<uint32_t>(done - bytes_), first_, held_);
        if (mp3_skips_frame(error)) continue;
        pass_tag();
        if (is_last_) return Code::EndOfStream;
        const int64_t junk = window_ + first_ - behind_frame_ - static_cast<int64_t>(input_.tag_bytes);
        if (junk > most_junk) return Code::NoParser;
        const Code code = fill();
        if (code != Code::Ok) return code;
    }
}

// Whether there is nothing but padding left.
bool MpegAudioScanner::is_at_end() const {
    return is_last_ && input_.read_position >= input_.stream_end;
}

void MpegAudioScanner::take(MpegAudioFrame *frame) {
    const auto start = static_cast<uint32_t>(input_.frame_start - bytes_);
    first_ = static_cast<uint32_t>(input_.read_position - bytes_);
    frame->offset = window_ + start;
    frame->size = first_ - start;
    frame->data = input_.frame_start;
    frame->junk = frame->offset - behind_frame_ - static_cast<int64_t>(input_.tag_bytes);
    behind_frame_ = window_ + first_;
    input_.tag_bytes = 0;
}

// Passes over the rest of a tag without reading it.
void MpegAudioScanner::pass_tag() {
    if (input_.tag_left == 0) return;
    window_ += int64_t{held_} + static_cast<int64_t>(input_.tag_left);
    input_.tag_bytes += input_.tag_left;
    input_.tag_left = 0;
    first_ = held_ = 0;
    is_last_ = false;
}

// Reads on behind what is still to be looked at.
Code MpegAudioScanner::fill() {
    // No frame takes all the room; what claims to be one must not stop the walk.
    if (first_ == 0 && held_ == kRoom) first_ = kRoom - static_cast<uint32_t>(kMp3LookAhead);
    held_ -= first_;
    memmove(bytes_, bytes_ + first_, held_);
    window_ += first_;
    first_ = 0;
    Code code = source_.move_to(window_ + held_);
    uint32_t got = 0;
    if (code == Code::Ok) code = source_.read_available(bytes_ + held_, kRoom - held_, &got);
    held_ += got;
    is_last_ = code == Code::Ok && held_ < kRoom;
    if (is_last_) memset(bytes_ + held_, 0, kMp3EndPadding);
    present();
    return code;
}

// Shows the frame search what there is.
void MpegAudioScanner::present() {
    buffer_set(&input_, bytes_ + first_, held_ - first_ + (is_last_ ? kMp3EndPadding : 0));
    if (is_last_) input_.stream_end = bytes_ + held_;
}

MpegAudioRest MpegAudioScanner::rest() const {
    const int64_t offset = behind_frame_ + static_cast<int64_t>(input_.tag_bytes);
    return {offset, std::max<int64_t>(window_ + held_ - offset, 0), input_.in_sync};
}

MpegAudioPlace MpegAudioScanner::place() const {
    return {window_ + first_,
            behind_frame_,
            static_cast<int64_t>(input_.tag_bytes),
            input_.free_format_bitrate,
            input_.free_format_slots,
            input_.free_format_key,
            input_.in_sync,
            input_.at_start};
}

void MpegAudioScanner::move_to(const MpegAudioPlace &place) {
    if (place.offset >= window_ && place.offset - window_ <= held_) {
        first_ = static_cast<uint32_t>(place.offset - window_);
    } else {
        window_ = place.offset;
        first_ = held_ = 0;
        is_last_ = false;
    }
    behind_frame_ = place.behind_frame;
    buffer_init(&input_);
    input_.tag_bytes = static_cast<uint64_t>(place.tag_bytes);
    input_.free_format_bitrate = place.free_format_bitrate;
    input_.free_format_slots = place.free_format_slots;
    input_.free_format_key = place.free_format_key;
    input_.in_sync = place.in_sync;
    input_.at_start = place.at_start;
    present();
}

}  // namespace quorv
