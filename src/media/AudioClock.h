// Times of sound from counts of its samples.
#ifndef QUORV_SRC_MEDIA_AUDIOCLOCK_H
#define QUORV_SRC_MEDIA_AUDIOCLOCK_H

#include <stdint.h>

#include "media/AudioTrim.h"

namespace quorv {

// So many samples in microseconds, rounded down.
constexpr int64_t audio_time_us(int64_t samples, uint32_t rate) {
    constexpr int64_t kMicroseconds = 1000000;
    return samples / rate * kMicroseconds + samples % rate * kMicroseconds / rate;
}

// The samples in so many microseconds, rounded to the nearest; the opposite of the above.
constexpr int64_t audio_samples(int64_t time_us, uint32_t rate) {
    constexpr int64_t kMicroseconds = 1000000;
    return time_us / kMicroseconds * rate +
           (time_us % kMicroseconds * rate + kMicroseconds / 2) / kMicroseconds;
}

// Where a stream stands in its sound, what the encoder added left out. The rate may change on the way.
class AudioClock {
public:
    AudioClock() = default;
    AudioClock(uint32_t rate, const AudioTrim &trim) : rate_(rate), trim_(trim) {}

    int64_t time_us() const { return base_us_ + audio_time_us(trim_.position(), rate_); }
    // The samples of the rate that it is now.
    int64_t samples() const { return trim_.position(); }

    void set_rate(uint32_t rate) {
        if (rate == rate_) return;
        base_us_ = time_us();
        rate_ = rate;
        trim_ = {};
    }
    void advance(uint32_t samples) { trim_.next(samples); }
    // Goes to a place that is so many samples from the beginning of the stream, what was added included.
    void move_to(int64_t samples, uint32_t front) { trim_.move_to(samples - front); }

private:
    int64_t base_us_ = 0;
    uint32_t rate_ = 1;
    AudioTrim trim_;
};

}  // namespace quorv

#endif
