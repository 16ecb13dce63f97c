// Requantisation of Layer III; see the header.

#include "mp3dec/Mp3Requantize.h"

#include <string.h>

#include <algorithm>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3Channel.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/tables/RequantizeTables.h"
#include "mp3dec/tables/ScaleFactorBands.h"

namespace quorv {

namespace {

constexpr int kSmallBits = 25;      // fractional bits of mp3dec_pow43_14
constexpr uint32_t kDirect = 1028;  // magnitudes below come from mp3dec_pow43

constexpr uint32_t kMaxMagnitude = (1u << 30) - 1;  // the largest result

constexpr int32_t kUnity = 208;  // global_gain of a factor of 1, sqrt(2) included
constexpr int32_t kMiddleSideSteps = 2;
constexpr uint8_t kPretab[kMp3LongBands] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 3, 3, 3, 2, 0};

// magnitude^(4/3) in units of 2^-bits. Above the table's range it is interpolated between eighths: the power
// of 8 is 16, and a parabola through three points is within 2^-26 of the value.
uint32_t power43(uint32_t magnitude, int *bits) {
    if (magnitude < kDirect) {
        *bits = magnitude < 128 ? 21 : 17;
        return static_cast<uint32_t>(mp3dec_pow43[magnitude]);
    }
    *bits = 13;
    const uint32_t eighth = (magnitude + 4) / 8;
    const int32_t t = static_cast<int32_t>(magnitude) - static_cast<int32_t>(8 * eighth);
    const int32_t *at = &mp3dec_pow43[eighth];
    const int32_t slope = at[1] - at[-1], bend = (at[1] - at[0]) - (at[0] - at[-1]);
    return static_cast<uint32_t>(at[0] + (t * (8 * slope + t * bend) + 64) / 128);
}

// value * 2^-shift, rounded, for a shift above 32: the lower half does not matter.
uint32_t round_upper_half(uint64_t value, int shift) {
    const uint32_t upper = static_cast<uint32_t>(value >> 32);
    return (upper + (1u << (shift - 33))) >> (shift - 32);
}

// Any magnitude, any exponent.
uint32_t requantize_magnitude(uint32_t magnitude, int32_t exponent) {
    int bits = 0;
    const uint64_t product = uint64_t{power43(magnitude, &bits)} * mp3dec_pow14[exponent & 3];
    const int shift = 31 + bits - kSpectrumBits + (exponent >> 2);
    if (magnitude == 0 || shift > 63) return 0;
    if (shift > 32) return round_upper_half(product, shift);
    if (shift <= 0) return kMaxMagnitude;
    const uint64_t rounded = (product + (uint64_t{1} << (shift - 1))) >> shift;
    return static_cast<uint32_t>(std::min<uint64_t>(rounded, kMaxMagnitude));
}

// Exponents count attenuation in quarters of a bit. This one does not include the scale factors, which
// attenuate further.
int32_t base_exponent(const Mp3FrameHeader &header, const Mp3Granule &granule) {
    return kUnity - granule.global_gain + (mp3_has_middle_side(header) ? kMiddleSideSteps : 0);
}

// By the width in bits of the largest coded magnitude: the exponent that puts its line below 2.0, which
// leaves room for a sum of two channels and for the transforms, but at least one with a bit left to shift in
// mp3_requantize_band().
constexpr uint8_t kRoom[15] = {12, 12, 12, 12, 17, 23, 28, 34, 39, 44, 50, 55, 60, 66, 66};

constexpr int32_t kSpareBits = 1;  // that kRoom leaves beyond kMp3LineHeadroom

// Goes through a spectrum band by band.
struct Bands {
    const Mp3Kernels &kernels;
    const Mp3ScaleFactors &factors;
    int32_t base;   // the exponent without scale factors
    int32_t shift;  // of scale factors
    int32_t *lines;
    uint32_t coded;
    const Mp3LargeValue *large, *large_end;  // those that are still to come
};

// The next band of one window, from `start` up to `end`.
void next_band(Bands *bands, uint32_t start, uint32_t end, int32_t exponent) {
    mp3_requantize_band(bands->kernels, bands->lines + start, end - start, exponent);
    for (; bands->large != bands->large_end && bands->large->line < end; ++bands->large)
        bands->lines[bands->large->line] = mp3_requantize_value(bands->large->value, exponent);
}

// Interleaves the three windows of a short band.
void interleave(int32_t *lines, uint32_t width) {
    constexpr uint32_t kMaxLines = 3 * 66;
    int32_t windows[kMaxLines];
    memcpy(windows, lines, size_t{3} * width * sizeof(*lines));
    for (uint32_t k = 0; k < width; ++k) {
        for (uint32_t w = 0; w < 3; ++w)
            lines[3 * k + w] = windows[size_t{w} * width + k];
    }
}

void requantize_long_bands(const uint16_t *boundaries, uint32_t count, Bands *bands) {
    const Mp3ScaleFactors &factors = bands->factors;
    for (uint32_t band = 0; band < count && boundaries[band] < bands->coded; ++band) {
        const int32_t factor = factors.long_bands[band] + (factors.preflag ? kPretab[band] : 0);
        next_band(bands, boundaries[band], boundaries[band + 1], bands->base + (factor << bands->shift));
    }
}

// Returns the end of the last band, over which interleaving spreads its lines.
uint32_t requantize_short_bands(const uint16_t *boundaries, uint32_t first, const uint8_t gains[3],
                                Bands *bands) {
    uint32_t end = bands->coded;
    for (uint32_t band = first; band < kMp3ShortBands && 3u * boundaries[band] < bands->coded; ++band) {
        const uint32_t start = 3u * boundaries[band], width = (3u * boundaries[band + 1] - start) / 3;
        for (uint32_t w = 0; w < 3; ++w) {
            const int32_t factor = bands->factors.short_bands[band][w] << bands->shift;
            next_band(bands, start + w * width, start + (w + 1) * width, bands->base + 8 * gains[w] + factor);
        }
        interleave(bands->lines + start, width);
        end = start + 3 * width;
    }
    return end;
}

}  // namespace

int32_t mp3_requantize_value(int32_t value, int32_t exponent) {
    const bool negative = value < 0;
    const uint32_t magnitude = negative ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    const auto result = static_cast<int32_t>(requantize_magnitude(magnitude, exponent));
    return negative ? -result : result;
}

void mp3_requantize_band(const Mp3Kernels &kernels, int32_t *lines, uint32_t count, int32_t exponent) {
    const int shift = kSmallBits - kSpectrumBits + (exponent >> 2);
    // Without a shift even small values may become too large; what is rounded must not wrap.
    if (shift >= 1 && shift <= 30) {
        kernels.requantize(lines, count, &mp3dec_pow43_14[exponent & 3][kMp3SmallValue], shift);
        return;
    }
    for (uint32_t i = 0; i < count; ++i)
        lines[i] = mp3_requantize_value(lines[i], exponent);
}

int32_t mp3_extra_bits(const Mp3FrameHeader &header, const Mp3Granule &granule, const Mp3Spectrum &spectrum) {
    const int width = 32 - __builtin_clz(spectrum.magnitudes | 1);
    const int32_t steps = base_exponent(header, granule) - kRoom[width];
    if (steps >= 0) return std::min(steps / 4, kMaxExtraBits);
    return steps >= -4 * kSpareBits ? 0 : -1;
}

void mp3_requantize(const Mp3Kernels &kernels, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    const Mp3ScaleFactors &factors, int32_t extra_bits, Mp3Spectrum *spectrum) {
    Bands bands = {kernels,
                   factors,
                   base_exponent(header, granule) - 4 * extra_bits,
                   (granule.flags & kMp3ScaleFactorScale) != 0 ? 2 : 1,
                   spectrum->lines,
                   spectrum->coded,
                   spectrum->large,
                   spectrum->large + spectrum->large_count};
    const uint16_t *long_bands = header.scale_factor_bands;
    const uint16_t *short_bands = long_bands + kMp3LongBoundaries;
    const bool is_short = mp3_is_short(granule), mixed = is_short && mp3_is_mixed(granule);
    requantize_long_bands(long_bands,
                          !is_short ? kMp3LongBands
                          : mixed   ? mp3_mixed_long_bands(header)
                                    : 0,
                          &bands);
    spectrum->count = spectrum->coded;
    if (is_short)
        spectrum->count = requantize_short_bands(short_bands, mixed ? kMp3MixedFirstShortBand : 0,
                                                 granule.subblock_gain, &bands);
}

int32_t mp3_headroom(const Mp3Spectrum &spectrum) {
    uint32_t all = 0;
    for (uint32_t i = 0; i < spectrum.count; ++i)
        all |= static_cast<uint32_t>(spectrum.lines[i] ^ spectrum.lines[i] >> 31);
    return all == 0 ? 31 : __builtin_clz(all) - 1;
}

}  // namespace quorv
