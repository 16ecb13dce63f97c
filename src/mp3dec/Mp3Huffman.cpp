// Huffman decoding of Layer III spectra; see the header.
//
// huffTable holds a tree for each table. A level of a tree begins with an entry whose low 4 bits tell how
// many bits are looked up, w; 2^w entries follow. One below kLeaf is a link to the level so many entries
// behind the current level's begin; a leaf holds the number of its bits, y, x, and how many of the two are
// not zero.

#include "mp3dec/Mp3Huffman.h"

#include <quorv/platform/memory.h>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/tables/HuffmanTables.h"
#include "mp3dec/tables/ScaleFactorBands.h"

namespace quorv {

namespace {

constexpr uint32_t kLeaf = 0x1000;
constexpr uint8_t kNoCodes = 0;
constexpr uint8_t kWithLinbits = 3;
constexpr uint32_t kEscape = 15;

// Consumes a code and returns its leaf. At least 16 bits less than a refill are left in the cache.
inline uint32_t decode_leaf(Mp3BitCache *bits, const uint16_t *level) {
    bits->refill();
    uint32_t width = level[0] & 15u;
    uint32_t entry = level[1 + bits->peek(width)];
    while (entry < kLeaf) {
        bits->skip(width);
        bits->refill();
        level += entry;
        width = level[0] & 15u;
        entry = level[1 + bits->peek(width)];
    }
    bits->skip(entry >> 12);
    return entry;
}

// Adds the sign that follows a value that is not zero.
inline int32_t with_sign(Mp3BitCache *bits, uint32_t magnitude) {
    const uint32_t value = magnitude | bits->sign();
    bits->skip(magnitude != 0 ? 1 : 0);
    return static_cast<int32_t>(value);
}

void decode_small(Mp3BitCache *bits, const uint16_t *tree, int32_t *output, uint32_t count) {
    Mp3BitCache cache = *bits;
    const uint32_t first_width = tree[0] & 15u;
    for (uint32_t i = 0; i < count; i += 2) {
        cache.refill();
        uint32_t leaf = tree[1 + cache.peek(first_width)];
        if (leaf < kLeaf) {
            cache.skip(first_width);
            leaf = decode_leaf(&cache, tree + leaf);
            cache.refill();
        } else {
            cache.skip(leaf >> 12);
        }
        output[i] = with_sign(&cache, leaf >> 4 & 15);
        output[i + 1] = with_sign(&cache, leaf >> 8 & 15);
    }
    *bits = cache;
}

inline int32_t escaped_value(Mp3BitCache *bits, uint32_t magnitude, uint32_t linbits) {
    bits->refill();
    if (magnitude == kEscape) magnitude += bits->read(linbits);
    return with_sign(bits, magnitude);
}

void decode_with_linbits(Mp3BitCache *bits, const uint16_t *tree, uint32_t linbits, int32_t *output,
                         uint32_t count) {
    Mp3BitCache cache = *bits;
    for (uint32_t i = 0; i < count; i += 2) {
        const uint32_t leaf = decode_leaf(&cache, tree);
        output[i] = escaped_value(&cache, leaf >> 4 & 15, linbits);
        output[i + 1] = escaped_value(&cache, leaf >> 8 & 15, linbits);
    }
    *bits = cache;
}

uint32_t min(uint32_t a, uint32_t b) {
    return a < b ? a : b;
}

// Where regions 1 and 2 begin, in lines.
void find_regions(const Mp3FrameHeader &header, const Mp3Granule &granule, uint32_t starts[2]) {
    const uint16_t *const long_bands = header.scale_factor_bands;
    const uint16_t *const short_bands = long_bands + kMp3LongBoundaries;
    constexpr uint32_t kLast = kMp3LongBoundaries - 1;
    starts[0] = long_bands[min(granule.region0_count + 1, kLast)];
    starts[1] = kMp3GranuleLines;
    if (!mp3_is_short(granule))
        starts[1] = long_bands[min(granule.region0_count + granule.region1_count + 2, kLast)];
    else if (!mp3_is_mixed(granule))
        starts[0] = 3u * short_bands[(granule.region0_count + 1) / 3];
    else if (mp3_is_low_rate(header))
        starts[0] = long_bands[6] + 2u * (short_bands[4] - short_bands[3]);
}

}  // namespace

int32_t dechuffpairs(Mp3BitCache *bits, uint32_t table, int32_t *output, uint32_t count) {
    const HuffTabLookup &lookup = huffTabLookup[table];
    const uint16_t *const tree = huffTable + huffTabOffset[table];
    if (lookup.type > kWithLinbits) return -1;
    if (lookup.type == kNoCodes)
        MMemSet(output, 0, count * sizeof *output);
    else if (lookup.type == kWithLinbits)
        decode_with_linbits(bits, tree, lookup.linbits, output, count);
    else
        decode_small(bits, tree, output, count);
    return 0;
}

uint32_t dechuffquads(Mp3BitCache *bits, uint32_t table, uint32_t available, int32_t *output, uint32_t room) {
    Mp3BitCache cache = *bits;
    const uint8_t *const codes = quadTable + quadTabOffset[table];
    const uint32_t width = quadTabMaxBits[table];
    uint32_t count = 0;
    while (count + 4 <= room && cache.consumed() < available) {
        cache.refill();
        const uint32_t entry = codes[cache.peek(width)];
        cache.skip(entry >> 4);
        int32_t values[4];
        for (uint32_t i = 0; i < 4; ++i)
            values[i] = with_sign(&cache, entry >> (3 - i) & 1);
        if (cache.consumed() > available) break;
        MMemCpy(output + count, values, sizeof values);
        count += 4;
    }
    *bits = cache;
    return count;
}

int32_t mp3_dechuff(Mp3BitCache *bits, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    uint32_t available, int32_t *spectrum) {
    uint32_t starts[2];
    find_regions(header, granule, starts);
    const uint32_t big_values = min(2u * granule.big_values, kMp3GranuleLines);
    const uint32_t ends[3] = {min(starts[0], big_values), min(starts[1], big_values), big_values};
    uint32_t position = 0;
    for (uint32_t region = 0; region < 3; ++region) {
        if (ends[region] <= position) continue;
        if (dechuffpairs(bits, granule.table_select[region], spectrum + position, ends[region] - position) <
                0 ||
            bits->consumed() > available)
            return -1;
        position = ends[region];
    }
    const uint32_t table = (granule.flags & kMp3Count1TableB) != 0 ? 1 : 0;
    position += dechuffquads(bits, table, available, spectrum + position, kMp3GranuleLines - position);
    MMemSet(spectrum + position, 0, (kMp3GranuleLines - position) * sizeof *spectrum);
    return static_cast<int32_t>(position);
}

}  // namespace quorv
