// 16-bit samples at another rate, any to any: every output sample is a sum of the input samples around its
// time, weighted by a windowed sinc.
#ifndef QUORV_TOOLS_QUORV_RESAMPLER_H
#define QUORV_TOOLS_QUORV_RESAMPLER_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quorv::tool {

class Resampler {
public:
    // Rates in hertz. Where an output sample may fall between two input samples is known exactly, or to a
    // 16384th where the rates have little in common.
    Resampler(uint32_t from, uint32_t to, uint32_t channels);

    // Appends to `out` what can be told of the samples so far. Channels are interleaved.
    void convert(std::span<const int16_t> samples, std::vector<int16_t> &out);
    // Appends the rest: in all, as much time as went in.
    void finish(std::vector<int16_t> &out);

private:
    void make_weights();
    int64_t held_frames() const { return static_cast<int64_t>(held_.size() / channels_); }
    void produce(uint64_t end, std::vector<int16_t> &out);
    void add_frame(const float *input, const float *weights, std::vector<int16_t> &out) const;

    const uint32_t from_, to_, channels_;
    const double scale_;     // of the lower rate to the input's
    const int64_t reach_;    // input samples on each side of an output sample
    const uint32_t phases_;  // places of an output sample between two input samples
    std::vector<float> weights_;
    std::vector<float> held_;  // frames of the input from the number first_ on, silence in front included
    int64_t first_;
    uint64_t received_ = 0, produced_ = 0;
};

}  // namespace quorv::tool

#endif
