// The hybrid filter bank of Layer III; see the header.

#include "mp3dec/Mp3Hybrid.h"

#include <string.h>

#include <algorithm>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/tables/TransformTables.h"

namespace quorv {

namespace {

constexpr uint32_t kLines = 18;  // of a subband

// A spectrum that lacks more bits is played so much lower. Put back, it would saturate in every subband, and
// without their proportions nothing cancels out between them.
constexpr int32_t kMaxLackingBits = 3;

void scale_window(const int32_t *window, int32_t extra_bits, int32_t *scaled) {
    for (uint32_t i = 0; i < 36; ++i)
        scaled[i] = window[i] >> std::max(extra_bits, 0);
}

Mp3Windows choose_windows(const Mp3Granule &granule, int32_t extra_bits) {
    Mp3Windows windows{};
    windows.is_short = granule.block_type == kMp3ShortBlocks;
    windows.mixed = mp3_is_mixed(granule);
    windows.large = extra_bits <= 0;
    windows.lacking_bits = std::clamp(-extra_bits, 0, kMaxLackingBits);
    scale_window(kImdctWindow[granule.block_type], extra_bits, windows.block);
    scale_window(kImdctWindow[0], extra_bits, windows.normal);
    return windows;
}

// Subbands without lines only give out what the granule before left.
void drain(Mp3Channel *channel, uint32_t first, uint32_t slot) {
    const uint32_t end = std::max(channel->overlap_subbands, first);
    for (uint32_t i = 0; i < kLines; ++i) {
        int32_t *overlap = channel->overlap[i], *samples = channel->samples()[slot + i];
        // Frequency inversion: every second sample of every second subband.
        const uint32_t inverted = i % 2;
        for (uint32_t sb = first; sb < end; ++sb)
            samples[sb] = (sb & inverted) != 0 ? wrap_sub(0, overlap[sb]) : overlap[sb];
        memset(overlap + first, 0, (end - first) * sizeof(*overlap));
        memset(samples + end, 0, (kMp3Subbands - end) * sizeof(*samples));
    }
}

// Bounds what the synthesis of these slots adds up: the subband samples of the granule and the overlap.
void note_loudness(Mp3Channel *channel, const Mp3Loudness &loudness, int32_t extra_bits) {
    uint32_t sum = kMp3SafeSum + 1;
    if (loudness.subbands == 0 && extra_bits >= 0) {
        // Each line was rounded down. The windows' factor is below 3/4.
        sum = ((loudness.sum + kMp3GranuleLines) * 3 / 4 >> extra_bits) + 1;
    }
    if (sum + channel->overlap_sum > kMp3SafeSum) channel->is_loud = true;
    channel->overlap_sum = sum;
}

}  // namespace

void mp3_imdct(const Mp3Kernels &kernels, Mp3Channel *channel, const Mp3Granule &granule, Mp3Extent extent,
               uint32_t slot) {
    uint32_t subbands = (extent.count + kLines - 1) / kLines;
    const bool is_short = mp3_is_short(granule);
    if (subbands > 0 && (!is_short || mp3_is_mixed(granule))) {
        // The edge above the highest lines spreads them into one more subband.
        uint32_t edges = std::min(subbands, kMp3Subbands - 1);
        if (is_short) edges = 1;
        kernels.reduce_alias(channel->spectrum, edges);
        if (subbands <= edges) subbands = edges + 1;
    }
    // The last lanes may reach beyond the subbands with lines.
    const uint32_t transformed = (subbands + kernels.lanes - 1) / kernels.lanes * kernels.lanes;
    const Mp3Windows windows = choose_windows(granule, extent.extra_bits);
    const Mp3Loudness loudness = kernels.imdct(channel, windows, transformed, slot);
    drain(channel, transformed, slot);
    channel->overlap_subbands = transformed;
    channel->loud_overlaps = loudness.subbands & static_cast<uint32_t>((uint64_t{1} << subbands) - 1);
    note_loudness(channel, loudness, extent.extra_bits);
}

}  // namespace quorv
