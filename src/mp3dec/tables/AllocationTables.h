// Bit allocation of Layer II (ISO/IEC 11172-3, tables B.2a to B.2d; ISO/IEC 13818-3, table B.1).
#ifndef QUORV_SRC_MP3DEC_TABLES_ALLOCATIONTABLES_H
#define QUORV_SRC_MP3DEC_TABLES_ALLOCATIONTABLES_H

#include <stdint.h>

namespace quorv {

// The quantisers that an allocation field of so many bits chooses between: classes of kLayer2Levels, plus 1;
// 0 is no samples.
struct Layer2Row {
    uint8_t bits;
    uint8_t quantizers[16];
};

// clang-format off
inline constexpr Layer2Row kLayer2Rows[] = {
    {4, {0, 1, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}},
    {4, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 17}},
    {3, {0, 1, 2, 3, 4, 5, 6, 17}},
    {2, {0, 1, 2, 17}},
    {4, {0, 1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
    {3, {0, 1, 2, 4, 5, 6, 7, 8}},
    {4, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
    {2, {0, 1, 2, 4}},
};
// clang-format on

// Runs of subbands that use a row, in order up to `subbands`.
struct Layer2Table {
    uint8_t subbands;
    struct {
        uint8_t end, row;
    } runs[4];
};

enum { kLayer2TableA, kLayer2TableB, kLayer2TableC, kLayer2TableD, kLayer2TableLowRate };

inline constexpr Layer2Table kLayer2Tables[] = {
    {27, {{3, 0}, {11, 1}, {23, 2}, {27, 3}}}, {30, {{3, 0}, {11, 1}, {23, 2}, {30, 3}}},
    {8, {{2, 4}, {8, 5}, {8, 5}, {8, 5}}},     {12, {{2, 4}, {12, 5}, {12, 5}, {12, 5}}},
    {30, {{4, 6}, {11, 5}, {30, 7}, {30, 7}}},
};

}  // namespace quorv

#endif
