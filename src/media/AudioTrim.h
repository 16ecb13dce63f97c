// Which of the samples that come out of a decoder are sound, and which were added by the encoder.
#ifndef QUORV_SRC_MEDIA_AUDIOTRIM_H
#define QUORV_SRC_MEDIA_AUDIOTRIM_H

#include <stdint.h>

#include <algorithm>

namespace quorv {

// Counts samples, 0 being the first one of the sound. As it is made, everything is sound.
class AudioTrim {
public:
    struct Part {
        uint32_t first, count;
    };

    AudioTrim() = default;
    AudioTrim(uint32_t front, int64_t sound, uint32_t back)
        : position_(-int64_t{front}), end_(sound), back_(back) {}

    // Of the next sample in the sound; of one that is not sound, that of the next that is.
    int64_t position() const { return std::clamp<int64_t>(position_, 0, end_); }
    void move_to(int64_t position) { position_ = position; }

    // Goes on by so many samples and tells which of them are sound. Behind what the encoder put at the end
    // there is sound again: that of another stream.
    Part next(uint32_t samples) {
        const auto inside = [&](int64_t place) {
            return static_cast<uint32_t>(std::clamp<int64_t>(place - position_, 0, samples));
        };
        const uint32_t first = inside(0), last = std::max(inside(end_), first);
        position_ += samples;
        if (position_ - back_ >= end_) {
            position_ -= back_;
            end_ = INT64_MAX;
        }
        return {first, last - first};
    }

private:
    int64_t position_ = 0;
    int64_t end_ = INT64_MAX;
    uint32_t back_ = 0;
};

}  // namespace quorv

#endif
