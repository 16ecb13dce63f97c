// How many bits scale factors have (ISO/IEC 11172-3, 2.4.2.7; ISO/IEC 13818-3, 2.4.3.2).
#ifndef QUORV_SRC_MP3DEC_TABLES_SCALEFACTORTABLES_H
#define QUORV_SRC_MP3DEC_TABLES_SCALEFACTORTABLES_H

#include <stdint.h>

namespace quorv {

// clang-format off
// MPEG-1: bits of the lower and of the upper bands, by scalefac_compress.
inline constexpr uint8_t sflen_table[16][2] = {
    {0, 0}, {0, 1}, {0, 2}, {0, 3}, {3, 0}, {1, 1}, {1, 2}, {1, 3},
    {2, 1}, {2, 2}, {2, 3}, {3, 1}, {3, 2}, {3, 3}, {4, 2}, {4, 3},
};

// MPEG-2: numbers of scale factors in the four partitions, by range of scalefac_compress and kind of block
// (long, short, mixed).
inline constexpr uint8_t nsfb_table[6][3][4] = {
    {{6, 5, 5, 5}, {9, 9, 9, 9}, {6, 9, 9, 9}},
    {{6, 5, 7, 3}, {9, 9, 12, 6}, {6, 9, 12, 6}},
    {{11, 10, 0, 0}, {18, 18, 0, 0}, {15, 18, 0, 0}},
    {{7, 7, 7, 0}, {12, 12, 12, 0}, {6, 15, 12, 0}},
    {{6, 6, 6, 3}, {12, 9, 9, 6}, {6, 12, 9, 6}},
    {{8, 8, 5, 0}, {15, 12, 9, 0}, {6, 18, 9, 0}},
};
// clang-format on

}  // namespace quorv

#endif
