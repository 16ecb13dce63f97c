// Short codes of Layer III with their signs, looked up at once; made from the packed tables by the compiler.
#ifndef QUORV_SRC_MP3DEC_TABLES_HUFFMANROOTS_H
#define QUORV_SRC_MP3DEC_TABLES_HUFFMANROOTS_H

#include <array>

#include "mp3dec/tables/HuffmanTables.h"

namespace quorv {

// A leaf of huffTable, in contrast to a link to another level.
inline constexpr uint32_t kHuffmanLeaf = 0x1000;

// By table: as many upcoming bits as most pairs take with their signs, and where its entries begin. Tables
// with linbits that share codes share entries; width 0 is for tables without codes.
struct HuffmanRoot {
    uint16_t width, first;
};

inline constexpr uint32_t kHuffmanTrees = 25;  // tables from here on use those of 16 and 24

constexpr std::array<HuffmanRoot, 32> make_huffman_roots() {
    constexpr uint8_t kWidths[kHuffmanTrees] = {0, 5, 8,  8, 0, 8, 8, 8, 8, 9, 9, 9, 10,
                                                9, 0, 10, 9, 0, 0, 0, 0, 0, 0, 0, 10};
    std::array<HuffmanRoot, 32> roots{};
    uint32_t first = 0;
    for (uint32_t table = 0; table < kHuffmanTrees; ++table) {
        if (kWidths[table] == 0) continue;
        const uint32_t last = table < 16 ? table : table + 7;
        for (uint32_t user = table; user <= last; ++user)
            roots[user] = {kWidths[table], static_cast<uint16_t>(first)};
        first += 1u << kWidths[table];
    }
    return roots;
}

inline constexpr std::array<HuffmanRoot, 32> kHuffmanRoots = make_huffman_roots();

// The code that these bits begin with, when they hold its signs, too: y and x with their signs in 5 bits
// each, two bits of nothing, and in 4 bits how many bits all took. When they hold only the code, or linbits
// follow: y, x and the bits of the code in 4 bits each, then 4 bits of 0. 0 when they do not tell the code.
constexpr uint16_t root_entry(uint32_t table, uint32_t bits) {
    const uint32_t width = kHuffmanRoots[table].width;
    const uint32_t window = bits << (32 - width);
    const uint16_t *level = &huffTable[huffTabOffset[table]];
    uint32_t used = 0, leaf = level[1 + (window >> (32 - (level[0] & 15)))];
    while (leaf < kHuffmanLeaf) {
        used += level[0] & 15u;
        if (used >= width) return 0;
        level += leaf;
        leaf = level[1 + (window << used >> (32 - (level[0] & 15)))];
    }
    used += leaf >> 12;
    if (used > width) return 0;
    const uint32_t x = leaf >> 4 & 15, y = leaf >> 8 & 15, all = used + (leaf & 15);
    if (all > width || (huffTabLookup[table].linbits != 0 && (x == 15 || y == 15)))
        return static_cast<uint16_t>(y << 12 | x << 8 | used << 4);
    const uint32_t x_sign = window << used >> 31, y_sign = window << (all - 1) >> 31;
    return static_cast<uint16_t>((y_sign != 0 ? 0 - y : y) << 11 | ((x_sign != 0 ? 0 - x : x) & 31) << 6 |
                                 all);
}

inline constexpr uint32_t kHuffmanRootEntries = kHuffmanRoots[24].first + (1u << kHuffmanRoots[24].width);

constexpr std::array<uint16_t, kHuffmanRootEntries> make_root_entries() {
    std::array<uint16_t, kHuffmanRootEntries> entries{};
    for (uint32_t table = 1; table < kHuffmanTrees; ++table) {
        const HuffmanRoot root = kHuffmanRoots[table];
        if (root.width == 0 || (table > 16 && table < 24)) continue;
        for (uint32_t bits = 0; bits < 1u << root.width; ++bits)
            entries[root.first + bits] = root_entry(table, bits);
    }
    return entries;
}

inline constexpr std::array<uint16_t, kHuffmanRootEntries> kHuffmanRootEntry = make_root_entries();

// Quadruples: the bits of the longest code and of four signs, by table.
inline constexpr uint32_t kQuadWidths[2] = {10, 8};

// Which of kQuadValues, and below in 4 bits how many bits its code and signs took.
constexpr uint16_t quad_entry(uint32_t table, uint32_t bits) {
    const uint32_t width = kQuadWidths[table];
    const uint32_t code = quadTable[quadTabOffset[table] + (bits >> 4)];
    uint32_t used = code >> 4, index = 0;
    for (uint32_t i = 0; i < 4; ++i) {
        index *= 3;
        if ((code >> (3 - i) & 1) == 0) continue;
        ++used;
        index += (bits >> (width - used) & 1) != 0 ? 2u : 1u;
    }
    return static_cast<uint16_t>(index << 4 | used);
}

template <uint32_t table>
constexpr std::array<uint16_t, 1u << kQuadWidths[table]> make_quad_entries() {
    std::array<uint16_t, 1u << kQuadWidths[table]> entries{};
    for (uint32_t bits = 0; bits < entries.size(); ++bits)
        entries[bits] = quad_entry(table, bits);
    return entries;
}

inline constexpr auto kQuadEntriesA = make_quad_entries<0>();
inline constexpr auto kQuadEntriesB = make_quad_entries<1>();

using QuadValues = std::array<int32_t, 4>;

constexpr std::array<QuadValues, 81> make_quad_values() {
    constexpr int32_t kDigits[3] = {0, 1, -1};
    std::array<QuadValues, 81> values{};
    for (uint32_t i = 0; i < values.size(); ++i)
        values[i] = {kDigits[i / 27], kDigits[i / 9 % 3], kDigits[i / 3 % 3], kDigits[i % 3]};
    return values;
}

inline constexpr auto kQuadValues = make_quad_values();

}  // namespace quorv

#endif
