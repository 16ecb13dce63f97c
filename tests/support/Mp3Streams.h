// MPEG audio streams for tests, and feeding them to a decoder in pieces of any size.
#ifndef QUORV_TESTS_SUPPORT_MP3STREAMS_H
#define QUORV_TESTS_SUPPORT_MP3STREAMS_H

#include <quorv/mp3_decoder.h>

#include <functional>
#include <memory>

#include "support/ByteStores.h"

namespace quorv::test {

// Numbers that are the same on every machine.
struct Random {
    uint64_t state;
    uint32_t operator()() {
        state = state * 6364136223846793005 + 1442695040888963407;
        return static_cast<uint32_t>(state >> 32);
    }
};

// Layer I frames of random samples: loud noise that needs no encoder.
struct NoiseFormat {
    uint32_t sample_rate = 44100;  // or 48000, 32000
    uint32_t channels = 2;
    uint32_t bitrate_index = 8;  // times 32 kbit/s, from 8 on
};
// subbands[channel] gets the subband samples, 32 of them for each time slot.
Bytes noise_stream(size_t frames, const NoiseFormat &format = {}, std::vector<double> *subbands = nullptr);
// The MP3 track of the committed sample file: 128 kbit/s, 44100 Hz, two channels.
Bytes real_mp3_stream();
// Where the frames of such a stream start, and its end.
std::vector<size_t> frame_starts(const Bytes &stream);
// A tag of so many bytes behind its header of 10.
Bytes id3v2_tag(size_t size);
// A frame of the real stream's format and 417 bytes that has no sound but what an encoder says of a stream:
// named "Xing" or "Info", with its frames and bytes, and samples in front of the sound and behind it.
Bytes xing_frame(const char *name, size_t frames, size_t bytes, uint32_t delay, uint32_t padding);

struct DecoderCloser {
    void operator()(QuMp3Decoder decoder) const { QU_MP3_decoder_close(decoder); }
};
using DecoderHolder = std::unique_ptr<void, DecoderCloser>;

// How a caller calls: sizes of the pieces, from 1 on, and of the outputs.
struct Calls {
    std::function<size_t()> piece = [] { return SIZE_MAX; };
    std::function<size_t()> room = [] { return size_t{1} << 16; };
};
Calls random_calls(uint32_t seed, size_t largest_piece, size_t largest_room);

// Decodes a stream to its end, in memory of the exact sizes, outputs at odd addresses. Aborts when the
// decoder breaks its contract: too many calls, more consumed or produced than there is.
Bytes decode(QuMp3Decoder decoder, const Bytes &stream, const Calls &calls = {},
             int32_t *last_code = nullptr);
// The same with a decoder of their own, the second one with other rates and channels.
Bytes decode(const Bytes &stream, const Calls &calls = {});
Bytes decode_to(const QuMp3OutputRequest &request, uint32_t stream_rate, const Bytes &stream,
                const Calls &calls = {});
Bytes first_of(const Bytes &bytes, size_t size);
std::vector<int16_t> samples_of(const Bytes &pcm);

}  // namespace quorv::test

#endif
