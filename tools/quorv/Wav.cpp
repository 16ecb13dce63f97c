// The header of a WAV file; see the header.

#include "Wav.h"

#include <bit>

namespace quorv::tool {

namespace {

constexpr uint32_t kSampleBytes = 2;
constexpr uint32_t kSizeElsewhere = 0xFFFFFFFF;
constexpr uint32_t kLargeSizesBytes = 28;  // of the RF64 chunk that holds the sizes

template <typename Integer>
void append(std::string &text, Integer value) {
    for (unsigned shift = 0; shift < 8 * sizeof(value); shift += 8)
        text += static_cast<char>(value >> shift & 0xFF);
}

std::string format_chunk(const PcmFormat &format) {
    const uint32_t block = format.channels * kSampleBytes;
    std::string chunk = "fmt ";
    append(chunk, uint32_t{16});
    append(chunk, uint16_t{1});  // PCM
    append(chunk, static_cast<uint16_t>(format.channels));
    append(chunk, format.sample_rate);
    append(chunk, format.sample_rate * block);
    append(chunk, static_cast<uint16_t>(block));
    append(chunk, static_cast<uint16_t>(8 * kSampleBytes));
    return chunk;
}

std::string large_sizes_chunk(const PcmFormat &format, uint64_t riff_bytes, uint64_t data_bytes) {
    std::string chunk = "ds64";
    append(chunk, kLargeSizesBytes);
    append(chunk, riff_bytes);
    append(chunk, data_bytes);
    append(chunk, data_bytes / kSampleBytes / format.channels);
    append(chunk, uint32_t{0});  // no table of further sizes
    return chunk;
}

std::string padding_chunk() {
    std::string chunk = "JUNK";
    append(chunk, kLargeSizesBytes);
    return chunk.append(kLargeSizesBytes, '\0');
}

std::string chunk_head(const char *name, uint32_t size) {
    std::string head = name;
    append(head, size);
    return head;
}

}  // namespace

std::span<const uint8_t> pcm_bytes(std::span<const int16_t> samples) {
    static_assert(std::endian::native == std::endian::little);
    return {reinterpret_cast<const uint8_t *>(samples.data()), samples.size_bytes()};
}

std::string wav_stream_header(const PcmFormat &format) {
    return chunk_head("RIFF", kSizeElsewhere) + "WAVE" + format_chunk(format) +
           chunk_head("data", kSizeElsewhere);
}

std::string wav_header(const PcmFormat &format, uint64_t data_bytes, bool room_for_more) {
    const std::string format_part = format_chunk(format);
    const size_t plain_bytes = 4 + format_part.size() + 8;  // of the RIFF chunk, without the samples
    const size_t extra_bytes = 8 + kLargeSizesBytes;
    const bool is_large = data_bytes > kSizeElsewhere - 1 - plain_bytes - extra_bytes;
    const uint64_t riff_bytes = data_bytes + plain_bytes + (is_large || room_for_more ? extra_bytes : 0);

    std::string header =
        is_large ? chunk_head("RF64", kSizeElsewhere) : chunk_head("RIFF", static_cast<uint32_t>(riff_bytes));
    header += "WAVE";
    if (is_large) {
        header += large_sizes_chunk(format, riff_bytes, data_bytes);
    } else if (room_for_more) {
        header += padding_chunk();
    }
    return header + format_part +
           chunk_head("data", is_large ? kSizeElsewhere : static_cast<uint32_t>(data_bytes));
}

}  // namespace quorv::tool
