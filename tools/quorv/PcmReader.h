// The sound of an MPEG audio track as 16-bit samples.
#ifndef QUORV_TOOLS_QUORV_PCMREADER_H
#define QUORV_TOOLS_QUORV_PCMREADER_H

#include "MediaFile.h"
#include "Wav.h"

namespace quorv::tool {

// Whether the track is one of MPEG audio.
bool can_decode(const Track &track);

// Reads a track from where the file stands. All members throw Failure.
class PcmReader {
public:
    // A rate or channel count of 0 is the stream's own. The file must outlive the reader.
    PcmReader(MediaFile &media, const Track &track, const PcmFormat &wanted);
    ~PcmReader();
    PcmReader(const PcmReader &) = delete;
    PcmReader &operator=(const PcmReader &) = delete;

    const PcmFormat &format() const { return format_; }
    // The next samples: little-endian, the channels interleaved, valid until the next call; none at the end.
    std::span<const uint8_t> read();

private:
    struct StreamFormat {
        uint32_t sample_rate, channels;
    };
    StreamFormat find_stream_format();
    bool next_piece();
    std::span<const uint8_t> duplicate(std::span<const uint8_t> mono);

    MediaFile &media_;
    const Track track_;
    PcmFormat format_;
    bool duplicates_ = false;
    void *decoder_ = nullptr;
    std::vector<uint8_t> first_bytes_;
    std::span<const uint8_t> input_;
    bool ended_ = false;
    std::vector<uint8_t> output_, doubled_;
};

}  // namespace quorv::tool

#endif
