// The hybrid filter bank of Layer III; see the header.

#include "mp3dec/Mp3Hybrid.h"

#include <quorv/platform/memory.h>

#include "mp3dec/CosineTransforms.h"
#include "mp3dec/FixedPoint.h"
#include "mp3dec/Lanes.h"

namespace quorv {

namespace {

constexpr uint32_t kLines = 18;  // of a subband
constexpr uint32_t kButterflies = 8;

// Alias reduction at the lower edges of subbands 1 to `edges`: rotates lines at equal distances from an edge.
void reduce_alias(int32_t *spectrum, uint32_t edges) {
    for (uint32_t edge = 1; edge <= edges; ++edge) {
        int32_t *const upper = spectrum + size_t{edge} * kLines;
        for (uint32_t i = 0; i < kButterflies; i += Lanes::kCount) {
            int32_t *const lower = upper - i - Lanes::kCount;
            const Lanes a = reverse(load_lanes(lower)), b = load_lanes(upper + i);
            Lanes p, q;
            rotate(a, b, load_lanes(mp3dec_cs + i), load_lanes(mp3dec_ca + i), &p, &q);
            store_lanes(lower, reverse(p));
            store_lanes(upper + i, -q);
        }
    }
}

// The IMDCT's 36 outputs are the DCT-IV u of the lines, mirrored: u[9..17], -u[17..9], -u[8..0], -u[0..8].
template <class Lanes>
void imdct36(Lanes *x, const int32_t *window, Lanes *overlap, Lanes *output) {
    dct4<18>(x);
#pragma GCC unroll 9
    for (uint32_t i = 0; i < 9; ++i) {
        const Lanes first = x[9 + i], second = x[8 - i];
        output[i] = overlap[i] + mul(first, window[i]);
        output[17 - i] = overlap[17 - i] - mul(first, window[17 - i]);
        overlap[i] = -mul(second, window[18 + i]);
        overlap[17 - i] = -mul(second, window[35 - i]);
    }
}

// The same of 12 outputs, three times, each 6 samples later than the one before.
template <class Lanes>
void imdct12(const Lanes *x, const int32_t *window, Lanes *overlap, Lanes *output) {
    Lanes sum[36] = {};
    for (uint32_t w = 0; w < 3; ++w) {
        Lanes u[6];
        for (uint32_t k = 0; k < 6; ++k)
            u[k] = x[3 * k + w];
        dct4<6>(u);
        Lanes *const at = sum + 6 + 6 * w;
        for (uint32_t i = 0; i < 3; ++i) {
            at[i] = at[i] + mul(u[3 + i], window[i]);
            at[5 - i] = at[5 - i] - mul(u[3 + i], window[5 - i]);
            at[6 + i] = at[6 + i] - mul(u[2 - i], window[6 + i]);
            at[11 - i] = at[11 - i] - mul(u[2 - i], window[11 - i]);
        }
    }
    for (uint32_t i = 0; i < kLines; ++i) {
        output[i] = overlap[i] + sum[i];
        overlap[i] = sum[kLines + i];
    }
}

// A subband with lines whose magnitudes add up to no more, in units of 2^16, stays within 32 bits together
// with an overlap of that kind: windows have a factor of 1/sqrt(2).
constexpr uint32_t kSafeSum = 23150;
constexpr int kLoudShift = 4;  // makes any lines below 2^30.5 safe, which is what alias reduction leaves

// A spectrum that lacks more bits is played so much lower. Put back, it would saturate in every subband, and
// without their proportions nothing cancels out between them.
constexpr int32_t kMaxLackingBits = 3;

// The windows that a granule uses, scaled to take off the extra bits of its spectrum. Bits that it lacks are
// put back by shifting what comes out.
struct Windows {
    int32_t normal[36];
    int32_t block[36];
    uint32_t block_type;
    bool mixed;
    int lacking_bits;
};

void scale_window(const int32_t *window, int32_t extra_bits, int32_t *scaled) {
    for (uint32_t i = 0; i < 36; ++i)
        scaled[i] = window[i] >> (extra_bits > 0 ? extra_bits : 0);
}

void imdct(Lanes x[kLines], const Windows &windows, Lanes overlap[kLines], Lanes output[kLines]) {
    if (windows.block_type == kMp3ShortBlocks)
        imdct12(x, windows.block, overlap, output);
    else
        imdct36(x, windows.block, overlap, output);
}

// The two lowest subbands of a mixed block have the normal window.
void imdct_mixed(const Lanes x[kLines], const Windows &windows, uint32_t group, Lanes overlap[kLines],
                 Lanes output[kLines]) {
    Lanes lines[kLines], normal_overlap[kLines], normal_output[kLines];
    for (uint32_t i = 0; i < kLines; ++i) {
        lines[i] = x[i];
        normal_overlap[i] = overlap[i];
    }
    imdct36(lines, windows.normal, normal_overlap, normal_output);
    for (uint32_t i = 0; i < kLines; ++i)
        lines[i] = x[i];
    imdct(lines, windows, overlap, output);
    for (uint32_t i = 0; i < kLines; ++i) {
        overlap[i] = first_two(normal_overlap[i], overlap[i], group);
        output[i] = first_two(normal_output[i], output[i], group);
    }
}

// Subbands of a group that may need more than 32 bits: their lines are turned down, and their overlap is left
// out until everything is turned up again.
void lower_loud(uint32_t loud, Lanes x[kLines], Lanes overlap[kLines]) {
    for (uint32_t i = 0; i < kLines; ++i) {
        int32_t line[Lanes::kCount], left[Lanes::kCount];
        store_lanes(line, x[i]);
        store_lanes(left, overlap[i]);
        for (uint32_t lane = 0; lane < Lanes::kCount; ++lane) {
            if ((loud >> lane & 1) == 0) continue;
            line[lane] = mul_shift<kLoudShift>(line[lane], 1);
            left[lane] = 0;
        }
        x[i] = load_lanes(line);
        overlap[i] = load_lanes(left);
    }
}

void raise_loud(uint32_t loud, int bits, const int32_t (*before)[Lanes::kCount], Lanes overlap[kLines],
                Lanes output[kLines]) {
    for (uint32_t i = 0; i < kLines; ++i) {
        int32_t now[Lanes::kCount], next[Lanes::kCount];
        store_lanes(now, output[i]);
        store_lanes(next, overlap[i]);
        for (uint32_t lane = 0; lane < Lanes::kCount; ++lane) {
            if ((loud >> lane & 1) == 0) continue;
            now[lane] = saturate(before[i][lane] + (int64_t{now[lane]} << bits));
            next[lane] = saturate(int64_t{next[lane]} << bits);
        }
        output[i] = load_lanes(now);
        overlap[i] = load_lanes(next);
    }
}

// What the groups tell of a granule.
struct Loudness {
    uint32_t subbands;  // a bit for each that may need more than 32 bits
    uint32_t sum;       // of the magnitudes of all lines, in units of 2^16
};

// One group of subbands.
void transform_group(Mp3Stores *stores, uint32_t channel, uint32_t group, const Windows &windows,
                     uint32_t slot, Loudness *loudness) {
    constexpr uint32_t kAllLanes = (1u << Lanes::kCount) - 1;
    const uint32_t subband = group * Lanes::kCount;
    int32_t(*const overlap)[Lanes::kCount] = stores->overlap[channel][group];
    Lanes x[kLines], kept[kLines], output[kLines];
    load_columns<kLines>(stores->spectrum[channel] + size_t{subband} * kLines, kLines, x);
    for (uint32_t i = 0; i < kLines; ++i)
        kept[i] = load_lanes(overlap[i]);
    const auto sums = sum_magnitudes<kLines>(x);
    const uint32_t loud = windows.lacking_bits != 0 ? kAllLanes : lanes_above(sums, kSafeSum);
    loudness->subbands |= loud << subband;
    loudness->sum += total_of(sums);
    const uint32_t affected = loud | (stores->loud_overlaps[channel] >> subband & kAllLanes);
    if (affected != 0) lower_loud(affected, x, kept);
    if (windows.mixed && subband < 2)
        imdct_mixed(x, windows, group, kept, output);
    else
        imdct(x, windows, kept, output);
    if (affected != 0) raise_loud(affected, kLoudShift + windows.lacking_bits, overlap, kept, output);
    // Frequency inversion: every second sample of every second subband.
    for (uint32_t i = 1; i < kLines; i += 2)
        output[i] = negate_odd(output[i], subband);
    store_columns<kLines>(output, &stores->samples[channel][subband][slot], kMp3MaxSlots);
    for (uint32_t i = 0; i < kLines; ++i)
        store_lanes(overlap[i], kept[i]);
}

// Groups without lines only give out what the granule before left.
void drain_group(Mp3Stores *stores, uint32_t channel, uint32_t group, uint32_t slot) {
    const uint32_t subband = group * Lanes::kCount;
    Lanes output[kLines];
    for (uint32_t i = 0; i < kLines; ++i) {
        output[i] = load_lanes(stores->overlap[channel][group][i]);
        if (i % 2 != 0) output[i] = negate_odd(output[i], subband);
    }
    store_columns<kLines>(output, &stores->samples[channel][subband][slot], kMp3MaxSlots);
    MMemSet(stores->overlap[channel][group], 0, sizeof stores->overlap[channel][group]);
}

void clear_subbands(Mp3Stores *stores, uint32_t channel, uint32_t first, uint32_t slot) {
    for (uint32_t sb = first; sb < kMp3Subbands; ++sb)
        MMemSet(&stores->samples[channel][sb][slot], 0, kLines * sizeof(int32_t));
}

// Bounds what the synthesis of these slots adds up: the subband samples of the granule and the overlap.
void note_loudness(Mp3Stores *stores, uint32_t channel, const Loudness &loudness, int32_t extra_bits) {
    uint32_t sum = kMp3SafeSum + 1;
    if (loudness.subbands == 0 && extra_bits >= 0) {
        // Each line was rounded down. The windows' factor is below 3/4.
        sum = ((loudness.sum + kMp3GranuleLines) * 3 / 4 >> extra_bits) + 1;
    }
    if (sum + stores->overlap_sum[channel] > kMp3SafeSum) stores->is_loud[channel] = 1;
    stores->overlap_sum[channel] = sum;
}

}  // namespace

void mp3_imdct(Mp3Stores *stores, uint32_t channel, const Mp3Granule &granule, Mp3Extent extent,
               uint32_t slot) {
    uint32_t subbands = (extent.count + kLines - 1) / kLines;
    const bool is_short = mp3_is_short(granule);
    if (subbands > 0 && (!is_short || mp3_is_mixed(granule))) {
        // The edge above the highest lines spreads them into one more subband.
        uint32_t edges = subbands < kMp3Subbands ? subbands : kMp3Subbands - 1;
        if (is_short) edges = 1;
        reduce_alias(stores->spectrum[channel], edges);
        if (subbands <= edges) subbands = edges + 1;
    }
    const uint32_t groups = (subbands + Lanes::kCount - 1) / Lanes::kCount;
    Windows windows;
    windows.block_type = granule.block_type;
    windows.mixed = mp3_is_mixed(granule);
    const int32_t lacking = extent.extra_bits < 0 ? -extent.extra_bits : 0;
    windows.lacking_bits = lacking < kMaxLackingBits ? lacking : kMaxLackingBits;
    scale_window(imdctWindow[granule.block_type], extent.extra_bits, windows.block);
    if (windows.mixed) scale_window(imdctWindow[0], extent.extra_bits, windows.normal);
    Loudness loudness = {};
    for (uint32_t group = 0; group < groups; ++group)
        transform_group(stores, channel, group, windows, slot, &loudness);
    for (uint32_t group = groups; group < stores->overlap_groups[channel]; ++group)
        drain_group(stores, channel, group, slot);
    const uint32_t sounding =
        groups > stores->overlap_groups[channel] ? groups : stores->overlap_groups[channel];
    clear_subbands(stores, channel, sounding * Lanes::kCount, slot);
    stores->overlap_groups[channel] = groups;
    // The last group may reach beyond the subbands with lines.
    stores->loud_overlaps[channel] = loudness.subbands & static_cast<uint32_t>((uint64_t{1} << subbands) - 1);
    note_loudness(stores, channel, loudness, extent.extra_bits);
}

}  // namespace quorv
