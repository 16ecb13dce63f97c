// Huffman decoding of Layer III spectra; see the header.
//
// huffTable holds a tree for each table. A level of a tree begins with an entry whose low 4 bits are the
// number of bits to look up, w; 2^w entries follow. An entry below kLeaf leads to another level: it is the
// distance from the beginning of this one. A leaf holds the number of its bits, y, x, and how many of the two
// values are not zero.

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

// Finds the leaf of the next code, whose bits in the leaf's own level are left in the cache.
inline uint32_t find_leaf(Mp3BitCache *bits, const uint16_t *level) {
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
    return entry;
}

// Adds the sign that follows a value that is not zero; the caller accounts for it.
inline int32_t with_sign(Mp3BitCache *bits, uint32_t magnitude) {
    const uint32_t value = magnitude | bits->sign();
    bits->shift(magnitude != 0 ? 1 : 0);
    return static_cast<int32_t>(value);
}

// The values of a leaf without linbits. Code and signs fit what one refill provides; the last bit of them is
// y's sign, if it has one.
inline void put_pair(Mp3BitCache *bits, uint32_t leaf, int32_t *output) {
    const uint32_t length = leaf >> 12, all = length + (leaf & 15);
    const uint32_t y_sign = bits->peek(all) << 31;
    Mp3BitCache signs = *bits;
    signs.shift(length);
    output[0] = static_cast<int32_t>((leaf >> 4 & 15) | signs.sign());
    output[1] = static_cast<int32_t>((leaf >> 8 & 15) | y_sign);
    bits->skip(all);
}

int32_t escaped_value(Mp3BitCache *bits, uint32_t magnitude, uint32_t linbits) {
    if (magnitude == kEscape) magnitude += bits->read(linbits);
    bits->refill();
    const int32_t value = with_sign(bits, magnitude);
    bits->account(magnitude != 0 ? 1 : 0);
    return value;
}

constexpr bool has_escape(uint32_t leaf) {
    return (leaf & 0xF0) == kEscape << 4 || (leaf & 0xF00) == kEscape << 8;
}

// Apart from the common case, which then keeps the cache in registers. The pair is returned through `output`.
[[gnu::noinline]] Mp3BitCache put_escaped_pair(Mp3BitCache cache, uint32_t leaf, uint32_t linbits,
                                               int32_t *output) {
    cache.skip(leaf >> 12);
    output[0] = escaped_value(&cache, leaf >> 4 & 15, linbits);
    output[1] = escaped_value(&cache, leaf >> 8 & 15, linbits);
    return cache;
}

template <bool with_linbits>
void decode_pairs(Mp3BitCache *bits, const uint16_t *tree, uint32_t linbits, int32_t *output,
                  uint32_t count) {
    Mp3BitCache cache = *bits;
    for (const int32_t *const end = output + count; output != end; output += 2) {
        const uint32_t leaf = find_leaf(&cache, tree);
        if (with_linbits && has_escape(leaf))
            cache = put_escaped_pair(cache, leaf, linbits, output);
        else
            put_pair(&cache, leaf, output);
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
        decode_pairs<true>(bits, tree, lookup.linbits, output, count);
    else
        decode_pairs<false>(bits, tree, 0, output, count);
    return 0;
}

uint32_t dechuffquads(Mp3BitCache *bits, uint32_t table, uint32_t available, int32_t *output, uint32_t room) {
    Mp3BitCache cache = *bits;
    const uint8_t *const codes = quadTable + quadTabOffset[table];
    const uint32_t width = quadTabMaxBits[table];
    uint32_t count = 0, used = cache.consumed();
    while (count + 4 <= room && used < available) {
        cache.refill();
        const uint32_t entry = codes[cache.peek(width)];
        cache.skip(entry >> 4);
        int32_t *const values = output + count;
        for (uint32_t i = 0; i < 4; ++i) {
            values[i] = with_sign(&cache, entry >> (3 - i) & 1);
        }
        cache.account(static_cast<uint32_t>(__builtin_popcount(entry & 15)));
        used = cache.consumed();
        if (used > available) break;
        count += 4;
    }
    *bits = cache;
    return count;
}

int32_t mp3_dechuff(Mp3BitCache *bits, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    uint32_t available, int32_t spectrum[kMp3GranuleLines]) {
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
