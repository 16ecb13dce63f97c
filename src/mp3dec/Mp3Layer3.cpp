// Layer III: the order of the stages; see the header.

#include "mp3dec/Mp3Layer3.h"

#include <quorv/platform/memory.h>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3Huffman.h"
#include "mp3dec/Mp3Hybrid.h"
#include "mp3dec/Mp3Requantize.h"
#include "mp3dec/Mp3Reservoir.h"
#include "mp3dec/Mp3ScaleFactors.h"
#include "mp3dec/Mp3SideInfo.h"
#include "mp3dec/Mp3Stereo.h"

namespace quorv {

namespace {

struct Layer3Frame {
    Mp3FrameHeader *header;
    Mp3Channel *channels;
    const Mp3Kernels *kernels;
    Mp3SideInfo side;
    Mp3ScaleFactors factors[2];
    Mp3BitReader *main;
    uint32_t left_bits;  // of the main data
};

// Scale factors and spectrum of one channel. 0 or an error code.
uint32_t read_channel(Layer3Frame *frame, uint32_t g, uint32_t ch, Mp3Spectrum *spectrum) {
    const Mp3FrameHeader &header = *frame->header;
    const Mp3Granule &granule = frame->side.granules[g][ch];
    const uint32_t length = granule.part2_3_length;
    if (length != 0 && frame->left_bits == 0) return MP3_ERR_HUFFMAN;
    const uint32_t available = length < frame->left_bits ? length : frame->left_bits;

    Mp3BitWindow bits(*frame->main);
    if (mp3_is_low_rate(header))
        mp3_read_scale_factors_low_rate(&bits, granule, ch == 1 && mp3_has_intensity(header),
                                        &frame->factors[ch]);
    else
        mp3_read_scale_factors(&bits, granule, g == 0 ? 0 : frame->side.scfsi[ch], &frame->factors[ch]);
    if (bits.consumed() > available) return MP3_ERR_HUFFMAN;
    if (mp3_dechuff(&bits, header, granule, available, spectrum) != 0) return MP3_ERR_HUFFMAN;
    bit_skip1(frame->main, length);
    frame->left_bits -= available;
    return 0;
}

// Requantises all channels.
void requantize_with(const Layer3Frame &frame, uint32_t g, int32_t extra_bits, Mp3Spectrum spectra[2]) {
    for (uint32_t ch = 0; ch < mp3_channels(*frame.header); ++ch)
        mp3_requantize(*frame.kernels, *frame.header, frame.side.granules[g][ch], frame.factors[ch],
                       extra_bits, &spectra[ch]);
}

// Requantises all channels with as many extra bits as they have room for, which are returned.
int32_t requantize(const Layer3Frame &frame, uint32_t g, Mp3Spectrum spectra[2]) {
    constexpr int32_t kProbeBits = 27;  // with so many fewer no line that can be coded saturates
    int32_t extra_bits = kMaxExtraBits;
    for (uint32_t ch = 0; ch < mp3_channels(*frame.header); ++ch) {
        const int32_t own = mp3_extra_bits(*frame.header, frame.side.granules[g][ch], spectra[ch]);
        if (own < extra_bits) extra_bits = own;
    }
    if (extra_bits >= 0) {
        requantize_with(frame, g, extra_bits, spectra);
        return extra_bits;
    }

    // None may do, as scale factors turn lines down. If not, far fewer tell how many do.
    int32_t decoded[2][kMp3GranuleLines];
    for (uint32_t ch = 0; ch < mp3_channels(*frame.header); ++ch)
        MMemCpy(decoded[ch], spectra[ch].lines, sizeof decoded[ch]);
    const auto again = [&](int32_t bits) {
        for (uint32_t ch = 0; ch < mp3_channels(*frame.header); ++ch)
            MMemCpy(spectra[ch].lines, decoded[ch], sizeof decoded[ch]);
        requantize_with(frame, g, bits, spectra);
        const int32_t left = mp3_headroom(spectra[0]), right = mp3_headroom(spectra[1]);
        return left < right ? left : right;
    };
    if (again(0) >= kMp3LineHeadroom) return 0;
    extra_bits = again(-kProbeBits) - kProbeBits - kMp3LineHeadroom;
    again(extra_bits);
    return extra_bits;
}

uint32_t decode_granule(Layer3Frame *frame, uint32_t g) {
    const Mp3FrameHeader &header = *frame->header;
    const uint32_t channels = mp3_channels(header);
    Mp3Spectrum spectra[2];
    for (uint32_t ch = 0; ch < channels; ++ch) {
        spectra[ch].lines = frame->channels[ch].spectrum;
        const uint32_t error = read_channel(frame, g, ch, &spectra[ch]);
        if (error != 0) return error;
    }
    const Mp3Granule &right = frame->side.granules[g][1];
    Mp3LastBands last{};
    if (mp3_has_intensity(header)) last = mp3_last_bands(header, right, spectra[1]);
    const int32_t extra_bits = requantize(*frame, g, spectra);
    if (channels == 2) mp3_stereo(header, right, frame->factors[1], last, spectra);
    for (uint32_t ch = 0; ch < channels; ++ch)
        mp3_imdct(*frame->kernels, &frame->channels[ch], frame->side.granules[g][ch],
                  {spectra[ch].count, extra_bits}, g * kMp3GranuleSlots);
    return 0;
}

// 0 or an error code.
uint32_t decode_granules(Layer3Frame *frame, const Mp3MainData &data, int32_t *leftover_bits) {
    const uint32_t granules = mp3_granules(*frame->header);
    frame->left_bits = data.length * 8;
    uint32_t used_bits = 0;
    for (uint32_t g = 0; g < granules; ++g) {
        const uint32_t error = decode_granule(frame, g);
        if (error != 0) return error;
        for (uint32_t ch = 0; ch < mp3_channels(*frame->header); ++ch)
            used_bits += frame->side.granules[g][ch].part2_3_length;
    }
    *leftover_bits = static_cast<int32_t>(data.length * 8) - static_cast<int32_t>(used_bits);
    return 0;
}

}  // namespace

int32_t layer3_decode(Mp3InputBuffer *state, Mp3Frame *frame, Mp3Synthesis *output) {
    Layer3Frame work{};
    work.header = &frame->header;
    work.channels = frame->channels;
    work.kernels = &frame->kernels;
    work.main = state->main_reader;
    if (reservoir_create(state) != 0) return mp3_fail(state, MP3_ERR_NO_MEMORY);
    const uint8_t *const side_start = bit_position(*state->header_reader);
    const uint32_t side_size = mp3_side_info_size(frame->header);
    if (state->read_position - side_start < static_cast<ptrdiff_t>(side_size)) {
        state->reservoir_fill = 0;
        return mp3_fail(state, MP3_ERR_SIDE_INFO);
    }
    const bool intact = mp3_crc_matches(frame->header, *state->header_reader, side_size * 8);
    uint32_t error = intact ? 0 : uint32_t{MP3_ERR_CRC};
    const uint32_t side_error = mp3_read_side_info(&frame->header, state->header_reader, &work.side);
    if (error == 0) error = side_error;

    Mp3MainData data = reservoir_measure(*state, work.side.main_data_begin);
    const uint32_t reservoir_error = reservoir_open(state, &data);
    if (error == 0) error = reservoir_error;
    if (error == 0) error = decode_granules(&work, data, &state->leftover_bits);
    reservoir_keep(state, data);
    if (error != 0) return mp3_fail(state, error);
    frame_synthesize(frame, mp3_granules(frame->header) * kMp3GranuleSlots, output);
    return 0;
}

}  // namespace quorv
