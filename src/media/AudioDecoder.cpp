// MPEG audio to samples; see the header.

#include "media/AudioDecoder.h"

#include <string.h>

#include <algorithm>

#include "media/XingHeader.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameLength.h"
#include "mp3dec/Mp3FrameSync.h"
#include "mp3dec/Mp3Output.h"

namespace quorv {

namespace {

constexpr size_t kLeastCapacity = 8 << 10;
constexpr int64_t kMicroseconds = 1000000;

// Whether the bytes are one frame and nothing else: then nobody has to search for it.
bool is_one_frame(const uint8_t *bytes, size_t size) {
    if (size < kMp3LookAhead || !mp3_is_sync_word(bytes)) return false;
    Mp3InputBuffer input{};
    buffer_set(&input, bytes, size);
    bit_place(&input.header_reader, bytes, input.end);
    Mp3FrameHeader header{};
    uint32_t length = 0;
    return mp3_parse_header(&header, &input.header_reader) == Mp3Error::None && header.bitrate_index != 0 &&
           mp3_frame_length(&header, &input, &length) == Mp3Error::None && length == size;
}

// Whether the frame's place and length are known although it failed.
bool fails_inside(Mp3Error error) {
    return static_cast<uint16_t>(error) >= MP3_ERR_CRC;
}

}  // namespace

bool AudioDecoder::open(const QuorvTrack *track, uint32_t flags) {
    keeps_padding_ = (flags & QUORV_DECODER_KEEP_PADDING) != 0;
    measures_ = (flags & QUORV_DECODER_MEASURE) != 0;
    if (track != nullptr && track->sample_count > 0 && track->trim_front + uint64_t{track->trim_back} > 0) {
        track_trim_ =
            AudioTrim(track->trim_front, static_cast<int64_t>(track->sample_count), track->trim_back);
        track_rate_ = track->sample_rate;
    }
    if (!frame_init(&frame_) || !reservoir_create(&frame_.reservoir)) return false;
    if (synth_init_zev(&synthesis_, 3, kMp3SameRate) != 0) return false;
    samples_.samples = measures_ ? nullptr : output_;
    restart();
    return true;
}

void AudioDecoder::restart() {
    frame_reset(&frame_);
    buffer_init(&input_);
    first_ = held_ = 0;
    ended_ = false;
    expects_header_ = true;
    trim_ = keeps_padding_ ? AudioTrim() : track_trim_;
}

void AudioDecoder::restart_at(int64_t time_us) {
    restart();
    if (time_us == 0) return;
    expects_header_ = false;
    if (time_us < 0 || time_us > INT64_MAX / kMicroseconds || track_rate_ == 0)
        trim_ = {};
    else
        trim_.move_to((time_us * track_rate_ + kMicroseconds / 2) / kMicroseconds);
}

// Shows the frame decoder what is not decoded yet.
void AudioDecoder::present() {
    buffer_set(&input_, bytes_.get() + first_, held_ - first_);
    if (ended_) input_.stream_end = input_.end - std::min<size_t>(held_ - first_, kMp3EndPadding);
}

bool AudioDecoder::append(const void *data, size_t size) {
    const size_t left = held_ - first_;
    if (size > PTRDIFF_MAX - kMp3EndPadding - left) return false;
    const size_t needed = left + size + kMp3EndPadding;
    if (needed > capacity_) {
        const size_t capacity = std::max(needed, kLeastCapacity);
        Owned<uint8_t[]> larger = make_array<uint8_t>(capacity);
        if (larger == nullptr) return false;
        if (left > 0) memcpy(larger.get(), bytes_.get() + first_, left);
        bytes_ = std::move(larger);
        capacity_ = capacity;
    } else {
        memmove(bytes_.get(), bytes_.get() + first_, left);
    }
    memcpy(bytes_.get() + left, data, size);
    first_ = 0;
    held_ = left + size;
    if (input_.at_start && is_one_frame(bytes_.get(), held_)) input_.in_sync = true;
    present();
    return true;
}

void AudioDecoder::end() {
    ended_ = true;
    if (bytes_ == nullptr) return;
    memset(bytes_.get() + held_, 0, kMp3EndPadding);
    held_ += kMp3EndPadding;
    present();
}

// Whether there is nothing but padding left.
bool AudioDecoder::is_at_end() const {
    return ended_ && (input_.read_position == nullptr || input_.read_position >= input_.stream_end);
}

const QuorvSamples *AudioDecoder::next() {
    while (!is_at_end()) {
        const bool was_in_sync = input_.in_sync;
        const Mp3Error error =
            measures_ ? header_decode(&frame_.header, &input_) : frame_decode(&frame_, &input_, &synthesis_);
        // A tag was the last thing.
        if (ended_ && input_.frame_start >= input_.stream_end) break;
        if (error != Mp3Error::None && !mp3_skips_frame(error)) {
            if (input_.read_position == nullptr) break;
            // The start of the current frame is still that of the last one when nothing is behind that.
            first_ = std::max(first_, static_cast<size_t>(input_.frame_start - bytes_.get()));
            if (ended_) count_cut_off();
            present();
            break;
        }
        first_ = static_cast<size_t>(input_.read_position - bytes_.get());
        if ((error == Mp3Error::None || fails_inside(error)) && take_header()) continue;
        if (error != Mp3Error::None) count_skipped(error, was_in_sync);
        if (error != Mp3Error::None && !fails_inside(error)) continue;
        const AudioTrim::Part part = trim_.next(mp3_samples_per_frame(frame_.header));
        if (error == Mp3Error::None && part.count > 0) return deliver(part);
    }
    samples_.frames = 0;
    samples_.format_changed = 0;
    return &samples_;
}

// Takes the first frame for what it says when it is one without sound.
bool AudioDecoder::take_header() {
    if (!expects_header_) return false;
    expects_header_ = false;
    const auto size = static_cast<size_t>(input_.read_position - input_.frame_start);
    XingHeader xing;
    if (!xing_read(frame_.header, input_.frame_start, size, &xing)) return false;
    const XingTrim trim = xing_trim(xing, frame_.header);
    if (trim.sound >= 0 && !keeps_padding_) trim_ = AudioTrim(trim.front, trim.sound, trim.back);
    // Its bytes are no frame's data.
    frame_.reservoir.fill = 0;
    return true;
}

void AudioDecoder::count_skipped(Mp3Error error, bool was_in_sync) {
    // While frames are searched for, each place that turns out not to be one fails again.
    if (error == Mp3Error::Sync && !was_in_sync) return;
    ++skipped_.total;
    skipped_.last_code = static_cast<uint32_t>(error);
    if (error == Mp3Error::Sync)
        ++skipped_.lost_sync;
    else if (error == Mp3Error::Crc)
        ++skipped_.bad_check;
    else if (error == Mp3Error::Reservoir)
        ++skipped_.no_reservoir;
    else
        ++skipped_.bad_data;
}

// The stream has ended inside of a frame.
void AudioDecoder::count_cut_off() {
    const uint8_t *start = bytes_.get() + first_;
    if (!input_.in_sync || start >= input_.stream_end) return;
    ++skipped_.total;
    ++skipped_.cut_off;
    skipped_.last_code = static_cast<uint32_t>(Mp3Error::NeedInput);
    first_ = held_;
}

const QuorvSamples *AudioDecoder::deliver(AudioTrim::Part part) {
    if (measures_) return describe(part.count, mp3_channels(frame_.header));
    const Mp3PcmStore &pcm = *synthesis_.pcm;
    Mp3Delivery delivery{};
    delivery.next = part.first;
    Mp3OutputRoom room = {reinterpret_cast<uint8_t *>(output_),
                          part.count * pcm.channels * static_cast<uint32_t>(sizeof(int16_t))};
    mp3_deliver(pcm, kMp3NoRequest, &delivery, &room);
    return describe(part.count, pcm.channels);
}

const QuorvSamples *AudioDecoder::describe(uint32_t frames, uint32_t channels) {
    const uint32_t rate = frame_.header.sample_rate;
    const bool is_same = samples_.sample_rate == rate && samples_.channels == channels;
    samples_ = {measures_ ? nullptr : output_, frames, rate, channels, is_same ? 0 : 1};
    return &samples_;
}

}  // namespace quorv
