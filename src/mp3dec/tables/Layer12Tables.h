// Dequantisation of Layers I and II.
//
// Written by tools/tablegen/mp3_tables.py.
#ifndef QUORV_SRC_MP3DEC_TABLES_LAYER12TABLES_H
#define QUORV_SRC_MP3DEC_TABLES_LAYER12TABLES_H

#include <stdint.h>

namespace quorv {

// clang-format off
// Steps of a quantiser, by class.
inline constexpr uint16_t layer2Levels[17] = {
    3, 5, 7, 9, 15, 31, 63, 127, 255, 511, 1023, 2047, 4095, 8191, 16383, 32767, 65535,
};

// 2^(-third/3) / steps, in units of 2^-(31 + layer2Shift).
inline constexpr uint32_t layer2Factor[17][3] = {
    {1431655765u, 1136305934u, 901886617u},
    {1717986918u, 1363567121u, 1082263941u},
    {1227133513u, 973976515u, 773045672u},
    {1908874354u, 1515074579u, 1202515490u},
    {1145324612u, 909044747u, 721509294u},
    {1108378657u, 879720723u, 698234801u},
    {1090785345u, 865756902u, 687151709u},
    {1082196484u, 858939919u, 681741065u},
    {1077952576u, 855571527u, 679067571u},
    {1075843080u, 853897218u, 677738671u},
    {1074791425u, 853062519u, 677076170u},
    {1074266368u, 852645781u, 676745405u},
    {1074004032u, 852437565u, 676580144u},
    {1073872912u, 852333495u, 676497543u},
    {1073807364u, 852281470u, 676456251u},
    {1073774593u, 852255459u, 676435606u},
    {1073758208u, 852242455u, 676425285u},
};

inline constexpr uint8_t layer2Shift[17] = {
    1, 2, 2, 3, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15,
};

// clang-format on

}  // namespace quorv

#endif
