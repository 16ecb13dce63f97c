// Samples of one format; see the header.

#include "PcmReader.h"

#include "Failure.h"

namespace quorv::tool {

PcmReader::PcmReader(SoundDecoder &decoder, const PcmFormat &format)
    : decoder_(decoder), next_(decoder.next()), format_(format) {
    if (next_ == nullptr)
        throw Failure(ExitCode::BadFile, decoder.damage().empty() ? "no MPEG audio frames can be found in it"
                                                                  : "no frame of it can be decoded");
    first_rate_ = next_->sample_rate;
    if (format_.sample_rate == 0) format_.sample_rate = next_->sample_rate;
    if (format_.channels == 0) format_.channels = next_->channels;
}

std::span<const int16_t> PcmReader::read() {
    output_.clear();
    while (output_.empty() && next_ != nullptr) {
        take(*next_);
        next_ = decoder_.next();
        if (next_ == nullptr && resampler_) resampler_->finish(output_);
    }
    return output_;
}

void PcmReader::take(const QuorvSamples &samples) {
    if (samples.sample_rate != rate_) change_rate(samples.sample_rate);
    const std::span<const int16_t> pcm = with_channels(samples);
    if (resampler_)
        resampler_->convert(pcm, output_);
    else
        output_.insert(output_.end(), pcm.begin(), pcm.end());
}

void PcmReader::change_rate(uint32_t rate) {
    if (resampler_) resampler_->finish(output_);
    resampler_.reset();
    if (rate != format_.sample_rate) resampler_.emplace(rate, format_.sample_rate, format_.channels);
    rate_ = rate;
}

std::span<const int16_t> PcmReader::with_channels(const QuorvSamples &samples) {
    const std::span<const int16_t> pcm(samples.samples, samples.frames * samples.channels);
    if (samples.channels == format_.channels) return pcm;
    mixed_.clear();
    if (samples.channels == 1) {
        for (const int16_t sample : pcm)
            mixed_.insert(mixed_.end(), {sample, sample});
    } else {
        for (size_t i = 0; i < pcm.size(); i += 2)
            mixed_.push_back(static_cast<int16_t>((pcm[i] + pcm[i + 1] + 1) >> 1));
    }
    return mixed_;
}

}  // namespace quorv::tool
