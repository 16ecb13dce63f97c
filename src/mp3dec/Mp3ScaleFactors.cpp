// Scale factors of Layer III; see the header.

#include "mp3dec/Mp3ScaleFactors.h"

#include <string.h>

#include "mp3dec/tables/ScaleFactorTables.h"

namespace quorv {

namespace {

// MPEG-1 intensity position without intensity stereo.
constexpr uint8_t kMpeg1Illegal = 7;
// Bands that MPEG-1 shares between granules together, and where the upper bands begin.
constexpr uint32_t kScfsiGroups[5] = {0, 6, 11, 16, 21};
constexpr uint32_t kLongUpper = 11;
constexpr uint32_t kShortUpper = 6;

uint8_t read(Mp3BitWindow *bits, uint32_t length) {
    return static_cast<uint8_t>(bits->read(length));
}

void read_short_bands(Mp3BitWindow *bits, uint32_t from, uint32_t to, uint32_t length,
                      Mp3ScaleFactors *factors) {
    for (uint32_t band = from; band < to; ++band) {
        for (uint32_t w = 0; w < 3; ++w)
            factors->short_bands[band][w] = read(bits, length);
    }
}

struct Partitions {
    uint32_t lengths[4];  // bits of a scale factor
    uint32_t range;       // row of nsfb_table
};

Partitions partitions_of(uint32_t compress) {
    if (compress < 400)
        return {{(compress >> 4) / 5, (compress >> 4) % 5, compress >> 2 & 3, compress & 3}, 0};
    if (compress < 500) {
        compress -= 400;
        return {{(compress >> 2) / 5, (compress >> 2) % 5, compress & 3, 0}, 1};
    }
    compress -= 500;
    return {{compress / 3, compress % 3, 0, 0}, 2};
}

Partitions partitions_of_positions(uint32_t compress) {
    compress >>= 1;
    if (compress < 180) return {{compress / 36, compress % 36 / 6, compress % 6, 0}, 3};
    if (compress < 244) {
        compress -= 180;
        return {{compress % 64 >> 4, compress % 16 >> 2, compress % 4, 0}, 4};
    }
    compress -= 244;
    return {{compress / 3, compress % 3, 0, 0}, 5};
}

// Where the n-th scale factor of a block goes, and its illegal value.
void store(const Mp3Granule &granule, uint32_t n, uint8_t value, uint8_t illegal, Mp3ScaleFactors *factors) {
    const uint32_t long_bands = !mp3_is_short(granule) ? kMp3LongBands : mp3_is_mixed(granule) ? 6 : 0;
    if (n < long_bands) {
        factors->long_bands[n] = value;
        factors->long_illegal[n] = illegal;
        return;
    }
    n -= long_bands;
    const uint32_t band = n / 3 + (long_bands != 0 ? kMp3MixedFirstShortBand : 0);
    factors->short_bands[band][n % 3] = value;
    factors->short_illegal[band] = illegal;
}

}  // namespace

void mp3_read_scale_factors(Mp3BitWindow *bits, const Mp3Granule &granule, uint32_t scfsi,
                            Mp3ScaleFactors *factors) {
    const uint8_t *lengths = sflen_table[granule.scalefac_compress];
    if (scfsi == 0) *factors = {};
    factors->preflag = (granule.flags & kMp3Preflag) != 0;
    memset(factors->long_illegal, kMpeg1Illegal, sizeof(factors->long_illegal));
    memset(factors->short_illegal, kMpeg1Illegal, sizeof(factors->short_illegal));
    if (!mp3_is_short(granule)) {
        for (uint32_t group = 0; group < 4; ++group) {
            if ((scfsi & 8u >> group) != 0) continue;
            for (uint32_t band = kScfsiGroups[group]; band < kScfsiGroups[group + 1]; ++band)
                factors->long_bands[band] = read(bits, lengths[band < kLongUpper ? 0 : 1]);
        }
        return;
    }
    uint32_t first_short = 0;
    if (mp3_is_mixed(granule)) {
        for (uint32_t band = 0; band < 8; ++band)
            factors->long_bands[band] = read(bits, lengths[0]);
        first_short = kMp3MixedFirstShortBand;
    }
    read_short_bands(bits, first_short, kShortUpper, lengths[0], factors);
    read_short_bands(bits, kShortUpper, kMp3ShortBands - 1, lengths[1], factors);
}

void mp3_read_scale_factors_low_rate(Mp3BitWindow *bits, const Mp3Granule &granule, bool intensity_right,
                                     Mp3ScaleFactors *factors) {
    const Partitions partitions = intensity_right ? partitions_of_positions(granule.scalefac_compress)
                                                  : partitions_of(granule.scalefac_compress);
    *factors = {};
    factors->preflag = partitions.range == 2;
    const uint32_t kind = !mp3_is_short(granule) ? 0 : mp3_is_mixed(granule) ? 2 : 1;
    uint32_t n = 0;
    for (uint32_t part = 0; part < 4; ++part) {
        const uint32_t length = partitions.lengths[part];
        const uint8_t illegal = static_cast<uint8_t>((1u << length) - 1);
        for (uint32_t i = 0; i < nsfb_table[partitions.range][kind][part]; ++i)
            store(granule, n++, read(bits, length), illegal, factors);
    }
}

}  // namespace quorv
