// The hybrid filter bank of Layer III; see the header.

#include "mp3dec/Mp3Hybrid.h"

#include <quorv/platform/memory.h>

#include "mp3dec/CosineTransforms.h"

namespace quorv {

namespace {

constexpr uint32_t kLines = 18;  // of a subband
constexpr uint32_t kButterflies = 8;

// Alias reduction at the lower edges of subbands 1 to edges.
void reduce_alias(int32_t *spectrum, uint32_t edges) {
    for (uint32_t edge = 1; edge <= edges; ++edge) {
        int32_t *const upper = spectrum + edge * kLines, *const lower = upper - 1;
        for (uint32_t i = 0; i < kButterflies; ++i) {
            const int64_t cs = mp3dec_csa[i][0], ca = mp3dec_csa[i][1];
            const int64_t a = *(lower - i), b = upper[i];
            *(lower - i) = static_cast<int32_t>((a * cs - b * ca + (1 << 30)) >> 31);
            upper[i] = static_cast<int32_t>((b * cs + a * ca + (1 << 30)) >> 31);
        }
    }
}

// The IMDCT's 36 outputs are the DCT-IV u of the lines, mirrored: u[9..17], -u[17..9], -u[8..0], -u[0..8].
template <class Lanes>
void imdct36(Lanes *x, const int32_t *window, Lanes *overlap, Lanes *output) {
    dct4<18>(x);
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

// Subbands without lines only give out what the granule before left.
void drain_overlap(Mp3Stores *stores, uint32_t channel, uint32_t first, uint32_t slot) {
    constexpr size_t kBytes = kLines * sizeof(int32_t);
    for (uint32_t sb = first; sb < kMp3Subbands; ++sb) {
        int32_t *const output = &stores->samples[channel][sb][slot];
        if (sb < stores->overlap_subbands[channel]) {
            MMemCpy(output, stores->overlap[channel][sb], kBytes);
            MMemSet(stores->overlap[channel][sb], 0, kBytes);
        } else {
            MMemSet(output, 0, kBytes);
        }
    }
}

// Every second sample of every second subband changes its sign.
void invert_frequency(Mp3Stores *stores, uint32_t channel, uint32_t subbands, uint32_t slot) {
    for (uint32_t sb = 1; sb < subbands; sb += 2) {
        int32_t *const output = &stores->samples[channel][sb][slot];
        for (uint32_t i = 1; i < kLines; i += 2)
            output[i] = wrap_sub(0, output[i]);
    }
}

}  // namespace

void mp3_imdct_subband(const int32_t *lines, uint32_t block_type, int32_t *overlap, int32_t *output) {
    Lane1 x[kLines], kept[kLines], out[kLines];
    MMemCpy(x, lines, sizeof x);
    MMemCpy(kept, overlap, sizeof kept);
    if (block_type == kMp3ShortBlocks)
        imdct12(x, imdctWindow[block_type], kept, out);
    else
        imdct36(x, imdctWindow[block_type], kept, out);
    MMemCpy(output, out, sizeof out);
    MMemCpy(overlap, kept, sizeof kept);
}

void mp3_imdct(Mp3Stores *stores, uint32_t channel, const Mp3Granule &granule, uint32_t count,
               uint32_t slot) {
    int32_t *const spectrum = stores->spectrum[channel];
    const bool mixed = mp3_is_mixed(granule);
    uint32_t subbands = (count + kLines - 1) / kLines;
    if (!mp3_is_short(granule) || mixed) {
        // The lowest edge above the lines spreads them into one more subband.
        const uint32_t edges = subbands < kMp3Subbands ? subbands : kMp3Subbands - 1;
        const uint32_t done = mp3_is_short(granule) && edges > 1 ? 1 : edges;
        reduce_alias(spectrum, done);
        if (subbands < done + 1 && done > 0) subbands = done + 1;
    }
    for (uint32_t sb = 0; sb < subbands; ++sb) {
        const uint32_t block_type = mixed && sb < 2 ? 0 : granule.block_type;
        mp3_imdct_subband(spectrum + sb * kLines, block_type, stores->overlap[channel][sb],
                          &stores->samples[channel][sb][slot]);
    }
    drain_overlap(stores, channel, subbands, slot);
    const uint32_t sounding =
        subbands > stores->overlap_subbands[channel] ? subbands : stores->overlap_subbands[channel];
    invert_frequency(stores, channel, sounding, slot);
    stores->overlap_subbands[channel] = subbands;
}

}  // namespace quorv
