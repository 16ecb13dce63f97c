// The sound of an input as 16-bit samples of one rate and channel count, whatever its frames have.
#ifndef QUORV_TOOLS_QUORV_PCMREADER_H
#define QUORV_TOOLS_QUORV_PCMREADER_H

#include <optional>
#include <span>
#include <vector>

#include "Resampler.h"
#include "SoundDecoder.h"
#include "Wav.h"

namespace quorv::tool {

// All members throw Failure.
class PcmReader {
public:
    // Reads up to the first samples, whose rate and channels stand for those that are 0 in the format.
    // Channels are doubled, or mixed to one. The decoder must outlive the reader.
    PcmReader(SoundDecoder &decoder, const PcmFormat &format);

    const PcmFormat &format() const { return format_; }
    // Of the first samples, before they are converted.
    uint32_t first_rate() const { return first_rate_; }
    // The next samples, channels interleaved, valid until the next call; none at the end.
    std::span<const int16_t> read();

private:
    void take(const QuorvSamples &samples);
    void change_rate(uint32_t rate);
    std::span<const int16_t> with_channels(const QuorvSamples &samples);

    SoundDecoder &decoder_;
    const QuorvSamples *next_;  // null at the end
    PcmFormat format_;
    uint32_t first_rate_ = 0;
    uint32_t rate_ = 0;  // of the samples that came last
    std::optional<Resampler> resampler_;
    std::vector<int16_t> mixed_, output_;
};

}  // namespace quorv::tool

#endif
