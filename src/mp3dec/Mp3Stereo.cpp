// Joint stereo of Layer III; see the header.

#include "mp3dec/Mp3Stereo.h"

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/tables/RequantizeTables.h"
#include "mp3dec/tables/ScaleFactorBands.h"

namespace quorv {

namespace {

// What is the same for all bands of a granule.
struct Joint {
    int32_t *left;
    int32_t *right;
    bool middle_side;
    bool low_rate;
    uint32_t intensity_scale;  // MPEG-2: 1 for steps of 2^-1/2, 0 for 2^-1/4
};

// A band's lines: those of a window lie three apart.
struct Lines {
    uint32_t start, end, step;
};

void sum_and_difference(const Joint &joint, Lines lines) {
    int32_t *left = joint.left, *right = joint.right;
    for (uint32_t i = lines.start; i < lines.end; i += lines.step) {
        const int32_t middle = left[i], side = right[i];
        left[i] = wrap_add(middle, side);
        right[i] = wrap_sub(middle, side);
    }
}

// Shares out the left channel. Frames with middle/side were requantised lower, which the factors make up for.
void share(const Joint &joint, Lines lines, uint32_t position) {
    const uint32_t louder = joint.middle_side ? 1 : 0;
    int32_t left_factor = 0, right_factor = 0;
    if (joint.low_rate) {
        const int32_t *powers = ISFMpeg2[louder][joint.intensity_scale];
        left_factor = powers[position % 2 != 0 ? (position + 1) / 2 : 0];
        right_factor = powers[position % 2 != 0 ? 0 : position / 2];
    } else {
        left_factor = ISFMpeg1[louder][position][0];
        right_factor = ISFMpeg1[louder][position][1];
    }
    for (uint32_t i = lines.start; i < lines.end; i += lines.step) {
        const int32_t value = joint.left[i];
        joint.left[i] = mul_shift<30>(value, left_factor);
        joint.right[i] = mul_shift<30>(value, right_factor);
    }
}

// Positions from the illegal one on, which is the largest in MPEG-2, switch intensity stereo off.
void do_band(const Joint &joint, Lines lines, bool intensity, uint32_t position, uint32_t illegal) {
    if (intensity && position < illegal)
        share(joint, lines, position);
    else if (joint.middle_side)
        sum_and_difference(joint, lines);
}

// The intensity position of a band behind the last one that is not zero. The last band of all has none of its
// own: it goes by the band before it where that one is intensity coded, else to the middle.
uint32_t position_of(const Joint &joint, uint32_t band, uint32_t bands, int32_t last,
                     const uint8_t *positions, size_t stride) {
    if (band + 1 < bands) return positions[band * stride];
    if (last < static_cast<int32_t>(band) - 1) return positions[(band - 1) * stride];
    return joint.low_rate ? 0 : 3;
}

// The smallest position that means "no intensity stereo" there.
uint32_t illegal_of(uint32_t band, uint32_t bands, int32_t last, const uint8_t *illegal) {
    if (band + 1 < bands) return illegal[band];
    constexpr uint32_t kNone = 0xFF;
    return last < static_cast<int32_t>(band) - 1 ? illegal[band - 1] : kNone;
}

void do_long_bands(const Joint &joint, const uint16_t *boundaries, uint32_t bands, int32_t last,
                   const Mp3ScaleFactors &factors) {
    for (uint32_t band = 0; band < bands; ++band) {
        do_band(joint, {boundaries[band], boundaries[band + 1], 1}, static_cast<int32_t>(band) > last,
                position_of(joint, band, kMp3LongBands, last, factors.long_bands, 1),
                illegal_of(band, kMp3LongBands, last, factors.long_illegal));
    }
}

void do_short_bands(const Joint &joint, const uint16_t *boundaries, uint32_t first, const int32_t last[3],
                    const Mp3ScaleFactors &factors) {
    for (uint32_t band = first; band < kMp3ShortBands; ++band) {
        for (uint32_t w = 0; w < 3; ++w)
            do_band(joint, {3u * boundaries[band] + w, 3u * boundaries[band + 1] + w, 3},
                    static_cast<int32_t>(band) > last[w],
                    position_of(joint, band, kMp3ShortBands, last[w], &factors.short_bands[0][w], 3),
                    illegal_of(band, kMp3ShortBands, last[w], factors.short_illegal));
    }
}

void do_intensity(const Mp3FrameHeader &header, const Joint &joint, const Mp3Granule &granule,
                  const Mp3ScaleFactors &factors, const Mp3LastBands &right) {
    const uint16_t *long_bands = header.scale_factor_bands;
    const uint16_t *short_bands = long_bands + kMp3LongBoundaries;
    if (!mp3_is_short(granule)) {
        do_long_bands(joint, long_bands, kMp3LongBands, right.last_long, factors);
        return;
    }
    if (!mp3_is_mixed(granule)) {
        do_short_bands(joint, short_bands, 0, right.last_short, factors);
        return;
    }
    // The long part of a mixed block lies below any short band that is not zero.
    const uint32_t bands = mp3_mixed_long_bands(header);
    bool short_part_empty = true;
    for (const int32_t last : right.last_short)
        short_part_empty = short_part_empty && last < 0;
    const int32_t last_long = short_part_empty ? right.last_long : static_cast<int32_t>(bands);
    do_long_bands(joint, long_bands, bands, last_long, factors);
    do_short_bands(joint, short_bands, kMp3MixedFirstShortBand, right.last_short, factors);
}

// Whether any coded value from `start` up to `end` is not zero.
bool has_values(const Mp3Spectrum &spectrum, uint32_t start, uint32_t end) {
    for (uint32_t i = start; i < end; ++i) {
        if (spectrum.lines[i] != 0) return true;
    }
    for (uint32_t i = 0; i < spectrum.large_count; ++i) {
        if (spectrum.large[i].line >= start && spectrum.large[i].line < end) return true;
    }
    return false;
}

}  // namespace

Mp3LastBands mp3_last_bands(const Mp3FrameHeader &header, const Mp3Granule &granule,
                            const Mp3Spectrum &spectrum) {
    const uint16_t *long_bands = header.scale_factor_bands;
    const uint16_t *short_bands = long_bands + kMp3LongBoundaries;
    const bool is_short = mp3_is_short(granule), mixed = is_short && mp3_is_mixed(granule);
    Mp3LastBands last = {-1, {-1, -1, -1}};
    const uint32_t bands = !is_short ? kMp3LongBands : mixed ? mp3_mixed_long_bands(header) : 0;
    for (uint32_t band = 0; band < bands; ++band) {
        if (has_values(spectrum, long_bands[band], long_bands[band + 1]))
            last.last_long = static_cast<int32_t>(band);
    }
    for (uint32_t band = mixed ? kMp3MixedFirstShortBand : 0; is_short && band < kMp3ShortBands; ++band) {
        const uint32_t width = static_cast<uint32_t>(short_bands[band + 1] - short_bands[band]);
        for (uint32_t w = 0; w < 3; ++w) {
            const uint32_t start = 3u * short_bands[band] + w * width;
            if (has_values(spectrum, start, start + width)) last.last_short[w] = static_cast<int32_t>(band);
        }
    }
    return last;
}

void mp3_stereo(const Mp3FrameHeader &header, const Mp3Granule &right_granule, const Mp3ScaleFactors &right,
                const Mp3LastBands &last, Mp3Spectrum spectra[2]) {
    const Joint joint{spectra[0].lines, spectra[1].lines, mp3_has_middle_side(header),
                      mp3_is_low_rate(header), right_granule.scalefac_compress & 1u};
    if (!joint.middle_side && !mp3_has_intensity(header)) return;
    const uint32_t count = spectra[0].count > spectra[1].count ? spectra[0].count : spectra[1].count;
    if (mp3_has_intensity(header))
        do_intensity(header, joint, right_granule, right, last);
    else
        sum_and_difference(joint, {0, count, 1});
    spectra[0].count = spectra[1].count = count;
}

}  // namespace quorv
