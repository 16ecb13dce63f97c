// Layers I and II; see the header.

#include "mp3dec/Mp3Layer12.h"

#include <string.h>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3SampleCodes.h"
#include "mp3dec/tables/AllocationTables.h"

namespace quorv {

namespace {

constexpr uint32_t kParts = 3;       // of a Layer II frame, each with its scale factor
constexpr uint32_t kPartSlots = 12;  // of a Layer II part or a Layer I frame
constexpr uint32_t kMaxOneChannelBitrate = 192;

// A frame in work. Quantisers are classes of kLayer2Levels plus 1, 0 for no samples.
struct SubbandFrame {
    uint32_t channels;
    uint32_t subbands;
    uint32_t bound;  // subbands from here on share their samples between the channels
    uint8_t quantizer[2][kMp3Subbands];
    uint8_t selection[2][kMp3Subbands];       // Layer II: which scale factors are sent
    uint8_t factor[2][kMp3Subbands][kParts];  // Layer I has one part
};

uint32_t channels_with_own_samples(const SubbandFrame &frame, uint32_t sb) {
    return sb < frame.bound ? frame.channels : 1;
}

uint32_t joint_bound(const Mp3FrameHeader &header) {
    return mp3_is_joint(header) ? 4 * (header.mode_extension + 1) : kMp3Subbands;
}

// Bits from the reader's position to the next frame; what lies behind reads as zero from here on.
uint32_t open_frame(Mp3InputBuffer *input) {
    Mp3BitReader *reader = &input->header_reader;
    reader->end = input->read_position;
    const ptrdiff_t bytes = input->read_position - bit_position(*reader);
    return bytes > 0 ? static_cast<uint32_t>(bytes) * 8 : 0;
}

// The largest sample with this scale factor, in units of 2^16, rounded up.
uint32_t largest_of(uint32_t scale_factor) {
    return (1u << (kSampleBits + 1 - 16) >> scale_factor / 3) + 1;
}

// Bits of a group of codes, `samples` of each subband.
uint32_t group_bits(const SubbandFrame &frame, uint32_t samples) {
    uint32_t bits = 0;
    for (uint32_t sb = 0; sb < frame.subbands; ++sb) {
        for (uint32_t ch = 0; ch < channels_with_own_samples(frame, sb); ++ch)
            bits += frame.quantizer[ch][sb] == 0 ? 0 : mp3_code_bits(frame.quantizer[ch][sb] - 1u, samples);
    }
    return bits;
}

// Reads the codes of all samples; those of subbands without any are 0.
void read_codes(Mp3BitWindow *bits, const SubbandFrame &frame, uint32_t samples, Mp3Channel *channels) {
    for (uint32_t ch = 0; ch < frame.channels; ++ch)
        memset(channels[ch].samples(), 0, kMp3MaxSlots * sizeof(Mp3Slot));
    const uint32_t step = group_bits(frame, samples);
    uint32_t position = bits->position();
    for (uint32_t sb = 0; sb < frame.subbands; ++sb) {
        const uint32_t own = channels_with_own_samples(frame, sb);
        for (uint32_t ch = 0; ch < own; ++ch) {
            if (frame.quantizer[ch][sb] == 0) continue;
            const uint32_t quantizer = frame.quantizer[ch][sb] - 1u;
            mp3_read_codes(*bits, {quantizer, samples, position, step}, &channels[ch].samples()[0][sb]);
            position += mp3_code_bits(quantizer, samples);
        }
        for (uint32_t slot = 0; own < frame.channels && slot < kMp3CodeGroups * samples; ++slot)
            channels[1].samples()[slot][sb] = channels[0].samples()[slot][sb];
    }
    bits->skip(kMp3CodeGroups * step);
}

// Makes samples of the codes of a part.
void dequantize(const Mp3Kernels &kernels, const SubbandFrame &frame, uint32_t part, Mp3Channel *channels) {
    for (uint32_t ch = 0; ch < frame.channels; ++ch) {
        int32_t factors[kMp3Subbands] = {};
        uint32_t sum = 0;
        for (uint32_t sb = 0; sb < frame.subbands; ++sb) {
            if (frame.quantizer[ch][sb] == 0) continue;
            const uint32_t scale_factor = frame.factor[ch][sb][part];
            factors[sb] = mp3_code_factor(frame.quantizer[ch][sb] - 1u, scale_factor);
            sum += largest_of(scale_factor);
        }
        if (sum > kMp3SafeSum) channels[ch].is_loud = true;
        kernels.dequantize(channels[ch].samples() + size_t{part} * kPartSlots, kPartSlots, factors);
    }
}

// Moves the reader behind the samples and checks that the frame held them.
Mp3Error finish(Mp3InputBuffer *input, const Mp3BitWindow &bits, uint32_t available) {
    if (bits.consumed() > available) return Mp3Error::SideInfo;
    bit_skip(&input->header_reader, bits.consumed());
    const Mp3BitReader &reader = input->header_reader;
    input->main_reader = reader;
    input->leftover_bits =
        reader.bits_left - 8 + static_cast<int32_t>(input->read_position - reader.byte) * 8;
    return Mp3Error::None;
}

void read_allocation_1(Mp3BitWindow *bits, SubbandFrame *frame) {
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
        const uint32_t own = channels_with_own_samples(*frame, sb);
        for (uint32_t ch = 0; ch < own; ++ch) {
            // n + 1 bits: 3 and 7 steps are classes 0 and 2, 2^n - 1 steps are class n.
            constexpr uint8_t kQuantizers[16] = {0, 1, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 0};
            frame->quantizer[ch][sb] = kQuantizers[bits->read(4)];
        }
        if (own < frame->channels) frame->quantizer[1][sb] = frame->quantizer[0][sb];
    }
}

void read_factors_1(Mp3BitWindow *bits, SubbandFrame *frame) {
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
        for (uint32_t ch = 0; ch < frame->channels; ++ch) {
            if (frame->quantizer[ch][sb] != 0) frame->factor[ch][sb][0] = static_cast<uint8_t>(bits->read(6));
        }
    }
}

// The allocation table for the bit rate of one channel.
const Layer2Table &layer2_table(const Mp3FrameHeader &header) {
    if (mp3_is_low_rate(header)) return kLayer2Tables[kLayer2TableLowRate];
    const uint32_t bitrate = header.bitrate / mp3_channels(header);
    const bool free_format = mp3_has_flag(header, MP3_FLAG_FREE_FORMAT);
    if (!free_format && bitrate < 56)
        return kLayer2Tables[header.sample_rate == 32000 ? kLayer2TableD : kLayer2TableC];
    if (header.sample_rate == 48000 || (!free_format && bitrate < 96)) return kLayer2Tables[kLayer2TableA];
    return kLayer2Tables[kLayer2TableB];
}

const Layer2Row &layer2_row(const Layer2Table &table, uint32_t sb) {
    uint32_t run = 0;
    while (sb >= table.runs[run].end)
        ++run;
    return kLayer2Rows[table.runs[run].row];
}

void read_allocation_2(Mp3BitWindow *bits, const Layer2Table &table, SubbandFrame *frame) {
    for (uint32_t sb = 0; sb < frame->subbands; ++sb) {
        const Layer2Row &row = layer2_row(table, sb);
        const uint32_t own = channels_with_own_samples(*frame, sb);
        for (uint32_t ch = 0; ch < own; ++ch)
            frame->quantizer[ch][sb] = row.quantizers[bits->read(row.bits)];
        if (own < frame->channels) frame->quantizer[1][sb] = frame->quantizer[0][sb];
    }
    for (uint32_t sb = 0; sb < frame->subbands; ++sb) {
        for (uint32_t ch = 0; ch < frame->channels; ++ch) {
            if (frame->quantizer[ch][sb] != 0) frame->selection[ch][sb] = static_cast<uint8_t>(bits->read(2));
        }
    }
}

void read_factors_2(Mp3BitWindow *bits, SubbandFrame *frame) {
    // By selection and part: whether a factor is sent; the others repeat the one before.
    constexpr bool kSent[4][kParts] = {
        {true, true, true}, {true, false, true}, {true, false, false}, {true, true, false}};
    for (uint32_t sb = 0; sb < frame->subbands; ++sb) {
        for (uint32_t ch = 0; ch < frame->channels; ++ch) {
            if (frame->quantizer[ch][sb] == 0) continue;
            uint8_t factor = 0;
            for (uint32_t part = 0; part < kParts; ++part) {
                if (kSent[frame->selection[ch][sb]][part]) factor = static_cast<uint8_t>(bits->read(6));
                frame->factor[ch][sb][part] = factor;
            }
        }
    }
}

}  // namespace

Mp3Error layer1_decode(Mp3InputBuffer *input, const Mp3Kernels &kernels, const Mp3FrameHeader &header,
                       Mp3Channel *channels) {
    SubbandFrame work{};
    work.channels = mp3_channels(header);
    work.subbands = kMp3Subbands;
    work.bound = joint_bound(header);
    const uint32_t available = open_frame(input);
    Mp3BitWindow bits(input->header_reader);
    read_allocation_1(&bits, &work);
    if (bits.consumed() > available) return Mp3Error::SideInfo;
    if (!mp3_crc_matches(header, input->header_reader, bits.consumed())) return Mp3Error::Crc;
    read_factors_1(&bits, &work);
    read_codes(&bits, work, 1, channels);
    dequantize(kernels, work, 0, channels);
    return finish(input, bits, available);
}

Mp3Error layer2_decode(Mp3InputBuffer *input, const Mp3Kernels &kernels, Mp3FrameHeader *header,
                       Mp3Channel *channels) {
    if (mp3_channels(*header) == 1 && header->bitrate > kMaxOneChannelBitrate) return Mp3Error::Layer2Mode;
    if (mp3_is_joint(*header)) header->flags |= MP3_FLAG_LAYER2_JOINT;
    const Layer2Table &table = layer2_table(*header);
    SubbandFrame work{};
    work.channels = mp3_channels(*header);
    work.subbands = table.subbands;
    work.bound = joint_bound(*header);
    const uint32_t available = open_frame(input);
    Mp3BitWindow bits(input->header_reader);
    read_allocation_2(&bits, table, &work);
    if (bits.consumed() > available) return Mp3Error::SideInfo;
    if (!mp3_crc_matches(*header, input->header_reader, bits.consumed())) return Mp3Error::Crc;
    read_factors_2(&bits, &work);
    read_codes(&bits, work, 3, channels);
    for (uint32_t part = 0; part < kParts; ++part)
        dequantize(kernels, work, part, channels);
    return finish(input, bits, available);
}

}  // namespace quorv
