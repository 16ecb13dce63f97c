// The side information of a Layer III frame; see the header.

#include "mp3dec/Mp3SideInfo.h"

#include "mp3dec/Mp3FrameHeader.h"

namespace quorv {

namespace {

constexpr uint32_t kMaxBigValues = 288;

uint8_t bits_at(uint32_t field, uint32_t shift, uint32_t width) {
    return static_cast<uint8_t>(field >> shift & ((1u << width) - 1));
}

void read_window_switching(Mp3BitReader *reader, Mp3Granule *granule) {
    granule->block_type = static_cast<uint8_t>(bit_read(reader, 2));
    granule->flags = bit_read(reader, 1) != 0 ? kMp3MixedBlock : 0;
    const uint32_t field = bit_read(reader, 19);
    granule->table_select[0] = bits_at(field, 14, 5);
    granule->table_select[1] = bits_at(field, 9, 5);
    for (uint32_t w = 0; w < 3; ++w)
        granule->subblock_gain[w] = bits_at(field, 6 - 3 * w, 3);
    granule->region0_count = mp3_is_short(*granule) && !mp3_is_mixed(*granule) ? 8 : 7;
    granule->region1_count = 20 - granule->region0_count;
}

void read_regions(Mp3BitReader *reader, Mp3Granule *granule) {
    const uint32_t field = bit_read(reader, 22);
    for (uint32_t region = 0; region < 3; ++region)
        granule->table_select[region] = bits_at(field, 17 - 5 * region, 5);
    granule->region0_count = bits_at(field, 3, 4);
    granule->region1_count = bits_at(field, 0, 3);
}

// What is wrong with the granule is told, and all of it read.
Mp3Error read_granule(const Mp3FrameHeader &header, Mp3BitReader *reader, uint32_t scfsi,
                      Mp3Granule *granule) {
    *granule = {};
    const uint32_t field = bit_read(reader, 29);
    granule->part2_3_length = static_cast<uint16_t>(field >> 17);
    granule->big_values = static_cast<uint16_t>(field >> 8 & 0x1FF);
    granule->global_gain = static_cast<uint16_t>(field & 0xFF);
    granule->scalefac_compress = static_cast<uint16_t>(bit_read(reader, mp3_is_low_rate(header) ? 9 : 4));
    granule->window_switching = bit_read(reader, 1);
    if (granule->window_switching != 0)
        read_window_switching(reader, granule);
    else
        read_regions(reader, granule);
    const uint32_t flags = bit_read(reader, mp3_is_low_rate(header) ? 2 : 3);
    granule->flags = static_cast<uint8_t>(granule->flags | flags);

    if (granule->window_switching != 0 && granule->block_type == 0) return Mp3Error::BlockType;
    if (mp3_is_short(*granule) && scfsi != 0) return Mp3Error::Scfsi;
    return granule->big_values > kMaxBigValues ? Mp3Error::BigValues : Mp3Error::None;
}

}  // namespace

uint32_t mp3_side_info_size(const Mp3FrameHeader &header) {
    const bool one_channel = mp3_channels(header) == 1;
    if (mp3_is_low_rate(header)) return one_channel ? 9 : 17;
    return one_channel ? 17 : 32;
}

Mp3Error mp3_read_side_info(Mp3FrameHeader *header, Mp3BitReader *reader, Mp3SideInfo *side) {
    const uint32_t channels = mp3_channels(*header);
    const bool low_rate = mp3_is_low_rate(*header);
    side->main_data_begin = bit_read(reader, low_rate ? 8 : 9);
    header->private_bits |= bit_read(reader, low_rate ? channels : channels == 1 ? 5 : 3);
    for (uint32_t ch = 0; ch < channels; ++ch)
        side->scfsi[ch] = low_rate ? uint8_t{0} : static_cast<uint8_t>(bit_read(reader, 4));
    Mp3Error error = Mp3Error::None;
    for (uint32_t g = 0; g < mp3_granules(*header); ++g) {
        for (uint32_t ch = 0; ch < channels; ++ch) {
            error = mp3_first(error, read_granule(*header, reader, side->scfsi[ch], &side->granules[g][ch]));
        }
    }
    return error;
}

}  // namespace quorv
