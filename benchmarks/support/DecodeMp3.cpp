// Decoding by this library and by libmpg123; see the header.

#include "DecodeMp3.h"

#include <mpg123.h>
#include <quorv/mp3_decoder.h>

#include <algorithm>
#include <fstream>

namespace quorv::bench {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kPieceBytes = 16384;
constexpr size_t kOutputBytes = 65536;

// Each returns the bytes of all samples. Their names are what callgrind is told to count.
extern "C" size_t decode_with_quorv(const Bytes &stream);
extern "C" size_t decode_with_mpg123(const Bytes &stream, const char *decoder);

[[gnu::noinline]] size_t decode_with_quorv(const Bytes &stream) {
    QuMp3Decoder decoder = QU_MP3_decoder_init(nullptr, nullptr);
    Bytes room(kOutputBytes);
    size_t position = 0, total = 0;
    for (bool ended = false; !ended;) {
        const size_t count = std::min(kPieceBytes, stream.size() - position);
        QuMp3Buffer input = {const_cast<uint8_t *>(stream.data() + position), static_cast<uint32_t>(count),
                             0};
        QuMp3Buffer output = {room.data(), static_cast<uint32_t>(room.size()), 0};
        const int32_t code = QU_MP3_decoder_read(decoder, &input, &output);
        position += input.result;
        total += output.result;
        ended = code == QU_MP3_ERROR || (count == 0 && code == QU_MP3_NEED_INPUT);
    }
    QU_MP3_decoder_close(decoder);
    return total;
}

[[gnu::noinline]] size_t decode_with_mpg123(const Bytes &stream, const char *decoder) {
    mpg123_handle *const peer = mpg123_new(decoder, nullptr);
    mpg123_param(peer, MPG123_REMOVE_FLAGS, MPG123_GAPLESS, 0);
    mpg123_param(peer, MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_IGNORE_INFOFRAME, 0);
    mpg123_open_feed(peer);
    Bytes room(kOutputBytes);
    size_t total = 0;
    for (size_t position = 0; position < stream.size(); position += kPieceBytes) {
        const size_t count = std::min(kPieceBytes, stream.size() - position);
        size_t bytes = 0;
        int code = mpg123_decode(peer, &stream[position], count, room.data(), room.size(), &bytes);
        for (total += bytes; code == MPG123_OK || code == MPG123_NEW_FORMAT; total += bytes)
            code = mpg123_decode(peer, nullptr, 0, room.data(), room.size(), &bytes);
    }
    mpg123_delete(peer);
    return total;
}

}  // namespace

size_t decode_mp3(const std::string &who, const Bytes &stream) {
    constexpr size_t kFrameBytes = 4;
    if (who == "quorv") return decode_with_quorv(stream) / kFrameBytes;
    return decode_with_mpg123(stream, who == "best" ? nullptr : who.c_str()) / kFrameBytes;
}

Bytes load_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    Bytes bytes(static_cast<size_t>(file.tellg()));
    file.seekg(0).read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

}  // namespace quorv::bench
