// The record of an ASF file: what its header says, the objects that read it, and how far it has been played.
#ifndef QUORV_SRC_ASFPARSER_ASFCONTEXT_H
#define QUORV_SRC_ASFPARSER_ASFCONTEXT_H

#include "asfparser/CASFBase.h"
#include "asfparser/CASFDataObjectParser.h"
#include "asfparser/CASFSimpleIndexObjectParser.h"
#include "splitter/Splitter.h"

namespace quorv {

inline constexpr uint32_t kAsfMaxCodecData = 256;

struct AsfCodecData {
    uint8_t bytes[kAsfMaxCodecData];
    uint32_t length;
    bool first;  // is put in front of the first frame
};

struct AsfAudioStream {
    bool present;
    uint32_t stream_number;
    uint32_t codec;  // FourCC, 0 when it is not known
    uint32_t channels, sample_rate, block_align, bits_per_sample, bit_rate;
    AsfCodecData codec_data;
};

struct AsfVideoStream {
    bool present;
    uint32_t stream_number;
    uint32_t codec;              // FourCC, 0 when it is not known
    uint32_t unrecognised_code;  // FourCC, as long as no stream with a known codec has come
    uint32_t width, height;
    AsfCodecData codec_data;
    uint8_t *type_data;  // all of the stream's type-specific data
    uint32_t type_data_length;
};

// What an Extended Stream Properties Object says of a stream.
struct AsfStreamSlot {
    uint32_t stream_number;   // kAsfNoStream when it is free
    uint32_t frame_interval;  // milliseconds
};

struct AsfHeader {
    uint32_t packet_size;
    uint32_t max_bitrate;
    uint32_t duration;  // milliseconds, the preroll not counted; 0 when it is not known
    uint32_t preroll;   // milliseconds
    AsfAudioStream audio;
    AsfVideoStream video;
    AsfStreamSlot slots[2];
    uint64_t first_packet;
    uint64_t data_end;  // of the Data Object, at most the end of the stream
    bool is_cut;        // the stream ends before the Data Object
    uint32_t total_packets;
};

// How far a track has been played.
struct AsfPlayback {
    uint32_t position;  // milliseconds
    bool ended;
};

struct _tagASFSpliter {
    SplitterStreamSource source;
    CASFBase *base;
    CASFDataObjectParser *data_parser;
    CASFSimpleIndexObjectParser *index_parser;
    StreamSource reader;  // of header and index
    bool header_parsed;
    bool opened;   // all readers are open
    bool primed;   // the first packets have been looked at
    bool waiting;  // the latest seek has met data that has not arrived yet
    AsfHeader header;
    uint32_t audio_interval, video_interval;  // milliseconds from frame to frame, 0 when they are not known
    AsfPlayback audio, video;
    SplitterTrackEntry track_list[2];

    // The tracks' numbers are those of their streams plus one. Video comes first where both have the same.
    bool is_video(uint32_t track) const {
        return header.video.present && track == header.video.stream_number + 1;
    }
    bool is_audio(uint32_t track) const {
        return header.audio.present && track == header.audio.stream_number + 1 && !is_video(track);
    }
};
using AsfContext = _tagASFSpliter;

// Null when there is no memory.
AsfContext *asf_new_context(const SplitterStreamSource &source);
// Closes the readers that are open and frees everything.
void asf_free_context(AsfContext *context);
// Forgets what was read of a header.
void asf_clear_header(AsfHeader *header);

}  // namespace quorv

#endif
