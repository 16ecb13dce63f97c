// Why a frame was not decoded, as a type that nobody can drop.
#ifndef QUORV_SRC_MP3DEC_MP3ERROR_H
#define QUORV_SRC_MP3DEC_MP3ERROR_H

#include <quorv/mp3_decoder.h>
#include <stdint.h>

namespace quorv {

enum class [[nodiscard]] Mp3Error : uint16_t;
enum class Mp3Error : uint16_t {
    None = 0,
    NeedInput = MP3_ERR_NEED_INPUT,
    NoInput = MP3_ERR_NO_INPUT,
    NoMemory = MP3_ERR_NO_MEMORY,
    Sync = MP3_ERR_SYNC,
    Layer = MP3_ERR_LAYER,
    Bitrate = MP3_ERR_BITRATE,
    SampleRate = MP3_ERR_SAMPLE_RATE,
    Crc = MP3_ERR_CRC,
    Layer2Mode = MP3_ERR_LAYER2_MODE,
    SideInfo = MP3_ERR_SIDE_INFO,
    BigValues = MP3_ERR_BIG_VALUES,
    BlockType = MP3_ERR_BLOCK_TYPE,
    Scfsi = MP3_ERR_SCFSI,
    Reservoir = MP3_ERR_RESERVOIR,
    Huffman = MP3_ERR_HUFFMAN
};

// Whether the frame was bad and is passed over; after other failures it comes again, with more input or
// memory.
constexpr bool mp3_skips_frame(Mp3Error error) {
    return static_cast<uint16_t>(error) >= 256;
}

// Of two checks the first one's failure is told.
constexpr Mp3Error mp3_first(Mp3Error first, Mp3Error second) {
    return first != Mp3Error::None ? first : second;
}

}  // namespace quorv

#endif
