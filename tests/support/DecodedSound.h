// MPEG audio through quorv_decode, in pieces of any size or in the packets of a file.
#ifndef QUORV_TESTS_SUPPORT_DECODEDSOUND_H
#define QUORV_TESTS_SUPPORT_DECODEDSOUND_H

#include <quorv/quorv.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "support/ByteStores.h"

namespace quorv::test {

struct MediaDecoderCloser {
    void operator()(QuorvDecoder *decoder) const { quorv_decoder_close(decoder); }
};
using MediaDecoderHolder = std::unique_ptr<QuorvDecoder, MediaDecoderCloser>;

inline MediaDecoderHolder open_decoder(const QuorvTrack *track = nullptr, uint32_t flags = 0) {
    QuorvDecoder *decoder = nullptr;
    static_cast<void>(quorv_decoder_open(track, flags, &decoder));
    return MediaDecoderHolder(decoder);
}

struct ReaderCloser {
    void operator()(QuorvReader *reader) const { quorv_close(reader); }
};
using ReaderHolder = std::unique_ptr<QuorvReader, ReaderCloser>;

// Null when it cannot be opened; the file must stay.
inline ReaderHolder open_file(const Bytes &file) {
    QuorvReader *reader = nullptr;
    static_cast<void>(quorv_open_memory(file.data(), file.size(), &reader));
    return ReaderHolder(reader);
}

struct DecodedSound {
    struct Format {
        size_t frame;  // the first one that has it
        uint32_t sample_rate, channels;
        bool operator==(const Format &) const = default;
    };
    std::vector<int16_t> samples;
    std::vector<Format> formats;
    size_t frames = 0;

    bool take(const QuorvSamples *portion) {
        if (portion == nullptr || portion->frames == 0) return false;
        if (portion->format_changed != 0)
            formats.push_back({frames, portion->sample_rate, portion->channels});
        frames += portion->frames;
        if (portion->samples == nullptr) return true;  // of a decoder that only measures
        samples.insert(samples.end(), portion->samples,
                       portion->samples + portion->frames * portion->channels);
        return true;
    }
    void decode(QuorvDecoder *decoder, const uint8_t *data, size_t size) {
        const QuorvSamples *portion = nullptr;
        quorv_decode(decoder, data, size, &portion);
        while (take(portion))
            quorv_decode(decoder, nullptr, 0, &portion);
    }
    void finish(QuorvDecoder *decoder) {
        const QuorvSamples *portion = nullptr;
        do
            quorv_decoder_finish(decoder, &portion);
        while (take(portion));
    }
};

inline DecodedSound decode_sound(QuorvDecoder *decoder, const Bytes &stream, size_t piece = SIZE_MAX) {
    DecodedSound sound;
    for (size_t done = 0; done < stream.size(); done += std::min(piece, stream.size() - done))
        sound.decode(decoder, stream.data() + done, std::min(piece, stream.size() - done));
    sound.finish(decoder);
    return sound;
}

// All that a reader still has of its only track.
inline DecodedSound decode_rest(QuorvReader *reader, QuorvDecoder *decoder) {
    DecodedSound sound;
    for (const QuorvPacket *packet; quorv_read(reader, &packet) == QUORV_OK;)
        sound.decode(decoder, static_cast<const uint8_t *>(packet->data), packet->size);
    sound.finish(decoder);
    return sound;
}

}  // namespace quorv::test

#endif
