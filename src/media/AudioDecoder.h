// MPEG audio to samples, a frame at a time: bytes in, in pieces of any size, and sound out as it was before
// it was encoded.
#ifndef QUORV_SRC_MEDIA_AUDIODECODER_H
#define QUORV_SRC_MEDIA_AUDIODECODER_H

#include <quorv/quorv.h>

#include "media/AudioTrim.h"
#include "mp3dec/Mp3Frame.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "mp3dec/Mp3Synthesis.h"
#include "platform/MemoryOwner.h"

namespace quorv {

class AudioDecoder {
public:
    AudioDecoder() = default;
    AudioDecoder(const AudioDecoder &) = delete;
    AudioDecoder &operator=(const AudioDecoder &) = delete;
    ~AudioDecoder() { synth_close(&synthesis_); }

    // False without memory. The track may be null, the flags are QUORV_DECODER_*.
    [[nodiscard]] bool open(const QuorvTrack *track, uint32_t flags);
    // Copies the bytes behind those that were not decoded yet. False without memory, with nothing changed.
    [[nodiscard]] bool append(const void *data, size_t size);
    // Nothing follows what was appended.
    void end();
    bool has_ended() const { return ended_; }
    // Decodes up to the next frame that gives sound. Without one, there are 0 frames in the samples.
    const QuorvSamples *next();
    // What follows is the beginning of the stream.
    void restart();
    // What follows lies at this time of the track, which is below 0 when it is not known.
    void restart_at(int64_t time_us);

    const QuorvSkippedFrames *skipped() const { return &skipped_; }

private:
    void present();
    bool is_at_end() const;
    bool take_header();
    void count_skipped(Mp3Error error, bool was_in_sync);
    void count_cut_off();
    const QuorvSamples *deliver(AudioTrim::Part part);
    const QuorvSamples *describe(uint32_t frames, uint32_t channels);

    Mp3Frame frame_{};
    Mp3Synthesis synthesis_{};
    Mp3InputBuffer input_{};
    // The input: of the bytes held those from `first_` on are not decoded yet, and behind them there is
    // always room for the padding of the end.
    Owned<uint8_t[]> bytes_;
    size_t capacity_ = 0, first_ = 0, held_ = 0;
    bool ended_ = false;  // and padded

    bool keeps_padding_ = false;
    bool measures_ = false;        // headers alone
    bool expects_header_ = false;  // the next frame may be that of a XingHeader
    AudioTrim trim_;
    AudioTrim track_trim_;  // as the track's reader tells it
    uint32_t track_rate_ = 0;

    QuorvSamples samples_{};
    QuorvSkippedFrames skipped_{};
    int16_t output_[kMp3MaxChannels * kMp3MaxSamples];
};

}  // namespace quorv

#endif
