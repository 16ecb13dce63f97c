// What the header of a file says, read from the Header Object and the header of the Data Object.
#ifndef QUORV_SRC_ASFPARSER_ASFHEADER_H
#define QUORV_SRC_ASFPARSER_ASFHEADER_H

#include "platform/MemoryOwner.h"
#include "splitter/Code.h"
#include "splitter/StreamSource.h"

namespace quorv {

inline constexpr uint32_t kAsfMaxCodecData = 256;

struct AsfCodecData {
    uint8_t bytes[kAsfMaxCodecData] = {};
    uint32_t length = 0;
    bool first = false;  // is put in front of the first frame
};

struct AsfAudioStream {
    bool present = false;
    uint32_t stream_number = 0;
    uint32_t codec = 0;  // FourCC, 0 when it is not known
    uint32_t format_tag = 0;
    uint32_t channels = 0, sample_rate = 0, block_align = 0, bits_per_sample = 0, bit_rate = 0;
    uint32_t container_bits = 0;  // that a sample takes, as stated
    AsfCodecData codec_data;
};

struct AsfVideoStream {
    bool present = false;
    uint32_t stream_number = 0;
    uint32_t codec = 0;              // FourCC, 0 when it is not known
    uint32_t tag = 0;                // FourCC, of the stream that is taken
    uint32_t unrecognised_code = 0;  // FourCC, as long as no stream with a known codec has come
    uint32_t width = 0, height = 0;
    AsfCodecData codec_data = {.first = true};
    Owned<uint8_t[]> type_data;  // all of the stream's type-specific data
    uint32_t type_data_length = 0;
};

// What an Extended Stream Properties Object says of a stream.
struct AsfFrameInterval {
    uint32_t stream_number, milliseconds;
};

inline constexpr uint32_t kAsfStreamNumbers = 128;

// The same for any stream, as far as it is said.
struct AsfStreamFacts {
    uint32_t frame_units;  // from frame to frame, in units of 100 nanoseconds; 0 when it is not said
    uint32_t bit_rate;     // 0 when it is not said
    bool declared;         // the header names the stream at all
};

// The default is that of a file without a header.
struct AsfHeader {
    uint32_t packet_size = 4096;
    uint32_t max_bitrate = 0;
    uint32_t duration = 0;       // milliseconds, the preroll not counted; 0 when it is not known
    uint32_t preroll = 0;        // milliseconds
    uint64_t play_duration = 0;  // preroll included, in units of 100 nanoseconds
    AsfAudioStream audio;
    AsfVideoStream video;
    AsfFrameInterval intervals[2] = {};  // the first ones in the file
    uint32_t interval_count = 0;
    AsfStreamFacts facts[kAsfStreamNumbers] = {};  // by stream number
    uint64_t first_packet = 0;
    uint64_t data_end = 0;  // of the Data Object, at most the end of the stream
    bool is_cut = false;    // the stream ends before the Data Object
    uint32_t total_packets = 0;
    uint64_t stream_size = 0;  // when the file was opened, 0 when it is not known

    // Milliseconds from frame to frame, 0 when the header does not say.
    uint32_t frame_interval(uint32_t stream_number) const;
};

// From the start of the file, with that reader. Ok leaves a complete header, everything else the default:
// BadFormat, NoMemory or the code of a failed read or seek.
Code asf_read_header(StreamSource *reader, AsfHeader *header);

}  // namespace quorv

#endif
