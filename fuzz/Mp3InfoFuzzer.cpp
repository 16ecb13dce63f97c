// Fuzz harness of the MP3 scan: the first byte is the number of frames asked for, the rest the stream.

#include <quorv/mp3_decoder.h>
#include <quorv/platform/stream.h>

#include "ExactCopy.h"

using quorv::fuzz::ExactCopy;
using quorv::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) return 0;
    const ExactCopy copy(data + 1, size - 1, 0);
    MStream stream =
        MStreamOpenFromMemoryBlock(const_cast<uint8_t *>(copy.data()), static_cast<uint32_t>(size - 1));
    MStreamSeek(stream, MSTREAM_SEEK_START, 1);
    QuMp3Info info = {};
    const int32_t code = QU_MP3_info_get(stream, &info, data[0]);
    require(MStreamTell(stream) == 1);
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
    return 0;
}
