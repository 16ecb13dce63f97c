// The library's decoder of MPEG audio on an input of the tool.
#ifndef QUORV_TOOLS_QUORV_SOUNDDECODER_H
#define QUORV_TOOLS_QUORV_SOUNDDECODER_H

#include <quorv/quorv.h>

#include <memory>
#include <string>

namespace quorv::tool {

class SoundInput;

class SoundDecoder {
public:
    // Flags are QUORV_DECODER_*. The input must outlive the decoder. Throws Failure.
    SoundDecoder(SoundInput &input, uint32_t flags);

    // The next samples, one at least, valid until the next call; null at the end. Throws Failure.
    const QuorvSamples *next();
    // What could not be decoded so far, and why; else empty.
    std::string damage() const;

private:
    struct Close {
        void operator()(QuorvDecoder *decoder) const { quorv_decoder_close(decoder); }
    };

    SoundInput &input_;
    std::unique_ptr<QuorvDecoder, Close> decoder_;
    bool has_more_ = false;  // of the bytes that it has
    bool ended_ = false;
};

}  // namespace quorv::tool

#endif
