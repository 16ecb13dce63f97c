// Requantisation of Layer III; see the header.

#include "mp3dec/Mp3Requantize.h"

#include <quorv/platform/memory.h>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3Channel.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/tables/RequantizeTables.h"
#include "mp3dec/tables/ScaleFactorBands.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quorv {

namespace {

constexpr uint32_t kSmall = 16;  // magnitudes below come from mp3dec_pow43_14
constexpr int kSmallBits = 25;
constexpr uint32_t kDirect = 1028;  // magnitudes below come from mp3dec_pow43

constexpr uint64_t kMaxMagnitude = (1u << 30) - 1;  // the largest result

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
    const int32_t *const at = &mp3dec_pow43[eighth];
    const int32_t slope = at[1] - at[-1], bend = (at[1] - at[0]) - (at[0] - at[-1]);
    return static_cast<uint32_t>(at[0] + (t * (8 * slope + t * bend) + 64) / 128);
}

uint32_t limit(uint64_t value) {
    return static_cast<uint32_t>(value < kMaxMagnitude ? value : kMaxMagnitude);
}

// Any magnitude, any exponent.
uint32_t dequant_large(uint32_t magnitude, int32_t exponent) {
    int bits = 0;
    const uint64_t product = uint64_t{power43(magnitude, &bits)} * mp3dec_pow14[exponent & 3];
    const int shift = 31 + bits - kSpectrumBits + (exponent >> 2);
    if (magnitude == 0 || shift > 63) return 0;
    if (shift <= 0) return kMaxMagnitude;
    return limit((product + (uint64_t{1} << (shift - 1))) >> shift);
}

// One line, sign and magnitude to signed.
int32_t with_sign(uint32_t magnitude, int32_t raw) {
    const uint32_t mask = static_cast<uint32_t>(raw >> 31);
    return static_cast<int32_t>((magnitude ^ mask) - mask);
}

// Requantises the three windows of a short band and interleaves them.
void dequant_short_band(int32_t *lines, uint32_t width, const int32_t exponents[3], uint32_t nonzero[3]) {
    constexpr uint32_t kMaxWidth = 66;
    int32_t windows[3][kMaxWidth];
    for (uint32_t w = 0; w < 3; ++w) {
        int32_t *const window = lines + size_t{w} * width;
        nonzero[w] = dequant(window, width, exponents[w]);
        MMemCpy(windows[w], window, width * sizeof *lines);
    }
    for (uint32_t k = 0; k < width; ++k) {
        for (uint32_t w = 0; w < 3; ++w)
            lines[3 * k + w] = windows[w][k];
    }
}

// Exponents count attenuation in quarters of a bit. This one does not include the scale factors, which
// attenuate further.
int32_t base_exponent(const Mp3FrameHeader &header, const Mp3Granule &granule) {
    return kUnity - granule.global_gain + (mp3_has_middle_side(header) ? kMiddleSideSteps : 0);
}

// By the width of the largest magnitude in bits: the exponent that puts it below 2.0, which leaves room for a
// sum of two channels and for the transforms, but at least one with a bit left to shift in dequant().
constexpr uint8_t kRoom[15] = {12, 12, 12, 12, 17, 23, 28, 34, 39, 44, 50, 55, 60, 66, 66};

constexpr int32_t kSpareBits = 1;  // that kRoom leaves beyond kMp3LineHeadroom

// Bits of the largest magnitude.
uint32_t magnitude_width(const Mp3Spectrum &spectrum) {
    // Sixteen at a time, for vector units; what follows the last line is zero.
    uint32_t any[16] = {}, all = 0;
    for (uint32_t i = 0; i < spectrum.count; i += 16) {
        for (uint32_t k = 0; k < 16; ++k)
            any[k] |= static_cast<uint32_t>(spectrum.lines[i + k]);
    }
    for (const uint32_t bits : any)
        all |= bits & INT32_MAX;
    return all == 0 ? 0 : 32 - static_cast<uint32_t>(__builtin_clz(all));
}

// Lines of any exponent.
uint32_t dequant_any(int32_t *lines, uint32_t count, int32_t exponent) {
    uint32_t any = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t magnitude = dequant_large(static_cast<uint32_t>(lines[i]) & INT32_MAX, exponent);
        lines[i] = with_sign(magnitude, lines[i]);
        any |= magnitude;
    }
    return any;
}

// Lines of the usual exponents: most magnitudes are small.
uint32_t dequant_lines(int32_t *lines, uint32_t count, const int32_t small[kSmall], int shift,
                       int32_t exponent) {
    const uint32_t rounding = (1u << shift) >> 1;
    uint32_t any = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const int32_t raw = lines[i];
        uint32_t magnitude = static_cast<uint32_t>(raw) & INT32_MAX;
        if (magnitude < kSmall)
            magnitude = (static_cast<uint32_t>(small[magnitude]) + rounding) >> shift;
        else
            magnitude = dequant_large(magnitude, exponent);
        lines[i] = with_sign(magnitude, raw);
        any |= magnitude;
    }
    return any;
}

struct Scale {
    int32_t base;
    int32_t shift;
};

// All magnitudes, or'ed.
uint32_t dequant_long_bands(const uint16_t *boundaries, uint32_t bands, Scale scale,
                            const Mp3ScaleFactors &factors, Mp3Spectrum *spectrum) {
    uint32_t all = 0;
    for (uint32_t band = 0; band < bands && boundaries[band] < spectrum->count; ++band) {
        const int32_t factor = factors.long_bands[band] + (factors.preflag ? kPretab[band] : 0);
        const uint32_t start = boundaries[band], width = boundaries[band + 1] - start;
        const uint32_t any = dequant(spectrum->lines + start, width, scale.base + (factor << scale.shift));
        if (any != 0) spectrum->last_long = static_cast<int32_t>(band);
        all |= any;
    }
    return all;
}

uint32_t dequant_short_bands(const uint16_t *boundaries, uint32_t first, Scale scale,
                             const Mp3Granule &granule, const Mp3ScaleFactors &factors,
                             Mp3Spectrum *spectrum) {
    const uint32_t decoded = spectrum->count;
    uint32_t all = 0;
    for (uint32_t band = first; band < kMp3ShortBands && 3u * boundaries[band] < decoded; ++band) {
        int32_t exponents[3];
        uint32_t nonzero[3];
        for (uint32_t w = 0; w < 3; ++w)
            exponents[w] =
                scale.base + 8 * granule.subblock_gain[w] + (factors.short_bands[band][w] << scale.shift);
        const uint32_t width = static_cast<uint32_t>(boundaries[band + 1] - boundaries[band]);
        dequant_short_band(spectrum->lines + size_t{3} * boundaries[band], width, exponents, nonzero);
        for (uint32_t w = 0; w < 3; ++w) {
            if (nonzero[w] != 0) spectrum->last_short[w] = static_cast<int32_t>(band);
            all |= nonzero[w];
        }
        // Interleaving spreads the lines over the whole band.
        spectrum->count = 3u * boundaries[band + 1];
    }
    return all;
}

}  // namespace

uint32_t dequant(int32_t *lines, uint32_t count, int32_t exponent) {
    const int shift = kSmallBits - kSpectrumBits + (exponent >> 2);
    // Without a shift even small magnitudes may be too large.
    if (shift < 1 || shift > 31) return dequant_any(lines, count, exponent);
    const int32_t *const small = mp3dec_pow43_14[exponent & 3];
    uint32_t any = 0, i = 0;
#if defined(__SSE2__)
    const __m128i magnitudes = _mm_set1_epi32(INT32_MAX), limit = _mm_set1_epi32(kSmall - 1);
    const __m128i rounding = _mm_set1_epi32(static_cast<int32_t>((1u << shift) >> 1)),
                  bits = _mm_cvtsi32_si128(shift);
    __m128i all = _mm_setzero_si128();
    for (; i + 4 <= count; i += 4) {
        __m128i *const at = reinterpret_cast<__m128i *>(lines + i);
        const __m128i raw = _mm_loadu_si128(at);
        if (_mm_movemask_epi8(_mm_cmpgt_epi32(_mm_and_si128(raw, magnitudes), limit)) != 0) {
            any |= dequant_lines(lines + i, 4, small, shift, exponent);
            continue;
        }
        // The low byte of a line is the magnitude.
        const uint8_t *const low = reinterpret_cast<const uint8_t *>(lines + i);
        const __m128i powers = _mm_set_epi32(small[low[12]], small[low[8]], small[low[4]], small[low[0]]);
        const __m128i scaled = _mm_srl_epi32(_mm_add_epi32(powers, rounding), bits),
                      sign = _mm_srai_epi32(raw, 31);
        _mm_storeu_si128(at, _mm_sub_epi32(_mm_xor_si128(scaled, sign), sign));
        all = _mm_or_si128(all, scaled);
    }
    const __m128i pairs = _mm_or_si128(all, _mm_unpackhi_epi64(all, all));
    any |= static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_or_si128(pairs, _mm_shuffle_epi32(pairs, 1))));
#endif
    return any | dequant_lines(lines + i, count - i, small, shift, exponent);
}

int32_t mp3_extra_bits(const Mp3FrameHeader &header, const Mp3Granule &granule, const Mp3Spectrum &spectrum) {
    const int32_t steps = base_exponent(header, granule) - kRoom[magnitude_width(spectrum)];
    if (steps >= 0) return steps / 4 < kMaxExtraBits ? steps / 4 : kMaxExtraBits;
    return steps >= -4 * kSpareBits ? 0 : -1;
}

int32_t mp3_deqchannel(const Mp3FrameHeader &header, const Mp3Granule &granule,
                       const Mp3ScaleFactors &factors, int32_t extra_bits, Mp3Spectrum *spectrum) {
    spectrum->last_long = -1;
    for (int32_t &last : spectrum->last_short)
        last = -1;
    Scale scale{};
    scale.base = base_exponent(header, granule) - 4 * extra_bits;
    scale.shift = (granule.flags & kMp3ScaleFactorScale) != 0 ? 2 : 1;
    const uint16_t *const long_bands = header.scale_factor_bands;
    const uint16_t *const short_bands = long_bands + kMp3LongBoundaries;
    const bool is_short = mp3_is_short(granule), mixed = is_short && mp3_is_mixed(granule);
    const uint32_t bands = !is_short ? kMp3LongBands : mixed ? mp3_mixed_long_bands(header) : 0;
    uint32_t all = dequant_long_bands(long_bands, bands, scale, factors, spectrum);
    if (is_short)
        all |= dequant_short_bands(short_bands, mixed ? kMp3MixedFirstShortBand : 0, scale, granule, factors,
                                   spectrum);
    return all == 0 ? 31 : __builtin_clz(all) - 1;
}

}  // namespace quorv
