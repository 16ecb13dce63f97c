// Layer III: the order of the stages; see the header.

#include "mp3dec/Mp3Layer3.h"

#include <string.h>

#include <algorithm>

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

// Scale factors and spectrum of one channel.
Mp3Error read_channel(Layer3Frame *frame, uint32_t g, uint32_t ch, Mp3Spectrum *spectrum) {
    const Mp3FrameHeader &header = *frame->header;
    const Mp3Granule &granule = frame->side.granules[g][ch];
    const uint32_t length = granule.part2_3_length;
    if (length != 0 && frame->left_bits == 0) return Mp3Error::Huffman;
    const uint32_t available = std::min(length, frame->left_bits);

    Mp3BitWindow bits(*frame->main);
    if (mp3_is_low_rate(header))
        mp3_read_scale_factors_low_rate(&bits, granule, ch == 1 && mp3_has_intensity(header),
                                        &frame->factors[ch]);
    else
        mp3_read_scale_factors(&bits, granule, g == 0 ? 0 : frame->side.scfsi[ch], &frame->factors[ch]);
    if (bits.consumed() > available) return Mp3Error::Huffman;
    if (mp3_dechuff(&bits, header, granule, available, spectrum) != 0) return Mp3Error::Huffman;
    bit_skip1(frame->main, length);
    frame->left_bits -= available;
    return Mp3Error::None;
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
        extra_bits = std::min(extra_bits, own);
    }
    if (extra_bits >= 0) {
        requantize_with(frame, g, extra_bits, spectra);
        return extra_bits;
    }

    // None may do, as scale factors turn lines down. If not, far fewer tell how many do.
    int32_t decoded[2][kMp3GranuleLines];
    for (uint32_t ch = 0; ch < mp3_channels(*frame.header); ++ch)
        memcpy(decoded[ch], spectra[ch].lines, sizeof(decoded[ch]));
    const auto again = [&](int32_t bits) {
        for (uint32_t ch = 0; ch < mp3_channels(*frame.header); ++ch)
            memcpy(spectra[ch].lines, decoded[ch], sizeof(decoded[ch]));
        requantize_with(frame, g, bits, spectra);
        const int32_t left = mp3_headroom(spectra[0]), right = mp3_headroom(spectra[1]);
        return std::min(left, right);
    };
    if (again(0) >= kMp3LineHeadroom) return 0;
    extra_bits = again(-kProbeBits) - kProbeBits - kMp3LineHeadroom;
    again(extra_bits);
    return extra_bits;
}

Mp3Error decode_granule(Layer3Frame *frame, uint32_t g) {
    const Mp3FrameHeader &header = *frame->header;
    const uint32_t channels = mp3_channels(header);
    Mp3Spectrum spectra[2];
    for (uint32_t ch = 0; ch < channels; ++ch) {
        spectra[ch].lines = frame->channels[ch].spectrum;
        const Mp3Error error = read_channel(frame, g, ch, &spectra[ch]);
        if (error != Mp3Error::None) return error;
    }
    const Mp3Granule &right = frame->side.granules[g][1];
    Mp3LastBands last{};
    if (mp3_has_intensity(header)) last = mp3_last_bands(header, right, spectra[1]);
    const int32_t extra_bits = requantize(*frame, g, spectra);
    if (channels == 2) mp3_stereo(header, right, frame->factors[1], last, spectra);
    for (uint32_t ch = 0; ch < channels; ++ch)
        mp3_imdct(*frame->kernels, &frame->channels[ch], frame->side.granules[g][ch],
                  {spectra[ch].count, extra_bits}, g * kMp3GranuleSlots);
    return Mp3Error::None;
}

Mp3Error decode_granules(Layer3Frame *frame, const Mp3MainData &data, int32_t *leftover_bits) {
    const uint32_t granules = mp3_granules(*frame->header);
    frame->left_bits = data.length * 8;
    uint32_t used_bits = 0;
    for (uint32_t g = 0; g < granules; ++g) {
        const Mp3Error error = decode_granule(frame, g);
        if (error != Mp3Error::None) return error;
        for (uint32_t ch = 0; ch < mp3_channels(*frame->header); ++ch)
            used_bits += frame->side.granules[g][ch].part2_3_length;
    }
    *leftover_bits = static_cast<int32_t>(data.length * 8) - static_cast<int32_t>(used_bits);
    return Mp3Error::None;
}

}  // namespace

Mp3Error layer3_decode(Mp3InputBuffer *input, Mp3Reservoir *reservoir, const Mp3Kernels &kernels,
                       Mp3FrameHeader *header, Mp3Channel *channels) {
    if (!reservoir_create(reservoir)) return Mp3Error::NoMemory;
    Layer3Frame work{};
    work.header = header;
    work.channels = channels;
    work.kernels = &kernels;
    work.main = &input->main_reader;
    const uint8_t *side_start = bit_position(input->header_reader);
    const uint32_t side_size = mp3_side_info_size(*header);
    if (input->read_position - side_start < static_cast<ptrdiff_t>(side_size)) {
        reservoir->fill = 0;
        return Mp3Error::SideInfo;
    }
    const bool intact = mp3_crc_matches(*header, input->header_reader, side_size * 8);
    Mp3Error error = intact ? Mp3Error::None : Mp3Error::Crc;
    error = mp3_first(error, mp3_read_side_info(header, &input->header_reader, &work.side));
    Mp3MainData data = reservoir_measure(*input, work.side.main_data_begin);
    error = mp3_first(error, reservoir_open(reservoir, input, &data));
    if (error == Mp3Error::None) error = decode_granules(&work, data, &input->leftover_bits);
    reservoir_keep(reservoir, *input, data);
    return error;
}

}  // namespace quorv
