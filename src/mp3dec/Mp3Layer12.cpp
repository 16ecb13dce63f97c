// Layers I and II; see the header.

#include "mp3dec/Mp3Layer12.h"

#include <quorv/platform/memory.h>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3BitCache.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/tables/AllocationTables.h"
#include "mp3dec/tables/Layer12Tables.h"

namespace quorv {

namespace {

constexpr uint32_t kLayer1Slots = 12;
constexpr uint32_t kParts = 3;  // of a Layer II frame, each with its scale factor
constexpr uint32_t kGroup = 3;  // samples of a subband that come together in Layer II
constexpr uint32_t kMaxOneChannelBitrate = 192;

// A frame in work. Quantisers are classes of layer2Levels plus 1, 0 for no samples.
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
uint32_t open_frame(Mp3InputBuffer *state) {
    Mp3BitReader *const reader = state->header_reader;
    reader->end = state->read_position;
    const ptrdiff_t bytes = state->read_position - bit_position(*reader);
    return bytes > 0 ? static_cast<uint32_t>(bytes) * 8 : 0;
}

// What a sample's code is multiplied with.
struct Scale {
    uint32_t levels;
    uint32_t factor;
    uint32_t shift;
};

Scale scale_of(uint32_t quantizer, uint32_t scale_factor) {
    const uint32_t kind = quantizer - 1;
    constexpr uint32_t kUnscaled = 31 - 1 - kSampleBits;  // scale factor 0 is 2.0
    return {layer2Levels[kind], layer2Factor[kind][scale_factor % 3],
            kUnscaled + layer2Shift[kind] + scale_factor / 3};
}

// The largest sample with this scale factor, in units of 2^16, rounded up.
uint32_t largest_of(uint32_t scale_factor) {
    return (1u << (kSampleBits + 1 - 16) >> scale_factor / 3) + 1;
}

// (2 code + 1 - levels) / levels times the scale factor.
int32_t dequantize(uint32_t code, const Scale &scale) {
    const int64_t numerator = 2 * int64_t{code} + 1 - int64_t{scale.levels};
    return static_cast<int32_t>((numerator * scale.factor + (int64_t{1} << (scale.shift - 1))) >>
                                scale.shift);
}

uint32_t code_bits(uint32_t levels) {
    return 32 - static_cast<uint32_t>(__builtin_clz(levels));
}

// Three codes in one number; a division by a constant is a product.
template <uint32_t levels>
void split_group(uint32_t group, uint32_t codes[kGroup]) {
    codes[0] = group % levels;
    codes[1] = group / levels % levels;
    codes[2] = group / (levels * levels) % levels;
}

// Three codes of a Layer II quantiser.
void read_codes(Mp3BitCache *bits, uint32_t levels, uint32_t codes[kGroup]) {
    switch (levels) {
        case 3:
            return split_group<3>(bits->read(5), codes);
        case 5:
            return split_group<5>(bits->read(7), codes);
        case 9:
            return split_group<9>(bits->read(10), codes);
        default:
            break;
    }
    const uint32_t width = code_bits(levels);
    for (uint32_t i = 0; i < kGroup; ++i)
        codes[i] = bits->read(width);
}

// Clears the subbands without samples.
void clear_silent(Mp3Channel *channels, const SubbandFrame &frame) {
    for (uint32_t ch = 0; ch < frame.channels; ++ch)
        MMemSet(channels[ch].samples(), 0, kMp3MaxSlots * sizeof(Mp3Slot));
}

// Moves the reader behind the samples and checks that the frame held them.
int32_t finish(Mp3InputBuffer *state, const Mp3BitCache &bits, uint32_t available, uint32_t used) {
    if (used + bits.consumed() > available) return mp3_fail(state, MP3_ERR_SIDE_INFO);
    bit_skip(state->header_reader, bits.consumed());
    return 0;
}

uint32_t read_allocation_1(Mp3BitReader *reader, SubbandFrame *frame) {
    uint32_t used = 0;
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
        const uint32_t own = channels_with_own_samples(*frame, sb);
        for (uint32_t ch = 0; ch < own; ++ch) {
            const uint32_t field = bit_read(reader, 4);
            // n + 1 bits: 3 and 7 steps are classes 0 and 2, 2^n - 1 steps are class n.
            constexpr uint8_t kQuantizers[16] = {0, 1, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 0};
            frame->quantizer[ch][sb] = kQuantizers[field];
            used += 4;
        }
        if (own < frame->channels) frame->quantizer[1][sb] = frame->quantizer[0][sb];
    }
    return used;
}

void read_factors_1(Mp3BitCache *bits, SubbandFrame *frame, Mp3Channel *channels) {
    uint32_t sums[2] = {};
    for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
        for (uint32_t ch = 0; ch < frame->channels; ++ch) {
            if (frame->quantizer[ch][sb] == 0) continue;
            frame->factor[ch][sb][0] = static_cast<uint8_t>(bits->read(6));
            sums[ch] += largest_of(frame->factor[ch][sb][0]);
            if (sums[ch] > kMp3SafeSum) channels[ch].is_loud = true;
        }
    }
}

void read_samples_1(Mp3BitCache *bits, const SubbandFrame &frame, Mp3Channel *channels) {
    for (uint32_t slot = 0; slot < kLayer1Slots; ++slot) {
        for (uint32_t sb = 0; sb < kMp3Subbands; ++sb) {
            const uint32_t own = channels_with_own_samples(frame, sb);
            uint32_t code = 0;
            for (uint32_t ch = 0; ch < frame.channels; ++ch) {
                if (frame.quantizer[ch][sb] == 0) continue;
                const Scale scale = scale_of(frame.quantizer[ch][sb], frame.factor[ch][sb][0]);
                if (ch < own) code = bits->read(code_bits(scale.levels));
                channels[ch].samples()[slot][sb] = dequantize(code, scale);
            }
        }
    }
}

// The allocation table for the bit rate of one channel.
const Layer2Table &layer2_table(const Mp3FrameHeader &header) {
    if (mp3_is_low_rate(header)) return layer2Tables[kLayer2TableLowRate];
    const uint32_t bitrate = header.bitrate / mp3_channels(header);
    const bool free_format = mp3_has_flag(header, MP3_FLAG_FREE_FORMAT);
    if (!free_format && bitrate < 56)
        return layer2Tables[header.sample_rate == 32000 ? kLayer2TableD : kLayer2TableC];
    if (header.sample_rate == 48000 || (!free_format && bitrate < 96)) return layer2Tables[kLayer2TableA];
    return layer2Tables[kLayer2TableB];
}

const Layer2Row &layer2_row(const Layer2Table &table, uint32_t sb) {
    uint32_t run = 0;
    while (sb >= table.runs[run].end)
        ++run;
    return layer2Rows[table.runs[run].row];
}

uint32_t read_allocation_2(Mp3BitReader *reader, const Layer2Table &table, SubbandFrame *frame) {
    uint32_t used = 0;
    for (uint32_t sb = 0; sb < frame->subbands; ++sb) {
        const Layer2Row &row = layer2_row(table, sb);
        const uint32_t own = channels_with_own_samples(*frame, sb);
        for (uint32_t ch = 0; ch < own; ++ch) {
            frame->quantizer[ch][sb] = row.quantizers[bit_read(reader, row.bits)];
            used += row.bits;
        }
        if (own < frame->channels) frame->quantizer[1][sb] = frame->quantizer[0][sb];
    }
    for (uint32_t sb = 0; sb < frame->subbands; ++sb) {
        for (uint32_t ch = 0; ch < frame->channels; ++ch) {
            if (frame->quantizer[ch][sb] == 0) continue;
            frame->selection[ch][sb] = static_cast<uint8_t>(bit_read(reader, 2));
            used += 2;
        }
    }
    return used;
}

void read_factors_2(Mp3BitCache *bits, SubbandFrame *frame) {
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

// Three slots.
void read_group_2(Mp3BitCache *bits, const SubbandFrame &frame, const Scale (*scales)[kMp3Subbands],
                  uint32_t slot, Mp3Channel *channels) {
    for (uint32_t sb = 0; sb < frame.subbands; ++sb) {
        const uint32_t own = channels_with_own_samples(frame, sb);
        uint32_t codes[kGroup] = {};
        for (uint32_t ch = 0; ch < frame.channels; ++ch) {
            if (frame.quantizer[ch][sb] == 0) continue;
            const Scale scale = scales[ch][sb];
            if (ch < own) read_codes(bits, scale.levels, codes);
            for (uint32_t i = 0; i < kGroup; ++i)
                channels[ch].samples()[slot + i][sb] = dequantize(codes[i], scale);
        }
    }
}

void read_samples_2(Mp3BitCache *bits, const SubbandFrame &frame, Mp3Channel *channels) {
    constexpr uint32_t kPartSlots = kMp3MaxSlots / kParts;
    for (uint32_t part = 0; part < kParts; ++part) {
        Scale scales[2][kMp3Subbands] = {};
        for (uint32_t ch = 0; ch < frame.channels; ++ch) {
            uint32_t sum = 0;
            for (uint32_t sb = 0; sb < frame.subbands; ++sb) {
                const uint32_t quantizer = frame.quantizer[ch][sb];
                if (quantizer == 0) continue;
                scales[ch][sb] = scale_of(quantizer, frame.factor[ch][sb][part]);
                sum += largest_of(frame.factor[ch][sb][part]);
            }
            if (sum > kMp3SafeSum) channels[ch].is_loud = true;
        }
        for (uint32_t slot = part * kPartSlots; slot < (part + 1) * kPartSlots; slot += kGroup)
            read_group_2(bits, frame, scales, slot, channels);
    }
}

}  // namespace

int32_t layer1_decode(Mp3InputBuffer *state, Mp3Frame *frame) {
    const Mp3FrameHeader &header = frame->header;
    SubbandFrame work{};
    work.channels = mp3_channels(header);
    work.subbands = kMp3Subbands;
    work.bound = joint_bound(header);
    const uint32_t available = open_frame(state);
    const Mp3BitReader start = *state->header_reader;
    const uint32_t used = read_allocation_1(state->header_reader, &work);
    if (used > available) return mp3_fail(state, MP3_ERR_SIDE_INFO);
    if (!mp3_crc_matches(header, start, used)) return mp3_fail(state, MP3_ERR_CRC);

    Mp3BitCache bits(*state->header_reader);
    read_factors_1(&bits, &work, frame->channels);
    clear_silent(frame->channels, work);
    read_samples_1(&bits, work, frame->channels);
    return finish(state, bits, available, used);
}

int32_t layer2_decode(Mp3InputBuffer *state, Mp3Frame *frame) {
    Mp3FrameHeader &header = frame->header;
    if (mp3_channels(header) == 1 && header.bitrate > kMaxOneChannelBitrate)
        return mp3_fail(state, MP3_ERR_LAYER2_MODE);
    if (mp3_is_joint(header)) header.flags |= MP3_FLAG_LAYER2_JOINT;
    const Layer2Table &table = layer2_table(header);
    SubbandFrame work{};
    work.channels = mp3_channels(header);
    work.subbands = table.subbands;
    work.bound = joint_bound(header);
    const uint32_t available = open_frame(state);
    const Mp3BitReader start = *state->header_reader;
    const uint32_t used = read_allocation_2(state->header_reader, table, &work);
    if (used > available) return mp3_fail(state, MP3_ERR_SIDE_INFO);
    if (!mp3_crc_matches(header, start, used)) return mp3_fail(state, MP3_ERR_CRC);

    Mp3BitCache bits(*state->header_reader);
    read_factors_2(&bits, &work);
    clear_silent(frame->channels, work);
    read_samples_2(&bits, work, frame->channels);
    return finish(state, bits, available, used);
}

}  // namespace quorv
