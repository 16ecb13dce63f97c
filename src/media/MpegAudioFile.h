// An open MPEG audio file: what is known of its only track, and how far that has been read.
#ifndef QUORV_SRC_MEDIA_MPEGAUDIOFILE_H
#define QUORV_SRC_MEDIA_MPEGAUDIOFILE_H

#include <quorv/quorv.h>

#include "media/AudioClock.h"
#include "media/CodecNames.h"
#include "media/MediaFormat.h"
#include "media/MpegAudioIndex.h"
#include "media/MpegAudioScanner.h"
#include "media/TrackTexts.h"
#include "media/XingHeader.h"
#include "splitter/ByteRanges.h"

namespace quorv {

// Of files beyond that, 16 TB, lengths are not told; so sizes in 1/2^16 of a byte fit into 64 bits.
inline constexpr uint64_t kMpegAudioMostBytes = uint64_t{1} << 44;

// The whole sound.
struct MpegAudioLength {
    int64_t duration_us = -1;  // as the file's header tells, counted, or estimated; -1 when nothing is known
    uint64_t frames = 0;       // the same; 0 when nothing is known
    uint64_t samples = 0;      // what the encoder added left out; 0 when they are estimated
    // Of frames from the first on, how many bytes they take.
    uint64_t known_frames = 0, known_bytes = 0;
    bool is_constant = false;  // those have the same bit rate
    // The same bytes without what stands between frames, and how long they last where rates change; 0 where
    // they do not.
    uint64_t sound_bytes = 0, nanoseconds = 0;
    uint32_t channels = 0;  // the most that one of them has
};

class MpegAudioFile : public MediaState {
public:
    MpegAudioFile() = default;
    MpegAudioFile(const MpegAudioFile &) = delete;
    MpegAudioFile &operator=(const MpegAudioFile &) = delete;

    // Code::NoParser: there are no frames in it.
    Code open(const SplitterStreamSource &callbacks);
    void describe(QuorvTrack *track);
    // As the functions of MediaFormat.
    Code read(uint8_t *buffer, size_t room, MediaPacket *packet);
    Code seek(int64_t time_us, MediaSeek mode, int64_t *reached_us);
    Code survey(QuorvSurvey *survey) const;
    const MpegAudioPoint &point() const { return now_; }
    void go_to(const MpegAudioPoint &point);
    QuorvDamage damage() const;

private:
    Code find_start();
    Code next(MpegAudioFrame *frame, int64_t *time_us, int64_t most_junk = INT64_MAX);
    void count_passed(int64_t begin, int64_t end);
    void count_junk(const MpegAudioFrame &frame);
    void count_rest();

    Code measure();
    void take_told_length();
    Code more_follow(bool *answer);
    Code ends_with_sound(bool *answer);
    Code count_frames(int64_t most_bytes);
    void estimate_length();
    uint32_t bit_rate() const;

    Code walk_to(int64_t time_us, MediaSeek mode, int64_t *reached_us);
    bool is_far(uint64_t frame) const;
    Code jump_towards(uint64_t frame);
    uint64_t bytes_a_frame() const;
    bool has_table() const;
    int64_t offset_of(uint64_t frame) const;
    uint64_t frame_at(int64_t offset) const;

    CodecName name_{};
    TrackTexts texts_;
    MpegAudioScanner scanner_;
    int64_t size_ = -1;         // -1 when not known
    Mp3FrameHeader header_{};   // of the first frame of sound
    int64_t sound_offset_ = 0;  // where that begins
    bool has_xing_ = false;
    XingHeader xing_{};
    int64_t xing_offset_ = 0;
    XingTrim trim_ = {0, 0, -1};
    MpegAudioLength length_;
    MpegAudioPoint start_{}, now_{};
    MpegAudioIndex index_;
    QuorvDamage damage_{};  // without the places
    ByteRanges passed_, skipped_;
    int64_t counted_to_ = 0;  // damage in front of it is counted already
};

}  // namespace quorv

#endif
