// Huffman decoding of Layer III spectra; see the header.
//
// Most pairs are found at once, with their signs (HuffmanRoots.h). For the others huffTable holds a tree for
// each table. A level of a tree begins with an entry whose low 4 bits are the number of bits to look up, w;
// 2^w entries follow. An entry below kHuffmanLeaf leads to another level: it is the distance from the
// beginning of this one. A leaf holds the number of its bits, y, x, and how many of the two values are not
// zero.

#include "mp3dec/Mp3Huffman.h"

#include <string.h>

#include <algorithm>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/tables/HuffmanRoots.h"
#include "mp3dec/tables/ScaleFactorBands.h"

namespace quorv {

namespace {

using Word = Mp3BitWindow::Word;
constexpr uint32_t kBits = Mp3BitWindow::kBits;

constexpr uint8_t kNoCodes = 0;
constexpr uint8_t kWithLinbits = 3;
constexpr uint32_t kEscape = 15;
// The largest root or quadruple.
constexpr uint32_t kMaxAtOnce = 10;
// That many fit what the window shows.
constexpr int32_t kAtOnce = Mp3BitWindow::kAhead / kMaxAtOnce;

// Pairs of one table.
struct Pairs {
    const Mp3BitWindow &bits;
    const uint16_t *root;
    uint32_t shift;  // leaves the bits that the root is looked up by
    uint32_t table;
    uint32_t linbits;
    Mp3Spectrum *spectrum;
};

// A code longer than the root, as a root entry that has no signs. Moves the position to the end of the root's
// part.
uint32_t find_long_code(const Pairs &pairs, uint32_t *position) {
    Word word = pairs.bits.ahead(*position);
    const uint16_t *level = &huffTable[huffTabOffset[pairs.table]];
    for (;;) {
        const uint32_t width = level[0] & 15u;
        const uint32_t entry = level[1 + Mp3BitWindow::first_bits(word, width)];
        if (entry >= kHuffmanLeaf) return (entry & 0xFF0) << 4 | entry >> 12 << 4;
        *position += width;
        word <<= width;
        level += entry;
    }
}

// Puts a value whose linbits and sign are at the position. Returns the position behind them.
inline uint32_t put_value(const Pairs &pairs, uint32_t position, uint32_t magnitude, int32_t *output) {
    Word word = pairs.bits.ahead(position);
    if (magnitude == kEscape) {
        magnitude += Mp3BitWindow::first_bits(word, pairs.linbits);
        word <<= pairs.linbits;
        position += pairs.linbits;
    }
    const uint32_t coded = magnitude != 0 ? 1 : 0,
                   negative = static_cast<uint32_t>(word >> (kBits - 1)) & coded;
    const int32_t value = static_cast<int32_t>((magnitude ^ (0 - negative)) + negative);
    *output = value;
    if (magnitude > kMp3SmallValue) {
        Mp3Spectrum *spectrum = pairs.spectrum;
        spectrum->magnitudes |= magnitude;
        spectrum->large[spectrum->large_count++] = {static_cast<uint16_t>(output - spectrum->lines),
                                                    static_cast<int16_t>(value)};
        *output = 0;
    }
    return position + coded;
}

// A pair whose entry has no signs. Returns the position behind it.
[[gnu::noinline]] uint32_t put_long_pair(const Pairs &pairs, uint32_t position, uint32_t entry,
                                         int32_t *output) {
    if (entry == 0) entry = find_long_code(pairs, &position);
    position += entry >> 4 & 15;
    position = put_value(pairs, position, entry >> 8 & 15, output);
    return put_value(pairs, position, entry >> 12, output + 1);
}

// Some pairs, few enough for what the window shows when all are short. Returns the position behind them.
template <int32_t count>
inline uint32_t put_pairs(const Pairs &pairs, uint32_t position, int32_t *output) {
    Word word = pairs.bits.ahead(position);
#pragma GCC unroll 8
    for (int32_t i = 0; i < count; ++i, output += 2) {
        const uint32_t entry = pairs.root[word >> pairs.shift], used = entry & 15;
        if (used != 0) {
            output[0] = static_cast<int16_t>(entry << 5) >> 11;
            output[1] = static_cast<int16_t>(entry) >> 11;
            word <<= used;
            position += used;
        } else {
            position = put_long_pair(pairs, position, entry, output);
            word = pairs.bits.ahead(position);
        }
    }
    return position;
}

void decode_pairs(Mp3BitWindow *bits, uint32_t table, uint32_t count, Mp3Spectrum *spectrum) {
    const HuffmanRoot root = kHuffmanRoots[table];
    const Pairs pairs = {*bits, &kHuffmanRootEntry[root.first], kBits - root.width,
                         table, huffTabLookup[table].linbits,   spectrum};
    uint32_t position = bits->position();
    int32_t *output = spectrum->lines + spectrum->coded;
    const int32_t *end = output + count;
    constexpr ptrdiff_t kValues = ptrdiff_t{2} * kAtOnce;
    for (; end - output >= kValues; output += kValues)
        position = put_pairs<kAtOnce>(pairs, position, output);
    for (; output != end; output += 2)
        position = put_pairs<1>(pairs, position, output);
    bits->move_to(position);
}

// Where regions 1 and 2 begin, in lines.
void find_regions(const Mp3FrameHeader &header, const Mp3Granule &granule, uint32_t starts[2]) {
    const uint16_t *long_bands = header.scale_factor_bands;
    const uint16_t *short_bands = long_bands + kMp3LongBoundaries;
    constexpr uint32_t kLast = kMp3LongBoundaries - 1;
    starts[0] = long_bands[std::min(granule.region0_count + 1, kLast)];
    starts[1] = kMp3GranuleLines;
    if (!mp3_is_short(granule))
        starts[1] = long_bands[std::min(granule.region0_count + granule.region1_count + 2, kLast)];
    else if (!mp3_is_mixed(granule))
        starts[0] = 3u * short_bands[(granule.region0_count + 1) / 3];
    else if (mp3_is_low_rate(header))
        starts[0] = long_bands[6] + 2u * (short_bands[4] - short_bands[3]);
}

}  // namespace

int32_t dechuffpairs(Mp3BitWindow *bits, uint32_t table, uint32_t count, Mp3Spectrum *spectrum) {
    const HuffTabLookup &lookup = huffTabLookup[table];
    if (lookup.type > kWithLinbits) return -1;
    if (lookup.type == kNoCodes) {
        memset(spectrum->lines + spectrum->coded, 0, count * sizeof(*spectrum->lines));
    } else {
        decode_pairs(bits, table, count, spectrum);
        spectrum->magnitudes |= table < 13 ? 7 : 15;
    }
    spectrum->coded += count;
    return 0;
}

void dechuffquads(Mp3BitWindow *bits, uint32_t table, uint32_t available, Mp3Spectrum *spectrum) {
    const uint16_t *codes = table == 0 ? kQuadEntriesA.data() : kQuadEntriesB.data();
    const uint32_t shift = kBits - (table == 0 ? kQuadWidths[0] : kQuadWidths[1]);
    const uint32_t limit = bits->start() + available;
    int32_t *output = spectrum->lines + spectrum->coded;
    const int32_t *end = output + ((kMp3GranuleLines - spectrum->coded) & ~3u);
    uint32_t position = bits->position();
    // As many as the window shows while there are bits and room for all of them.
    constexpr ptrdiff_t kValues = ptrdiff_t{4} * kAtOnce;
    while (end - output >= kValues && limit - position >= kMaxAtOnce * kAtOnce) {
        Word word = bits->ahead(position);
#pragma GCC unroll 8
        for (int32_t i = 0; i < kAtOnce; ++i, output += 4) {
            const uint32_t entry = codes[word >> shift];
            memcpy(output, &kQuadValues[entry >> 4], sizeof(QuadValues));
            word <<= entry & 15;
            position += entry & 15;
        }
    }
    while (output != end && position < limit) {
        const uint32_t entry = codes[bits->ahead(position) >> shift];
        position += entry & 15;
        if (position > limit) break;
        memcpy(output, &kQuadValues[entry >> 4], sizeof(QuadValues));
        output += 4;
    }
    bits->move_to(position);
    spectrum->coded = static_cast<uint32_t>(output - spectrum->lines);
}

int32_t mp3_dechuff(Mp3BitWindow *bits, const Mp3FrameHeader &header, const Mp3Granule &granule,
                    uint32_t available, Mp3Spectrum *spectrum) {
    uint32_t starts[2];
    find_regions(header, granule, starts);
    const uint32_t big_values = std::min(2u * granule.big_values, kMp3GranuleLines);
    const uint32_t ends[3] = {std::min(starts[0], big_values), std::min(starts[1], big_values), big_values};
    spectrum->coded = spectrum->large_count = 0;
    spectrum->magnitudes = 1;
    for (uint32_t region = 0; region < 3; ++region) {
        if (ends[region] <= spectrum->coded) continue;
        if (dechuffpairs(bits, granule.table_select[region], ends[region] - spectrum->coded, spectrum) != 0 ||
            bits->consumed() > available)
            return -1;
    }
    dechuffquads(bits, (granule.flags & kMp3Count1TableB) != 0 ? 1 : 0, available, spectrum);
    memset(spectrum->lines + spectrum->coded, 0,
           (kMp3GranuleLines - spectrum->coded) * sizeof(*spectrum->lines));
    return 0;
}

}  // namespace quorv
