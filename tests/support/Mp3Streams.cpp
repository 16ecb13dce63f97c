// MPEG audio streams for tests; see the header.

#include "support/Mp3Streams.h"

#include <cmath>

#include "support/BitWriter.h"
#include "support/RiffPieces.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"

namespace quorv::test {

Bytes noise_stream(size_t frames, const NoiseFormat &format, std::vector<double> *subbands) {
    const uint32_t rate_index = format.sample_rate == 44100 ? 0 : format.sample_rate == 48000 ? 1 : 2;
    const uint32_t channels = format.channels, values = 12 * channels;
    const size_t size = size_t{12000} * 32 * format.bitrate_index / format.sample_rate * 4;
    for (uint32_t channel = 0; channel < channels && subbands != nullptr; ++channel)
        subbands[channel].assign(frames * 12 * 32, 0);
    Random random{1};
    Bytes stream;
    for (size_t n = 0; n < frames; ++n) {
        BitWriter bits;
        bits.put(0xFFFF, 16);  // sync word, MPEG-1, Layer I, no check word
        bits.put(format.bitrate_index << 4 | rate_index << 2, 8);
        bits.put(channels == 1 ? 0xC0 : 0x00, 8);
        for (uint32_t i = 0; i < 32 * channels; ++i)
            bits.put(i / channels % 2 == 0 && i < 2 * values ? 3 : 0, 4);  // 15 steps or nothing
        double factors[24];
        for (uint32_t i = 0; i < values; ++i) {
            const uint32_t index = 6 + random() % 8;
            bits.put(index, 6);
            factors[i] = std::exp2(1 - index / 3.0);
        }
        for (size_t i = 0; i < 12 * values; ++i) {
            const uint32_t code = random() % 15;
            bits.put(code, 4);
            if (subbands == nullptr) continue;
            const size_t slot = n * 12 + i / values, band = i % values, subband = band / channels * 2;
            subbands[band % channels][slot * 32 + subband] = (2.0 * code - 14) / 15 * factors[band];
        }
        stream.insert(stream.end(), bits.data().begin(), bits.data().end());
        stream.resize((n + 1) * size);
    }
    return stream;
}

Bytes real_mp3_stream() {
    OpenedBytesOf<kAviSplitter> sample(bytes_of_file(real_sample()));
    Bytes stream;
    for (const Frame &frame : sample.file.read_all(2).frames)
        stream = join({stream, frame.data});
    return stream;
}

std::vector<size_t> frame_starts(const Bytes &stream) {
    std::vector<size_t> starts;
    size_t at = 0;
    for (; at < stream.size(); at += 417u + (stream[at + 2] >> 1 & 1u))
        starts.push_back(at);
    starts.push_back(at);
    return starts;
}

Bytes id3v2_tag(size_t size) {
    Bytes tag = join({text("ID3"), Bytes{4, 0, 0}});
    for (int shift = 21; shift >= 0; shift -= 7)
        tag.push_back(size >> shift & 0x7F);
    tag.resize(tag.size() + size);
    return tag;
}

Bytes xing_frame(const char *name, size_t frames, size_t bytes, uint32_t delay, uint32_t padding) {
    Bytes frame = {0xFF, 0xFB, 0x90, 0x00};
    frame.resize(417);
    uint8_t *place = frame.data() + 36;
    const auto put = [&place](size_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            *place++ = static_cast<uint8_t>(value >> shift);
    };
    place = std::copy(name, name + 4, place);
    put(15);  // all of the following
    put(frames);
    put(bytes);
    for (uint32_t i = 0; i < 100; ++i)
        *place++ = static_cast<uint8_t>(i * 256 / 100);
    put(0);
    const char encoder[] = "TEST 1.00";
    place = std::copy(encoder, encoder + 9, place) + 12;
    put((delay << 12 | padding) << 8);
    return frame;
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

Bytes decode_to(const QuMp3OutputRequest &request, uint32_t stream_rate, const Bytes &stream,
                const Calls &calls) {
    const QuMp3Config config = {2, 3, stream_rate};
    const DecoderHolder decoder(QU_MP3_decoder_init(&config, &request));
    return decode(decoder.get(), stream, calls);
}

Bytes first_of(const Bytes &bytes, size_t size) {
    return {bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)};
}

std::vector<int16_t> samples_of(const Bytes &pcm) {
    std::vector<int16_t> samples(pcm.size() / 2);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(pcm[2 * i] | pcm[2 * i + 1] << 8);
    return samples;
}

}  // namespace quorv::test
