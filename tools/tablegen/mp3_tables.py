#!/usr/bin/env python3
"""Writes the MP3 decoder's tables, src/mp3dec/tables/*.h but the hand-written ones, from formulas and code lists.

usage: mp3_tables.py [--compare] TABLES_DIR

With --compare nothing is written; the exit status tells whether the files are what would be written.
"""
import collections
import math
import pathlib
import sys

HERE = pathlib.Path(__file__).parent

# Widths of the first, second and further levels of each tree.
LEVEL_WIDTHS = {1: (3, 3), 2: (6, 6), 3: (6, 6), 5: (6, 4), 6: (6, 4), 7: (7, 4), 8: (8, 4), 9: (7, 4), 10: (8, 4),
                11: (8, 4), 12: (8, 4), 13: (8, 4), 15: (7, 4), 16: (8, 4), 24: (9, 3)}
LINBITS = [0] * 16 + [1, 2, 3, 4, 6, 8, 10, 13, 4, 5, 6, 7, 8, 9, 11, 13]

# The first half of the synthesis window D[i] in units of 2^-16 (ISO/IEC 11172-3, table B.3).
WINDOW = """
0 -1 -1 -1 -1 -1 -1 -2 -2 -2 -2 -3 -3 -4 -4 -5 -5 -6 -7 -7 -8 -9 -10 -11 -13 -14 -16 -17 -19 -21 -24 -26
-29 -31 -35 -38 -41 -45 -49 -53 -58 -63 -68 -73 -79 -85 -91 -97 -104 -111 -117 -125 -132 -139 -147 -154 -161 -169 -176
-183 -190 -196 -202 -208
213 218 222 225 227 228 228 227 224 221 215 208 200 189 177 163 146 127 106 83 57 29 -2 -36 -72 -111 -153 -197 -244
-294 -347 -401 -459 -519 -581 -645 -711 -779 -848 -919 -991 -1064 -1137 -1210 -1283 -1356 -1428 -1498 -1567 -1634 -1698
-1759 -1817 -1870 -1919 -1962 -2001 -2032 -2057 -2075 -2085 -2087 -2080 -2063
2037 2000 1952 1893 1822 1739 1644 1535 1414 1280 1131 970 794 605 402 185 -45 -288 -545 -814 -1095 -1388 -1692 -2006
-2330 -2663 -3004 -3351 -3705 -4063 -4425 -4788 -5153 -5517 -5879 -6237 -6589 -6935 -7271 -7597 -7910 -8209 -8491 -8755
-8998 -9219 -9416 -9585 -9727 -9838 -9916 -9959 -9966 -9935 -9863 -9750 -9592 -9389 -9139 -8840 -8492 -8092 -7640 -7134
6574 5959 5288 4561 3776 2935 2037 1082 70 -998 -2122 -3300 -4533 -5818 -7154 -8540 -9975 -11455 -12980 -14548 -16155
-17799 -19478 -21189 -22929 -24694 -26482 -28289 -30112 -31947 -33791 -35640 -37489 -39336 -41176 -43006 -44821 -46617
-48390 -50137 -51853 -53534 -55178 -56778 -58333 -59838 -61289 -62684 -64019 -65290 -66494 -67629 -68692 -69679 -70590
-71420 -72169 -72835 -73415 -73908 -74313 -74630 -74856 -74992
75038
"""

# dB by subband, the last value repeated.
EQUALIZER = [
    ("flat", [0]),
    ("bass boost", [6, 4, 2, 1, 0]),
    ("bass cut", [-6, -4, -2, -1, 0]),
    ("treble boost", [0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6]),
    ("treble cut", [0, 0, 0, -1, -1, -2, -2, -3, -3, -4, -4, -5, -5, -6]),
    ("speech", [-6, 0, 3, 4, 4, 3, 1, 0, -2, -4, -6]),
    ("loudness", [6, 3, 1, 0, 0, 0, 0, 1, 1, 2, 3, 4, 5, 6]),
    ("small speaker", [-6, 2, 3, 2, 1, 0, 0, 1, 2, 3]),
]


def read_codes():
    tables, quads = collections.defaultdict(dict), {}
    for line in (HERE / "mp3_huffman_codes.txt").read_text().splitlines():
        fields = line.split()
        if not fields or fields[0].startswith("#"):
            continue
        if fields[0] == "A":
            quads[fields[2]] = int(fields[1], 2)
        else:
            tables[int(fields[0])][fields[3]] = (int(fields[1]), int(fields[2]))
    return tables, quads


def build_tree(codes, widths):
    """Returns the entries of a level and of all levels below it."""
    width = min(max(map(len, codes)), widths[0])
    entries, longer = [0] * (1 + 2 ** width), collections.defaultdict(dict)
    entries[0] = 0xF000 | width
    for code, (x, y) in codes.items():
        if len(code) > width:
            longer[code[:width]][code[width:]] = (x, y)
            continue
        free = width - len(code)
        first = int(code, 2) << free
        for i in range(first, first + 2 ** free):
            entries[1 + i] = len(code) << 12 | y << 8 | x << 4 | (x > 0) + (y > 0)
    for prefix, rest in sorted(longer.items()):
        link = len(entries)
        assert link < 0x1000
        entries[1 + int(prefix, 2)] = link
        entries += build_tree(rest, widths[1:] or widths)
    return entries


def huffman_tables():
    codes, quads = read_codes()
    trees, offsets, types = [], [0] * 32, [0] * 32
    for table in sorted(codes):
        offset, tree = len(trees), build_tree(codes[table], LEVEL_WIDTHS[table])
        trees += tree
        for user in range(table, table + 8 if table >= 16 else table + 1):
            offsets[user] = offset
            types[user] = 3 if user >= 16 else 2 if user >= 7 else 1
    types[4] = types[14] = 6
    assert len(trees) == 4242 and offsets[16] == 2886 and offsets[24] == 3537
    quad = [0] * 64
    for code, values in quads.items():
        free = 6 - len(code)
        for i in range(int(code, 2) << free, (int(code, 2) + 1) << free):
            quad[i] = len(code) << 4 | values
    quad += [0x40 | 15 - code for code in range(16)]
    lookup = [f"{{{bits}, {kind}, {{0, 0, 0}}}}" for bits, kind in zip(LINBITS, types)]
    return ("Packed Huffman tables of Layer III; Mp3Huffman.cpp tells how they are read.", [
        "struct HuffTabLookup {\n    uint32_t linbits;\n    uint8_t type;  // 0 no codes, 1 small, 2 medium, 3 with "
        "linbits, 6 none\n    uint8_t reserved[3];\n};\n",
        array("HuffTabLookup", "huffTabLookup", lookup),
        array("uint32_t", "huffTabOffset", offsets),
        array("uint16_t", "huffTable", [f"0x{e:04X}" for e in trees]),
        "inline constexpr uint32_t quadTabMaxBits[2] = {6, 4};\ninline constexpr uint32_t quadTabOffset[2] = {0, 64};\n",
        array("uint8_t", "quadTable", [f"0x{e:02X}" for e in quad])])


def fixed(value, bits):
    return round(value * 2 ** bits)


def requantize_tables():
    small = [fixed(math.copysign(abs(n) ** (4 / 3) * 2 ** (-quarter / 4), n), 25) for quarter in range(4)
             for n in range(-15, 16)]
    power = [fixed(n ** (4 / 3), 21 if n < 128 else 17) for n in range(1029)]
    # MPEG-1 intensity: left and right share by position, is / (1 + is) with is = tan(position * pi / 12); then as
    # much again for frames with middle/side.
    ratios = []
    for gain in (1, math.sqrt(2)):
        for position in range(7):
            angle = position * math.pi / 12
            left = math.sin(angle) / (math.sin(angle) + math.cos(angle))
            ratios += [fixed(gain * left, 30), fixed(gain * (1 - left), 30)]
    # MPEG-2 intensity: powers of 2^-1/4 and 2^-1/2.
    steps = [fixed(gain * 2 ** (-step * n / 4), 30) for gain in (1, math.sqrt(2)) for step in (1, 2) for n in range(17)]
    return ("Power law and intensity stereo factors of Layer III.", [
        "// |n|^(4/3) * 2^(-q/4) in units of 2^-25 with the sign of n, by q and n + 15.\n" +
        array("int32_t", "mp3dec_pow43_14", small, (4, 31)),
        "// n^(4/3) in units of 2^-21 for n below 128, else 2^-17.\n" + array("int32_t", "mp3dec_pow43", power),
        "// 2^(-q/4) in units of 2^-31.\n" +
        array("uint32_t", "mp3dec_pow14", [f"{fixed(2 ** (-q / 4), 31)}u" for q in range(4)]),
        "// MPEG-1 intensity: [with middle/side][position][right], in units of 2^-30.\n" +
        array("int32_t", "ISFMpeg1", ratios, (2, 7, 2)),
        "// MPEG-2 intensity: [with middle/side][intensity scale][exponent], in units of 2^-30.\n" +
        array("int32_t", "ISFMpeg2", steps, (2, 2, 17))])


def rotation(n):
    return [fixed(f((2 * k + 1) * math.pi / (4 * n)), 31) for k in range(n // 2) for f in (math.cos, math.sin)]


def block_window(block_type):
    long = [math.sin(math.pi / 36 * (i + 0.5)) for i in range(36)]
    short = [math.sin(math.pi / 12 * (i + 0.5)) for i in range(12)]
    if block_type == 1:
        return long[:18] + [1] * 6 + short[6:] + [0] * 6
    if block_type == 3:
        return [0] * 6 + short[:6] + [1] * 6 + long[18:]
    return short + [0] * 24 if block_type == 2 else long


def transform_tables():
    ci = [-0.6, -0.535, -0.33, -0.185, -0.095, -0.041, -0.0142, -0.0037]
    cs, ca = ([fixed(v / math.hypot(1, c), 31) for c, v in zip(ci, column)] for column in ([1] * 8, map(abs, ci)))
    # Spectra are sqrt(2) too loud; the window makes up for it.
    window = [fixed(w / math.sqrt(2), 31) for t in range(4) for w in block_window(t)]
    tables = [f"// cos and sin of (2k + 1) * pi / {4 * n}, in units of 2^-31.\n" +
              array("int32_t", f"kRotation{n}", rotation(n)) for n in (2, 4, 6, 8, 16, 18)]
    return ("Factors of the cosine transforms, block windows and alias reduction.", tables + [
        "// By block type; the first 12 of type 2. In units of 2^-31, divided by sqrt(2).\n" +
        array("int32_t", "kImdctWindow", window, (4, 36)),
        "// cs and -ca of the alias reduction, in units of 2^-31.\n" + array("int32_t", "mp3dec_cs", cs) +
        array("int32_t", "mp3dec_ca", ca)])


def sixteen_bit_taps(columns):
    narrow, wide = [], []
    for p in range(8):
        for tap in (tap for column in columns for tap in column[p]):
            quotient = (tap + 2) // 4 if p in (3, 4) else 0
            narrow.append(tap - 4 * quotient)
            if p in (3, 4):
                wide.append(quotient)
    assert all(-2 ** 15 <= tap < 2 ** 15 for tap in narrow + wide)
    text = [line for values, size in ((narrow, (8, 16, 2)), (wide, (2, 16, 2)))
            for line in ["    {", *rows(values, size), "    },"]]
    return "\n".join(["    {", *text, "    },"])


def synthesis_tables():
    half = [int(w) for w in WINDOW.split()]
    assert len(half) == 257
    d = half + [half[512 - i] if i % 64 == 0 else -half[512 - i] for i in range(257, 512)]
    # Output j (0 to 15) and 32 - m (m = 1 to 16) are sums over p of taps for A[j] and B[j], see kernels/Window.h.
    upper = [[(d[j + 64 * p], d[j + 32 + 64 * p]) for p in range(8)] for j in range(16)]
    lower = [[(-d[32 - m + 64 * p], d[64 - m + 64 * p]) for p in range(8)] for m in range(1, 17)]
    for p in range(8):
        lower[15][p] = (0, lower[15][p][1])  # A[16] is 0
    # B is t with the sign changed.
    taps = [16 * sign * column[p][which] for half in (upper, lower) for column in half
            for which, sign in ((0, 1), (1, -1)) for p in range(8)]
    lanes = [16 * sign * half[j][p][which] for half in (upper, lower)
             for which, sign in ((0, 1), (1, -1)) for p in range(8) for j in range(16)]
    return ("Window of the polyphase synthesis.", [
        "// [upper: output j, or lower: output 31 - j][j][eight taps of A, eight of -B], in units of 2^-20.\n" +
        array("int32_t", "kSynthesisWindow", taps, (2, 16, 16)),
        "// The same for several columns side by side: [upper, lower][taps of A, of -B][pair p][j].\n" +
        array("int32_t", "kSynthesisWindowLanes", lanes, (2, 2, 8, 16)),
        "// The same for 16-bit products, [pair p][j][tap of A, of B]: a tap is 4 wide + narrow in pairs 3 and 4, and all "
        "narrow\n// in the others.\n"
        "struct alignas(32) SynthesisTaps {\n    int16_t narrow[8][16][2];\n    int16_t wide[2][16][2];\n};\n",
        "inline constexpr SynthesisTaps kSynthesisTaps[2] = {\n" +
        "\n".join(sixteen_bit_taps(half) for half in (upper, lower)) + "\n};\n",
        "// Gain presets of the equaliser by subband, in units of 2^-28: " + ", ".join(n for n, _ in EQUALIZER) + ".\n" +
        array("int32_t", "kEqualizerGain", [fixed(10 ** ((gains + gains[-1:] * 32)[sb] / 20), 28)
                                           for _, gains in EQUALIZER for sb in range(32)], (len(EQUALIZER), 32))])


# Numbers of steps that Layer II quantises with; Layer I has 2^n - 1 steps.
LEVELS = [3, 5, 7, 9] + [2 ** n - 1 for n in range(4, 17)]


def layer12_tables():
    """Factors for numerators with the highest bit of a code at bit 30, by the three fractions of a scale factor."""
    factors = [fixed(2 ** -(third / 3) * 2 ** levels.bit_length() / levels, 30) for levels in LEVELS for third in range(3)]
    return ("Dequantisation of Layers I and II.", [
        "// Steps of a quantiser, by class.\n" + array("uint16_t", "kLayer2Levels", LEVELS),
        "// 2^(-third/3) * 2^n / steps for codes of n bits, in units of 2^-30.\n" +
        array("int32_t", "kLayer2Factor", factors, (len(LEVELS), 3))])


def main():
    compare, output = sys.argv[1] == "--compare", pathlib.Path(sys.argv[-1])
    different = []
    contents = {"HuffmanTables": huffman_tables(), "RequantizeTables": requantize_tables(),
                "TransformTables": transform_tables(), "SynthesisTables": synthesis_tables(),
                "Layer12Tables": layer12_tables()}
    for name, (title, parts) in contents.items():
        guard = f"QUORV_SRC_MP3DEC_TABLES_{name.upper()}_H"
        text = [f"// {title}", "//", "// Written by tools/tablegen/mp3_tables.py.", f"#ifndef {guard}", f"#define {guard}", "",
                "#include <stdint.h>", "", "namespace quorv {", "", "// clang-format off", *parts, "// clang-format on", "",
                "}  // namespace quorv", "", "#endif", ""]
        file = output / f"{name}.h"
        if not compare:
            file.write_text("\n".join(text))
        elif file.read_text() != "\n".join(text):
            different.append(f"{file} is not what this script writes")
    print("\n".join(different) or f"{len(contents)} files")
    return bool(different)


def rows(values, dimensions):
    """Returns the initializer of an array as lines of text."""
    if len(dimensions) > 1:
        step = len(values) // dimensions[0]
        parts = [rows(values[i:i + step], dimensions[1:]) for i in range(0, len(values), step)]
        flat = [" ".join(line.strip() for line in part) for part in parts]
        if all(len(line) < 100 for line in flat):
            return [f"    {{{line.rstrip(',')}}}," for line in flat]
        return [line for part in parts for line in ["    {", *part, "    },"]]
    lines, line = [], "   "
    for value in values:
        if len(line) + len(str(value)) > 108:
            lines.append(line)
            line = "   "
        line += f" {value},"
    return lines + [line]


def array(kind, name, values, dimensions=None):
    dimensions = dimensions or (len(values),)
    size = "".join(f"[{n}]" for n in dimensions)
    return f"inline constexpr {kind} {name}{size} = {{\n" + "\n".join(rows(values, dimensions)) + "\n};\n"


if __name__ == "__main__":
    sys.exit(main())
