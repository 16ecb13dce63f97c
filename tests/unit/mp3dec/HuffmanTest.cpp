// Huffman decoding: every code of every table, its signs and linbits, and the limits of the bit budget.

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3Huffman.h"
#include "mp3dec/tables/HuffmanTables.h"
#include "mp3dec/tables/ScaleFactorBands.h"
#include "support/BitWriter.h"

namespace quorv::test {
namespace {

void put_bits(BitWriter *writer, const std::string &bits) {
    for (const char bit : bits)
        writer->put(bit == '1', 1);
}

Mp3BitWindow window_of(const std::vector<uint8_t> &bytes) {
    Mp3BitReader reader;
    bit_place(&reader, bytes.data(), bytes.data() + bytes.size());
    return Mp3BitWindow(reader);
}

// The decoded values, of which large ones are kept apart.
std::vector<int32_t> values_of(const Mp3Spectrum &spectrum) {
    std::vector<int32_t> values(spectrum.lines, spectrum.lines + spectrum.coded);
    for (uint32_t i = 0; i < spectrum.large_count; ++i)
        values[spectrum.large[i].line] += spectrum.large[i].value;
    return values;
}

// What follows the code of a value: linbits, which add up to `extra`, and the sign. Returns the whole value.
int32_t finish_value(BitWriter *writer, uint32_t value, uint32_t linbits, bool negative, uint32_t extra) {
    const bool escaped = linbits != 0 && value == 15;
    if (escaped) writer->put(extra, static_cast<int>(linbits));
    value += escaped ? extra : 0;
    if (value != 0) writer->put(negative, 1);
    return negative ? -static_cast<int32_t>(value) : static_cast<int32_t>(value);
}

TEST(Mp3Huffman, DecodesEveryCode) {
    std::ifstream file(QUORV_HUFFMAN_CODES);
    size_t count = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        uint32_t table, code_x, code_y;
        std::string bits;
        if (!(fields >> table >> code_x >> code_y >> bits)) continue;
        // The codes of 16 and 24 are those of all tables with linbits.
        const uint32_t last = table == 16 ? 23 : table == 24 ? 31 : table;
        for (; table <= last; ++table, ++count) {
            SCOPED_TRACE(std::to_string(table) + ' ' + bits);
            const uint32_t linbits = huffTabLookup[table].linbits, largest = (1u << linbits) - 1;
            // Once alone, and so often that several are looked up together.
            for (const uint32_t pairs : {1u, 7u}) {
                BitWriter writer;
                std::vector<int32_t> expected;
                while (expected.size() < 2 * pairs) {
                    put_bits(&writer, bits);
                    expected.push_back(finish_value(&writer, code_x, linbits, true, largest));
                    expected.push_back(finish_value(&writer, code_y, linbits, false, largest / 2));
                }
                Mp3BitWindow window = window_of(writer.data());
                int32_t lines[14];
                Mp3Spectrum spectrum;
                spectrum.lines = lines;
                ASSERT_EQ(dechuffpairs(&window, table, 2 * pairs, &spectrum), 0);
                EXPECT_EQ(values_of(spectrum), expected);
                EXPECT_EQ(window.consumed(), writer.bit_count());
            }
        }
    }
    ASSERT_EQ(count, 4u + 9 + 9 + 16 + 16 + 3 * 36 + 3 * 64 + 2 * 256 + 16 * 256);
}

TEST(Mp3Huffman, DecodesQuadruplesUntilBitsOrRoomEnd) {
    // Table B: the code is the complement of the four flags, the signs follow. 1010, 0000, 1111.
    BitWriter writer;
    put_bits(&writer, "010110111100000110");
    const std::vector<int32_t> expected = {-1, 0, 1, 0, 0, 0, 0, 0, 1, -1, -1, 1};
    // Bits, room and the values that fit both.
    for (const auto &[available, room, count] : std::initializer_list<std::array<uint32_t, 3>>{
             {18, 12, 12}, {18, 11, 8}, {17, 12, 8}, {9, 12, 4}, {5, 12, 0}, {0, 12, 0}}) {
        std::vector<int32_t> lines(kMp3GranuleLines);
        Mp3Spectrum spectrum;
        spectrum.lines = lines.data();
        spectrum.coded = kMp3GranuleLines - room;
        Mp3BitWindow window = window_of(writer.data());
        dechuffquads(&window, 1, available, &spectrum);
        ASSERT_EQ(spectrum.coded, kMp3GranuleLines - room + count) << available << ' ' << room;
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(lines[kMp3GranuleLines - room + i], expected[i]) << i;
    }
}

TEST(Mp3Huffman, RegionsOfShortAndMixedBlocksEndByTheirBands) {
    struct Case {
        uint32_t row;  // of the bands: 44100, 22050 or 8000 Hz
        uint8_t block_type, flags;
        uint32_t region0_count, lines;  // of the first region
    };
    for (const auto &[row, block_type, flags, region0_count, lines] : {Case{0, 2, 0, 8, 36},
                                                                       {0, 2, kMp3MixedBlock, 7, 36},
                                                                       {3, 2, 0, 8, 36},
                                                                       {3, 2, kMp3MixedBlock, 7, 48},
                                                                       {8, 2, 0, 8, 72},
                                                                       {8, 2, kMp3MixedBlock, 7, 96},
                                                                       {3, 1, 0, 7, 54},
                                                                       {0, 0, 0, 2, 12}}) {
        Mp3FrameHeader header{};
        header.flags = row == 0 ? 0 : uint32_t{MP3_FLAG_LOW_SAMPLING_RATE};
        header.scale_factor_bands = sfband[row];
        const Mp3Granule granule{0,  288,           0, 0, block_type != 0, block_type, flags, {1, 0, 0},
                                 {}, region0_count, 0};
        const std::vector<uint8_t> ones(36, 0xFF);
        for (const uint32_t missing : {0u, 1u}) {
            int32_t values[kMp3GranuleLines];
            Mp3Spectrum spectrum;
            spectrum.lines = values;
            Mp3BitWindow window = window_of(ones);
            EXPECT_EQ(mp3_dechuff(&window, header, granule, lines / 2 - missing, &spectrum),
                      missing == 0 ? 0 : -1)
                << lines;
        }
    }
}

}  // namespace
}  // namespace quorv::test
