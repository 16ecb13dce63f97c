// Walks the frames of an MPEG audio file one after another, over tags and over whatever else stands between
// them.
#ifndef QUORV_SRC_MEDIA_MPEGAUDIOSCANNER_H
#define QUORV_SRC_MEDIA_MPEGAUDIOSCANNER_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

#include "mp3dec/Mp3InputBuffer.h"
#include "splitter/StreamSource.h"

namespace quorv {

// Where a walk stands, to come back to.
struct MpegAudioPlace {
    int64_t offset;        // of the next byte to look at
    int64_t behind_frame;  // where the last frame ended
    int64_t tag_bytes;     // of the tags since then
    uint32_t free_format_bitrate, free_format_slots, free_format_key;
    bool in_sync, at_start;
};

// The beginning of a file.
inline constexpr MpegAudioPlace kMpegAudioStart = {0, 0, 0, 0, 0, 0, false, true};
// A place in a file at which, or behind which, a frame begins.
constexpr MpegAudioPlace mpeg_audio_place(int64_t offset, bool in_sync) {
    return {offset, offset, 0, 0, 0, 0, in_sync, false};
}

struct MpegAudioFrame {
    int64_t offset;       // in the file
    uint32_t size;        // bytes
    const uint8_t *data;  // valid until the next call with the scanner
    int64_t junk;         // bytes in front of it, behind the last frame, that are no tag
};

// What is left where no frame follows.
struct MpegAudioRest {
    int64_t offset, size;
    bool is_frame;  // the beginning of one
};

// Positions are those of file offsets, and all memory is part of the object.
class MpegAudioScanner {
public:
    MpegAudioScanner() = default;
    MpegAudioScanner(const MpegAudioScanner &) = delete;
    MpegAudioScanner &operator=(const MpegAudioScanner &) = delete;
    ~MpegAudioScanner();

    // At the beginning of the file.
    Code open(const SplitterStreamSource &callbacks);
    StreamSource &source() { return source_; }

    // Code::EndOfStream, or Code::NoParser when there is none in the next `most_junk` bytes. After any other
    // failure the call can be repeated.
    Code next(MpegAudioFrame *frame, int64_t most_junk = INT64_MAX);
    // Of the frame that came last.
    const Mp3FrameHeader &header() const { return header_; }
    // After Code::EndOfStream.
    MpegAudioRest rest() const;

    MpegAudioPlace place() const;
    void move_to(const MpegAudioPlace &place);

private:
    static constexpr uint32_t kRoom = 64 << 10;

    bool is_at_end() const;
    void take(MpegAudioFrame *frame);
    void pass_tag();
    Code fill();
    void present();
    int64_t offset_of(const uint8_t *byte) const { return window_ + (byte - bytes_); }

    StreamSource source_{};
    bool is_open_ = false;
    Mp3InputBuffer input_{};
    Mp3FrameHeader header_{};
    int64_t behind_frame_ = 0;
    int64_t window_ = 0;             // the offset of the first byte in the memory
    uint32_t first_ = 0, held_ = 0;  // of the bytes held those from the first on are to be looked at
    bool is_last_ = false;           // the file ends with them
    uint8_t bytes_[kRoom + kMp3EndPadding];
};

}  // namespace quorv

#endif
