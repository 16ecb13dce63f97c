// A polyphase filter; see the header.

#include "Resampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <numeric>

namespace quorv::tool {

namespace {

// Zero crossings of the sinc on each side; a multiple of 4, as the sums go in fours.
constexpr int64_t kCrossings = 48;
// Where the pass band ends, as a part of the lower rate's half: what lies above must fall to nothing by 1.
constexpr double kCutoff = 0.93;
constexpr double kKaiserBeta = 10;  // the stop band is 100 dB down
constexpr uint32_t kMostPhases = 16384;

double sinc(double x) {
    return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

// The modified Bessel function of order 0 by its power series, which the standard library's takes ten times
// as long for.
double bessel_i0(double x) {
    const double quarter = x * x / 4;
    double sum = 1, term = 1;
    for (int k = 1; term > sum * 1e-15; ++k) {
        term *= quarter / (double{1} * k * k);
        sum += term;
    }
    return sum;
}

// x runs from -1 to 1.
double kaiser(double x) {
    const double inside = 1 - x * x;
    return inside <= 0 ? 0 : bessel_i0(kKaiserBeta * std::sqrt(inside));
}

int16_t rounded(float value) {
    constexpr float kLeast = std::numeric_limits<int16_t>::min(), kMost = std::numeric_limits<int16_t>::max();
    return static_cast<int16_t>(std::lrint(std::clamp(value, kLeast, kMost)));
}

}  // namespace

Resampler::Resampler(uint32_t from, uint32_t to, uint32_t channels)
    : from_(from),
      to_(to),
      channels_(channels),
      scale_(std::min(1.0, static_cast<double>(to) / from)),
      reach_((static_cast<int64_t>(std::ceil(static_cast<double>(kCrossings) / scale_)) + 3) / 4 * 4),
      phases_(std::min(to / std::gcd(from, to), kMostPhases)),
      held_(static_cast<size_t>(reach_) * channels),
      first_(-reach_) {
    make_weights();
}

// One set for each place between two input samples, of the frames from reach_ - 1 before to reach_ behind.
// Each set adds up to 1, so that a constant stays one.
void Resampler::make_weights() {
    const int64_t count = 2 * reach_;
    weights_.reserve(static_cast<size_t>(count) * phases_);
    std::vector<double> set(static_cast<size_t>(count));
    for (uint32_t phase = 0; phase < phases_; ++phase) {
        for (int64_t i = 0; i < count; ++i) {
            const double x = static_cast<double>(i - reach_ + 1) - static_cast<double>(phase) / phases_;
            set[static_cast<size_t>(i)] =
                sinc(x * scale_ * kCutoff) * kaiser(x / static_cast<double>(reach_));
        }
        const double sum = std::accumulate(set.begin(), set.end(), 0.0);
        for (const double weight : set)
            weights_.push_back(static_cast<float>(weight / sum));
    }
}

void Resampler::convert(std::span<const int16_t> samples, std::vector<int16_t> &out) {
    held_.insert(held_.end(), samples.begin(), samples.end());
    received_ += samples.size() / channels_;
    produce(std::numeric_limits<uint64_t>::max(), out);
}

void Resampler::finish(std::vector<int16_t> &out) {
    held_.resize(held_.size() + static_cast<size_t>(reach_ + 1) * channels_);
    produce((received_ * to_ + from_ - 1) / from_, out);
}

// Up to that output sample, as far as the input reaches.
void Resampler::produce(uint64_t end, std::vector<int16_t> &out) {
    for (; produced_ < end; ++produced_) {
        const uint64_t time = produced_ * from_, between = time % to_;
        const uint64_t place = (between * phases_ + to_ / 2) / to_;  // phases_: that of the next sample
        const auto before = static_cast<int64_t>(time / to_ + place / phases_);
        if (before + reach_ >= first_ + held_frames()) break;
        const auto input = static_cast<size_t>(before - reach_ + 1 - first_) * channels_;
        const auto phase = static_cast<size_t>(place % phases_);
        add_frame(&held_[input], &weights_[phase * static_cast<size_t>(2 * reach_)], out);
    }
    const auto next = static_cast<int64_t>(produced_ * from_ / to_) - reach_ + 1;
    const int64_t done = std::clamp<int64_t>(next - first_, 0, held_frames());
    held_.erase(held_.begin(), held_.begin() + static_cast<std::ptrdiff_t>(done * channels_));
    first_ += done;
}

// Four sums at a time, as each addition waits for the one before.
void Resampler::add_frame(const float *input, const float *weights, std::vector<int16_t> &out) const {
    for (uint32_t channel = 0; channel < channels_; ++channel, ++input) {
        float sums[4] = {};
        const float *sample = input;
        for (int64_t i = 0; i < 2 * reach_; i += 4) {
            for (float &sum : sums) {
                sum += *sample * weights[i + (&sum - sums)];
                sample += channels_;
            }
        }
        out.push_back(rounded(sums[0] + sums[1] + sums[2] + sums[3]));
    }
}

}  // namespace quorv::tool
