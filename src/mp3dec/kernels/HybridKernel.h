// Alias reduction and IMDCT of Layer III for any number of lanes: subbands side by side.
#ifndef QUORV_SRC_MP3DEC_KERNELS_HYBRIDKERNEL_H
#define QUORV_SRC_MP3DEC_KERNELS_HYBRIDKERNEL_H

#include <type_traits>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/kernels/CosineTransforms.h"
#include "mp3dec/kernels/Mp3Kernels.h"

namespace quorv {
namespace {

inline constexpr uint32_t kLines = 18;  // of a subband

// Lanes are lines at growing distances from an edge.
template <class Lanes>
void reduce_alias(int32_t *spectrum, uint32_t edges) {
    constexpr uint32_t kButterflies = 8;
    for (uint32_t edge = 1; edge <= edges; ++edge) {
        int32_t *upper = spectrum + size_t{edge} * kLines;
        for (uint32_t i = 0; i < kButterflies; i += Lanes::kCount) {
            int32_t *lower = upper - i - Lanes::kCount;
            const Lanes a = reverse(load_lanes(Lanes{}, lower)), b = load_lanes(Lanes{}, upper + i);
            Lanes p, q;
            rotate(a, b, load_lanes(Lanes{}, mp3dec_cs + i), load_lanes(Lanes{}, mp3dec_ca + i), &p, &q);
            store_lanes(lower, reverse(p));
            store_lanes(upper + i, -q);
        }
    }
}

// Where a group of subbands is: rows of slots, kMp3Subbands apart.
struct Places {
    int32_t *overlap;
    int32_t *samples;
};

// How single lanes are transformed: whether windows have factors of a half and more, and whether the subband
// is odd. Several lanes do not care for the former and have both kinds of subbands.
template <bool large_windows, bool odd_subband>
struct Style {
    static constexpr bool kLarge = large_windows;
    static constexpr bool kOdd = odd_subband;
};

// Frequency inversion: every second sample of every second subband.
template <class Style, class Lanes>
inline void put_sample(const Places &places, size_t slot, Lanes sample) {
    if (slot % 2 != 0) {
        if constexpr (Lanes::kCount > 1)
            sample = negate_odd(sample);
        else if constexpr (Style::kOdd)
            sample = -sample;
    }
    store_lanes(places.samples + slot * kMp3Subbands, sample);
}

// The IMDCT's 36 outputs are the DCT-IV u of the lines, mirrored: u[9..17], -u[17..9], -u[8..0], -u[0..8]. In
// the middle of a window factors are large.
template <class Style, class Lanes>
inline void imdct36(Lanes *x, const int32_t *window, const Places &places) {
    dct4<18>(x);
#pragma GCC unroll 9
    for (size_t i = 0; i < 9; ++i) {
        int32_t *rising = places.overlap + i * kMp3Subbands;
        int32_t *falling = places.overlap + (17 - i) * kMp3Subbands;
        const Lanes first = x[9 + i], second = x[8 - i];
        put_sample<Style>(
            places, i,
            add_windowed(std::bool_constant<false>{}, load_lanes(Lanes{}, rising), first, window[i]));
        put_sample<Style>(places, 17 - i,
                          subtract_windowed(std::bool_constant<Style::kLarge>{}, load_lanes(Lanes{}, falling),
                                            first, window[17 - i]));
        store_lanes(rising,
                    subtract_windowed(std::bool_constant<Style::kLarge>{}, Lanes{}, second, window[18 + i]));
        store_lanes(falling, subtract_windowed(std::bool_constant<false>{}, Lanes{}, second, window[35 - i]));
    }
}

// The same of 12 outputs, three times, each 6 samples later than the one before.
template <class Style, class Lanes>
inline void imdct12(const Lanes *x, const int32_t *window, const Places &places) {
    Lanes sum[36] = {};
    for (size_t w = 0; w < 3; ++w) {
        Lanes u[6];
        for (size_t k = 0; k < 6; ++k)
            u[k] = x[3 * k + w];
        dct4<6>(u);
        Lanes *at = sum + 6 + 6 * w;
        for (size_t i = 0; i < 3; ++i) {
            at[i] = add_windowed(std::bool_constant<false>{}, at[i], u[3 + i], window[i]);
            at[5 - i] =
                subtract_windowed(std::bool_constant<Style::kLarge>{}, at[5 - i], u[3 + i], window[5 - i]);
            at[6 + i] =
                subtract_windowed(std::bool_constant<Style::kLarge>{}, at[6 + i], u[2 - i], window[6 + i]);
            at[11 - i] = subtract_windowed(std::bool_constant<false>{}, at[11 - i], u[2 - i], window[11 - i]);
        }
    }
    for (size_t i = 0; i < kLines; ++i) {
        int32_t *overlap = places.overlap + i * kMp3Subbands;
        put_sample<Style>(places, i, load_lanes(Lanes{}, overlap) + sum[i]);
        store_lanes(overlap, sum[kLines + i]);
    }
}

template <class Style, class Lanes>
[[gnu::noinline]] void imdct_block(Lanes *x, bool is_short, const int32_t *window, const Places &places) {
    if (is_short)
        imdct12<Style>(x, window, places);
    else
        imdct36<Style>(x, window, places);
}

template <class Lanes>
inline void imdct_lanes(Lanes *x, bool is_short, const int32_t *window, const Places &places, bool large,
                        uint32_t subband) {
    if constexpr (Lanes::kCount > 1) {
        imdct_block<Style<false, false>>(x, is_short, window, places);
    } else if (large) {
        if (subband % 2 != 0)
            imdct_block<Style<true, true>>(x, is_short, window, places);
        else
            imdct_block<Style<true, false>>(x, is_short, window, places);
    } else {
        if (subband % 2 != 0)
            imdct_block<Style<false, true>>(x, is_short, window, places);
        else
            imdct_block<Style<false, false>>(x, is_short, window, places);
    }
}

// Rows of a group.
template <uint32_t lanes>
struct Rows {
    int32_t values[kLines][lanes];

    void load(const int32_t *from) {
        for (uint32_t i = 0; i < kLines; ++i) {
            for (uint32_t lane = 0; lane < lanes; ++lane)
                values[i][lane] = from[i * kMp3Subbands + lane];
        }
    }

    void store(int32_t *to) const {
        for (uint32_t i = 0; i < kLines; ++i) {
            for (uint32_t lane = 0; lane < lanes; ++lane)
                to[i * kMp3Subbands + lane] = values[i][lane];
        }
    }
};

// The two lowest subbands of a mixed block have the normal window: several lanes are transformed twice.
template <class Lanes>
[[gnu::cold, gnu::noinline]] void imdct_mixed(Lanes *x, const Mp3Windows &windows, const Places &places,
                                              uint32_t subband) {
    if constexpr (Lanes::kCount > 2) {
        Lanes lines[kLines];
        for (uint32_t i = 0; i < kLines; ++i)
            lines[i] = x[i];
        Rows<Lanes::kCount> before;
        Rows<2> overlap, samples;
        before.load(places.overlap);
        imdct_lanes(lines, false, windows.normal, places, windows.large, subband);
        overlap.load(places.overlap);
        samples.load(places.samples);
        before.store(places.overlap);
        imdct_lanes(x, windows.is_short, windows.block, places, windows.large, subband);
        overlap.store(places.overlap);
        samples.store(places.samples);
    } else {
        imdct_lanes(x, false, windows.normal, places, windows.large, subband);
    }
}

// A subband with lines whose magnitudes add up to no more, in units of 2^16, stays within 32 bits together
// with an overlap of that kind: windows have a factor of 1/sqrt(2).
inline constexpr uint32_t kSafeLines = 23150;
inline constexpr int kLoudShift =
    4;  // makes any lines below 2^30.5 safe, which is what alias reduction leaves

template <class Lanes>
void imdct_group(Lanes *x, const Mp3Windows &windows, const Places &places, uint32_t subband) {
    if (windows.mixed && subband < 2)
        imdct_mixed(x, windows, places, subband);
    else
        imdct_lanes(x, windows.is_short, windows.block, places, windows.large, subband);
}

// Subbands of a group that may need more than 32 bits: their lines are turned down, and their overlap is left
// out until everything is turned up again.
template <class Lanes>
[[gnu::cold, gnu::noinline]] void imdct_loud(Lanes *x, uint32_t loud, const Mp3Windows &windows,
                                             const Places &places, uint32_t subband) {
    Rows<Lanes::kCount> before;
    before.load(places.overlap);
    for (uint32_t i = 0; i < kLines; ++i) {
        int32_t line[Lanes::kCount];
        store_lanes(line, x[i]);
        for (uint32_t lane = 0; lane < Lanes::kCount; ++lane) {
            if ((loud >> lane & 1) == 0) continue;
            line[lane] = mul_shift<kLoudShift>(line[lane], 1);
            places.overlap[size_t{i} * kMp3Subbands + lane] = 0;
        }
        x[i] = load_lanes(Lanes{}, line);
    }
    imdct_group(x, windows, places, subband);
    const int bits = kLoudShift + windows.lacking_bits;
    for (uint32_t i = 0; i < kLines; ++i) {
        for (uint32_t lane = 0; lane < Lanes::kCount; ++lane) {
            if ((loud >> lane & 1) == 0) continue;
            const bool inverted = (i & (subband + lane) & 1) != 0;
            int32_t *now = places.samples + size_t{i} * kMp3Subbands + lane;
            int32_t *next = places.overlap + size_t{i} * kMp3Subbands + lane;
            const int64_t old = inverted ? -int64_t{before.values[i][lane]} : before.values[i][lane];
            *now = saturate(old + (int64_t{*now} << bits));
            *next = saturate(int64_t{*next} << bits);
        }
    }
}

// As many subbands as there are lanes, from `subband` on.
template <class Lanes>
void transform_group(Mp3Channel *channel, uint32_t subband, const Mp3Windows &windows, uint32_t slot,
                     Mp3Loudness *loudness) {
    constexpr uint32_t kAllLanes = (1u << Lanes::kCount) - 1;
    const Places places{&channel->overlap[0][subband], &channel->samples()[slot][subband]};
    Lanes x[kLines];
    load_columns<kLines>(channel->spectrum + size_t{subband} * kLines, kLines, x);
    const auto sums = sum_magnitudes<kLines>(x);
    const uint32_t loud = windows.lacking_bits != 0 ? kAllLanes : lanes_above(sums, kSafeLines);
    loudness->subbands |= loud << subband;
    loudness->sum += total_of(sums);
    const uint32_t affected = loud | (channel->loud_overlaps >> subband & kAllLanes);
    if (affected != 0)
        imdct_loud(x, affected, windows, places, subband);
    else
        imdct_group(x, windows, places, subband);
}

// Makes the factors what add_windowed() takes, those from `rising` on what subtract_windowed() does.
template <class Lanes>
inline void prepare_window(Lanes kind, uint32_t rising, int32_t *window) {
    for (uint32_t i = 0; i < 36; ++i)
        window[i] = i < rising ? added_factor(kind, window[i]) : subtracted_factor(kind, window[i]);
}

template <class Lanes>
Mp3Loudness imdct(Mp3Channel *channel, const Mp3Windows &windows, uint32_t subbands, uint32_t slot) {
    Mp3Windows own = windows;
    prepare_window(Lanes{}, 9, own.normal);
    prepare_window(Lanes{}, windows.is_short ? 3 : 9, own.block);
    Mp3Loudness loudness{};
    for (uint32_t subband = 0; subband < subbands; subband += Lanes::kCount)
        transform_group<Lanes>(channel, subband, own, slot, &loudness);
    return loudness;
}

}  // namespace
}  // namespace quorv

#endif
