// Alias reduction and IMDCT of Layer III for any number of lanes: subbands side by side.
#ifndef QUORV_SRC_MP3DEC_KERNELS_HYBRIDKERNEL_H
#define QUORV_SRC_MP3DEC_KERNELS_HYBRIDKERNEL_H

#include "mp3dec/FixedPoint.h"
#include "mp3dec/kernels/CosineTransforms.h"
#include "mp3dec/kernels/Mp3Kernels.h"

namespace quorv {
namespace {

constexpr uint32_t kLines = 18;  // of a subband

// Lanes are lines at growing distances from an edge.
template <class Lanes>
void reduce_alias(int32_t *spectrum, uint32_t edges) {
    constexpr uint32_t kButterflies = 8;
    for (uint32_t edge = 1; edge <= edges; ++edge) {
        int32_t *const upper = spectrum + size_t{edge} * kLines;
        for (uint32_t i = 0; i < kButterflies; i += Lanes::kCount) {
            int32_t *const lower = upper - i - Lanes::kCount;
            const Lanes a = reverse(load_lanes(Lanes{}, lower)), b = load_lanes(Lanes{}, upper + i);
            Lanes p, q;
            rotate(a, b, load_lanes(Lanes{}, mp3dec_cs + i), load_lanes(Lanes{}, mp3dec_ca + i), &p, &q);
            store_lanes(lower, reverse(p));
            store_lanes(upper + i, -q);
        }
    }
}

// The IMDCT's 36 outputs are the DCT-IV u of the lines, mirrored: u[9..17], -u[17..9], -u[8..0], -u[0..8].
template <class Lanes>
inline void imdct36(Lanes *x, const int32_t *window, Lanes *overlap, Lanes *output) {
    dct4<18>(x);
#pragma GCC unroll 9
    for (uint32_t i = 0; i < 9; ++i) {
        const Lanes first = x[9 + i], second = x[8 - i];
        output[i] = mul_add(overlap[i], first, window[i]);
        output[17 - i] = mul_sub(overlap[17 - i], first, window[17 - i]);
        overlap[i] = mul_sub(Lanes{}, second, window[18 + i]);
        overlap[17 - i] = mul_sub(Lanes{}, second, window[35 - i]);
    }
}

// The same of 12 outputs, three times, each 6 samples later than the one before.
template <class Lanes>
inline void imdct12(const Lanes *x, const int32_t *window, Lanes *overlap, Lanes *output) {
    Lanes sum[36] = {};
    for (uint32_t w = 0; w < 3; ++w) {
        Lanes u[6];
        for (uint32_t k = 0; k < 6; ++k)
            u[k] = x[3 * k + w];
        dct4<6>(u);
        Lanes *const at = sum + 6 + 6 * w;
        for (uint32_t i = 0; i < 3; ++i) {
            at[i] = mul_add(at[i], u[3 + i], window[i]);
            at[5 - i] = mul_sub(at[5 - i], u[3 + i], window[5 - i]);
            at[6 + i] = mul_sub(at[6 + i], u[2 - i], window[6 + i]);
            at[11 - i] = mul_sub(at[11 - i], u[2 - i], window[11 - i]);
        }
    }
    for (uint32_t i = 0; i < kLines; ++i) {
        output[i] = overlap[i] + sum[i];
        overlap[i] = sum[kLines + i];
    }
}

template <class Lanes>
inline void imdct_block(Lanes *x, const Mp3Windows &windows, Lanes *overlap, Lanes *output) {
    if (windows.is_short)
        imdct12(x, windows.block, overlap, output);
    else
        imdct36(x, windows.block, overlap, output);
}

// The two lowest subbands of a mixed block have the normal window.
template <class Lanes>
void imdct_mixed(Lanes *x, const Mp3Windows &windows, uint32_t subband, Lanes *overlap, Lanes *output) {
    Lanes lines[kLines], normal_overlap[kLines], normal_output[kLines];
    for (uint32_t i = 0; i < kLines; ++i) {
        lines[i] = x[i];
        normal_overlap[i] = overlap[i];
    }
    imdct36(lines, windows.normal, normal_overlap, normal_output);
    imdct_block(x, windows, overlap, output);
    for (uint32_t i = 0; i < kLines; ++i) {
        overlap[i] = first_two(normal_overlap[i], overlap[i], subband);
        output[i] = first_two(normal_output[i], output[i], subband);
    }
}

// A subband with lines whose magnitudes add up to no more, in units of 2^16, stays within 32 bits together
// with an overlap of that kind: windows have a factor of 1/sqrt(2).
constexpr uint32_t kSafeLines = 23150;
constexpr int kLoudShift = 4;  // makes any lines below 2^30.5 safe, which is what alias reduction leaves

// Subbands of a group that may need more than 32 bits: their lines are turned down, and their overlap is left
// out until everything is turned up again.
template <class Lanes>
void lower_loud(uint32_t loud, Lanes *x, Lanes *overlap) {
    for (uint32_t i = 0; i < kLines; ++i) {
        int32_t line[Lanes::kCount], left[Lanes::kCount];
        store_lanes(line, x[i]);
        store_lanes(left, overlap[i]);
        for (uint32_t lane = 0; lane < Lanes::kCount; ++lane) {
            if ((loud >> lane & 1) == 0) continue;
            line[lane] = mul_shift<kLoudShift>(line[lane], 1);
            left[lane] = 0;
        }
        x[i] = load_lanes(Lanes{}, line);
        overlap[i] = load_lanes(Lanes{}, left);
    }
}

template <class Lanes>
void raise_loud(uint32_t loud, int bits, const int32_t *before, Lanes *overlap, Lanes *output) {
    for (uint32_t i = 0; i < kLines; ++i) {
        int32_t now[Lanes::kCount], next[Lanes::kCount];
        store_lanes(now, output[i]);
        store_lanes(next, overlap[i]);
        for (uint32_t lane = 0; lane < Lanes::kCount; ++lane) {
            if ((loud >> lane & 1) == 0) continue;
            now[lane] = saturate(before[i * kMp3Subbands + lane] + (int64_t{now[lane]} << bits));
            next[lane] = saturate(int64_t{next[lane]} << bits);
        }
        output[i] = load_lanes(Lanes{}, now);
        overlap[i] = load_lanes(Lanes{}, next);
    }
}

// As many subbands as there are lanes, from `subband` on.
template <class Lanes>
void transform_group(Mp3Channel *channel, uint32_t subband, const Mp3Windows &windows, uint32_t slot,
                     Mp3Loudness *loudness) {
    constexpr uint32_t kAllLanes = (1u << Lanes::kCount) - 1;
    Lanes x[kLines], overlap[kLines], output[kLines];
    load_columns<kLines>(channel->spectrum + size_t{subband} * kLines, kLines, x);
    for (uint32_t i = 0; i < kLines; ++i)
        overlap[i] = load_lanes(Lanes{}, &channel->overlap[i][subband]);
    const auto sums = sum_magnitudes<kLines>(x);
    const uint32_t loud = windows.lacking_bits != 0 ? kAllLanes : lanes_above(sums, kSafeLines);
    loudness->subbands |= loud << subband;
    loudness->sum += total_of(sums);
    const uint32_t affected = loud | (channel->loud_overlaps >> subband & kAllLanes);
    if (affected != 0) lower_loud(affected, x, overlap);
    if (windows.mixed && subband < 2)
        imdct_mixed(x, windows, subband, overlap, output);
    else
        imdct_block(x, windows, overlap, output);
    if (affected != 0)
        raise_loud(affected, kLoudShift + windows.lacking_bits, &channel->overlap[0][subband], overlap,
                   output);
    Mp3Slot *const samples = channel->samples() + slot;
    for (uint32_t i = 0; i < kLines; ++i) {
        // Frequency inversion: every second sample of every second subband.
        store_lanes(&samples[i][subband], i % 2 != 0 ? negate_odd(output[i], subband) : output[i]);
        store_lanes(&channel->overlap[i][subband], overlap[i]);
    }
}

template <class Lanes>
Mp3Loudness imdct(Mp3Channel *channel, const Mp3Windows &windows, uint32_t subbands, uint32_t slot) {
    Mp3Loudness loudness{};
    for (uint32_t subband = 0; subband < subbands; subband += Lanes::kCount)
        transform_group<Lanes>(channel, subband, windows, slot, &loudness);
    return loudness;
}

}  // namespace
}  // namespace quorv

#endif
