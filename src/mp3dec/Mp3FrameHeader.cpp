// Reading a frame header; see the header.

#include "mp3dec/Mp3FrameHeader.h"

#include "mp3dec/tables/ScaleFactorBands.h"

namespace quorv {

namespace {

// kbit/s by row and bit rate index. Rows: MPEG-1 Layer I, II, III; low sampling rates Layer I, then Layers II
// and III together.
constexpr uint16_t kBitrates[5][15] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
};
constexpr uint32_t kSampleRates[3] = {44100, 48000, 32000};

}  // namespace

void header_init(Mp3FrameHeader *header) {
    *header = {};
}

Mp3Error mp3_parse_header(Mp3FrameHeader *header, Mp3BitReader *reader) {
    header->flags = 0;
    header->private_bits = 0;
    bit_skip(reader, 8);
    const uint32_t version_byte = bit_read(reader, 8);
    if ((version_byte & 0x10) == 0) header->flags |= MP3_FLAG_MPEG25;
    if ((version_byte & 0x08) == 0)
        header->flags |= MP3_FLAG_LOW_SAMPLING_RATE;
    else if (mp3_has_flag(*header, MP3_FLAG_MPEG25))
        return Mp3Error::Sync;
    const uint32_t layer = 4 - (version_byte >> 1 & 3);
    if (layer == 4) return Mp3Error::Layer;
    header->layer = static_cast<uint8_t>(layer);
    if ((version_byte & 1) == 0) {
        header->flags |= MP3_FLAG_CRC;
        header->computed_crc = bit_crc(reader, 16, 0xFFFF);
    }

    const uint32_t rate_byte = bit_read(reader, 8);
    header->bitrate_index = rate_byte >> 4;
    if (header->bitrate_index == 15) return Mp3Error::Bitrate;
    const uint32_t row = !mp3_is_low_rate(*header) ? layer - 1 : layer == 1 ? 3 : 4;
    header->bitrate = kBitrates[row][header->bitrate_index];
    const uint32_t rate_index = rate_byte >> 2 & 3;
    if (rate_index == 3) return Mp3Error::SampleRate;
    const uint32_t version = mp3_has_flag(*header, MP3_FLAG_MPEG25) ? 2 : mp3_is_low_rate(*header) ? 1 : 0;
    header->sample_rate_index = rate_index;
    header->sample_rate = kSampleRates[rate_index] >> version;
    header->scale_factor_bands = sfband[rate_index + 3 * version];
    if ((rate_byte & 2) != 0) header->flags |= MP3_FLAG_PADDING;
    if ((rate_byte & 1) != 0) header->private_bits = 0x100;

    const uint32_t mode_byte = bit_read(reader, 8);
    header->channel_code = static_cast<uint8_t>(3 - (mode_byte >> 6));
    header->mode_extension = mode_byte >> 4 & 3;
    if ((mode_byte & 8) != 0) header->flags |= MP3_FLAG_COPYRIGHT;
    if ((mode_byte & 4) != 0) header->flags |= MP3_FLAG_ORIGINAL;
    header->emphasis = mode_byte & 3;
    if (mp3_has_flag(*header, MP3_FLAG_CRC)) header->stored_crc = static_cast<uint16_t>(bit_read(reader, 16));
    return Mp3Error::None;
}

bool mp3_crc_matches(const Mp3FrameHeader &header, const Mp3BitReader &reader, uint32_t bits) {
    if (!mp3_has_flag(header, MP3_FLAG_CRC) || (header.options & kMp3IgnoreCrc) != 0) return true;
    return bit_crc(&reader, bits, header.computed_crc) == header.stored_crc;
}

}  // namespace quorv
