// Fuzz harness of the MP3 decoder and the MP3 scan. The input is a stream, control bytes behind it, and as
// the last byte their number. They choose the conversion, the equaliser, the frames asked for and the sizes
// of pieces and outputs. However the stream is cut, the samples are those of the stream in one piece; and
// whatever kernels decode it, they are the same to the last bit.

#include <quorv/mp3_decoder.h>
#include <quorv/platform/stream.h>

#include <vector>

#include "Harness.h"
#include "mp3dec/Mp3Decoder.h"

using namespace quorv::fuzz;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kLargestRoom = 6000;

struct Control {
    const uint8_t *bytes;
    size_t count, next = 0;
    // Round and round, so that a few bytes cut the whole stream.
    uint32_t byte() { return count == 0 ? 0 : bytes[next++ % count]; }
};

// Decodes to the end of the stream or to where the decoder gives up; without control in one piece.
Bytes decode(QuMp3Decoder decoder, const uint8_t *data, size_t size, Control control) {
    Bytes pcm;
    size_t position = 0;
    for (size_t calls_left = 10000 + 20 * size;; --calls_left) {
        require(calls_left > 0);
        size_t count = size - position, room = kLargestRoom;
        if (control.count > 2) {
            const uint32_t piece = control.byte();
            count = std::min<size_t>(count, piece < 128 ? piece + 1 : (piece - 127) * 37);
            room = control.byte() * 23 + 4;
        }
        const auto copy = exact_copy(data + position, count);
        Bytes space(room);
        QuMp3Buffer input = {copy.get(), static_cast<uint32_t>(count), 0};
        QuMp3Buffer output = {space.data(), static_cast<uint32_t>(room), 0};
        const int32_t code = QU_MP3_decoder_read(decoder, &input, &output);
        require(code >= QU_MP3_OK && code <= QU_MP3_ERROR);
        require(input.result <= count && output.result <= room);
        pcm.insert(pcm.end(), space.data(), space.data() + output.result);
        position += input.result;
        if (code == QU_MP3_ERROR || (count == 0 && code == QU_MP3_NEED_INPUT)) return pcm;
    }
}

void scan(const uint8_t *data, size_t size, uint32_t frames) {
    const auto copy = exact_copy(data, size);
    MStream stream = MStreamOpenFromMemoryBlock(copy.get(), static_cast<uint32_t>(size));
    MStreamSeek(stream, MSTREAM_SEEK_START, 1);
    QuMp3Info info = {};
    const int32_t code = QU_MP3_info_get(stream, &info, frames);
    require(MStreamTell(stream) == std::min<intptr_t>(1, MStreamGetSize(stream)));
    if (code == 0) {
        require(info.layer >= 1 && info.layer <= 3 && info.channels - 1 <= 1 && info.version <= 2);
        require(info.sample_rate >= 8000 && info.sample_rate <= 48000);
        require(QU_MP3_min_input_buffer_size(&info) >= 9);
    }
    uint32_t duration = 0, count = 0;
    QuMp3Summary summary = {};
    // Frames are there or not, however many are asked for.
    require(QU_MP3_get_info(stream, &duration, &count, &summary) == code);
    require(code != 0 || count > 0);
    MStreamClose(stream);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const size_t control_size = std::min<size_t>(data[size - 1], size - 1);
    const size_t stream_size = size - 1 - control_size;
    Control control = {data + stream_size, control_size};
    constexpr uint32_t kRates[] = {0, 22050, 11025, 32000, 8000, 1};
    const uint32_t settings = control.byte();
    const QuMp3Config config = {2, 3, 44100};
    const QuMp3OutputRequest request = {settings & 3, kRates[settings / 4 % 6]};
    QuMp3Decoder decoder = QU_MP3_decoder_init(&config, (settings & 0x80) != 0 ? &request : nullptr);
    require(QU_MP3_decoder_EQ_enabled(settings & 0x40, control.byte(), decoder) == 0);

    const Bytes first = decode(decoder, data, stream_size, control);
    quorv::Mp3Kernels sets[quorv::kMp3MaxKernelSets];
    const uint32_t set_count = quorv::mp3_kernel_sets(sets);
    for (uint32_t set = 0; set < set_count; ++set) {
        require(QU_MP3_decoder_reset(decoder) == 0);
        static_cast<quorv::Mp3Decoder *>(decoder)->frame.kernels = sets[set];
        require(decode(decoder, data, stream_size, control) == first);
    }
    QU_MP3_decoder_close(decoder);
    scan(data, stream_size, settings);
    return 0;
}
