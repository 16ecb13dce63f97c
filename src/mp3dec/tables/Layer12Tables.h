// Dequantisation of Layers I and II.
//
// Written by tools/tablegen/mp3_tables.py.
#ifndef QUORV_SRC_MP3DEC_TABLES_LAYER12TABLES_H
#define QUORV_SRC_MP3DEC_TABLES_LAYER12TABLES_H

#include <stdint.h>

namespace quorv {

// clang-format off
// Steps of a quantiser, by class.
inline constexpr uint16_t kLayer2Levels[17] = {
    3, 5, 7, 9, 15, 31, 63, 127, 255, 511, 1023, 2047, 4095, 8191, 16383, 32767, 65535,
};

// 2^(-third/3) * 2^n / steps for codes of n bits, in units of 2^-30.
inline constexpr int32_t kLayer2Factor[17][3] = {
    {1431655765, 1136305934, 901886617},
    {1717986918, 1363567121, 1082263941},
    {1227133513, 973976515, 773045672},
    {1908874354, 1515074579, 1202515490},
    {1145324612, 909044747, 721509294},
    {1108378657, 879720723, 698234801},
    {1090785345, 865756902, 687151709},
    {1082196484, 858939919, 681741065},
    {1077952576, 855571527, 679067571},
    {1075843080, 853897218, 677738671},
    {1074791425, 853062519, 677076170},
    {1074266368, 852645781, 676745405},
    {1074004032, 852437565, 676580144},
    {1073872912, 852333495, 676497543},
    {1073807364, 852281470, 676456251},
    {1073774593, 852255459, 676435606},
    {1073758208, 852242455, 676425285},
};

// clang-format on

}  // namespace quorv

#endif
