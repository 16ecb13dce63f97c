// MPEG audio streams for tests; see the header.

#include "support/Mp3Streams.h"

#include <stdlib.h>

#include <algorithm>

#include "support/BitWriter.h"
#include "support/RiffPieces.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"

namespace quorv::test {
Bytes noise_stream(size_t frames, const NoiseFormat &format, uint32_t seed) {
    const uint32_t rate_index = format.sample_rate == 44100 ? 0 : format.sample_rate == 48000 ? 1 : 2;
    const uint32_t bands = 12 * format.channels;
    const size_t size = size_t{12000} * 32 * format.bitrate_index / format.sample_rate * 4;
    Random random{seed};
    Bytes stream;
    for (size_t n = 1; n <= frames; ++n) {
        BitWriter bits;
        bits.put(0xFFFF, 16);  // sync word, MPEG-1, Layer I, no check word
        bits.put(format.bitrate_index << 4 | rate_index << 2, 8);
        bits.put(format.channels == 1 ? 0xC0 : 0x00, 8);
        for (uint32_t i = 0; i < 32 * format.channels; ++i)
            bits.put(i < bands ? 3 : 0, 4);
        for (uint32_t i = 0; i < bands; ++i)
            bits.put(6 + random() % 8, 6);  // scale factors
        for (uint32_t i = 0; i < 12 * bands; ++i)
            bits.put(random() % 15, 4);
        stream.insert(stream.end(), bits.data().begin(), bits.data().end());
        stream.resize(n * size);
    }
    return stream;
}

Bytes real_mp3_stream() {
    const MemoryStore store(bytes_of_file(real_sample()));
    TestSource source(store);
    SplitterFile file(kAviSplitter, source.record());
    Bytes stream;
    for (const Frame &frame : file.read_all(2).frames)
        stream = join({stream, frame.data});
    return stream;
}

Bytes id3v2_tag(size_t size) {
    Bytes tag = join({text("ID3"), Bytes{4, 0, 0}});
    for (int shift = 21; shift >= 0; shift -= 7)
        tag.push_back(size >> shift & 0x7F);
    tag.resize(tag.size() + size);
    return tag;
}

Calls random_calls(uint32_t seed, size_t largest_piece, size_t largest_room) {
    const auto random = std::make_shared<Random>(Random{seed});
    return {[=] { return 1 + (*random)() % largest_piece; },
            [=] { return (*random)() % (largest_room + 1); }};
}

Bytes decode(QuMp3Decoder decoder, const Bytes &stream, const Calls &calls, int32_t *last_code) {
    Bytes pcm;
    size_t position = 0;
    for (size_t steps_left = 100000 + 1000 * stream.size();; --steps_left) {
        const size_t count = std::min(calls.piece(), stream.size() - position), room = calls.room();
        const std::unique_ptr<uint8_t[]> piece(new uint8_t[count]), block(new uint8_t[room + 1]);
        std::copy_n(stream.begin() + static_cast<ptrdiff_t>(position), count, piece.get());
        QuMp3Buffer input = {piece.get(), static_cast<uint32_t>(count), 77};
        QuMp3Buffer output = {block.get() + 1, static_cast<uint32_t>(room), 77};
        const int32_t code = QU_MP3_decoder_read(decoder, &input, &output);
        if (steps_left == 0 || code < QU_MP3_OK || code > QU_MP3_ERROR || input.result > count ||
            output.result > room || (code == QU_MP3_OK && output.result == 0))
            abort();
        pcm.insert(pcm.end(), block.get() + 1, block.get() + 1 + output.result);
        position += input.result;
        if (last_code != nullptr) *last_code = code;
        if (code == QU_MP3_ERROR || (count == 0 && code == QU_MP3_NEED_INPUT)) return pcm;
    }
}

Bytes decode(const Bytes &stream, const Calls &calls) {
    const DecoderHolder decoder(QU_MP3_decoder_init(nullptr, nullptr));
    return decode(decoder.get(), stream, calls);
}

std::vector<int16_t> samples_of(const Bytes &pcm) {
    std::vector<int16_t> samples(pcm.size() / 2);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(pcm[2 * i] | pcm[2 * i + 1] << 8);
    return samples;
}

}  // namespace quorv::test
