// One stream of an AVI file: what its headers say, its index, and how far it has been read.
#ifndef QUORV_SRC_AVIPARSER_AVITRACK_H
#define QUORV_SRC_AVIPARSER_AVITRACK_H

#include "aviparser/AviIndexArray.h"
#include "aviparser/AviMath.h"
#include "splitter/ByteRanges.h"
#include "splitter/Splitter.h"

namespace quorv {

inline constexpr uint32_t kAviPaletteBytes = 1024;

// What the stream's headers say where the records of the interface have less room for it.
struct AviStated {
    uint32_t format_tag;  // of the bitmap header, of the wave format or of its sub-format, as read
    bool tag_misleads;    // the codec is another one, which has no name here
    uint32_t channels;
    uint32_t container_bits;   // that a sample takes
    uint32_t bits_per_sample;  // that count; 0 where nothing is said
    uint32_t scale, rate;      // a unit of time is scale / rate seconds; 0 for streams without times
    bool has_rate;             // it is the file's own, not assumed
    int64_t us_num, us_den;    // the same in microseconds, in lowest terms; set like scale and rate
    uint32_t length;           // units
};

// What decides how a stream's chunks are cut into pieces and what time they take.
struct AviSampling {
    uint32_t sample_size;  // 0 for streams whose time stamps count frames
    uint32_t block_align;
};

// How far a track has been read. What takes a copy before it moves a track and assigns it on failure leaves
// the track where it was.
struct AviReading {
    int64_t position;       // where the search for the next chunk starts
    int64_t frame_offset;   // running time stamp; bytes for streams with a sample size
    int64_t data_position;  // of the data that is left of the chunk in progress
    uint32_t bytes_left;    // of it; 0 when no chunk is in progress

    bool in_chunk() const { return bytes_left != 0; }
};

struct AviPalette {
    bool changed;                       // the next frame carries it
    uint8_t entries[kAviPaletteBytes];  // as in the file: 256 times red, green, blue, flags
};

// Bytes of the header with kAviSpareBytes zeroed behind them, or none.
struct AviHeaderData {
    Owned<uint8_t[]> bytes;
    uint32_t length;
};

// Leading bytes of one frame that were handed out as codec data already.
struct AviPendingStrip {
    uint32_t bytes;
    int64_t dts;
};

// Whether an MPEG-4 track has shown the header that its first frame must carry.
enum class AviVolSearch : uint8_t { NotNeeded, Searching, Failed };

// The track's "indx" chunk.
struct AviOpenDmlChunk {
    int64_t position;  // of its data
    uint32_t size;     // 0 when there is none, or nothing of it is of use
};

// A search that reached the end of the media data; it need not be repeated.
struct AviExhausted {
    int64_t from, to;
};

// What could not be used of the track's part of the file; only kept of files that are opened with all
// details.
struct AviDamage {
    ByteRanges passed;             // bytes in the media data that belong to nothing
    ByteRanges missing;            // where the index names a chunk and none was found
    uint32_t next_entry;           // of the index, behind that of the chunk that was found last
    int64_t last_chunk, last_end;  // that chunk
};

struct AviTrack {
    uint32_t type;           // SPLITER_TRACK_*, 0 for a stream that can only be listed
    uint32_t stream_number;  // from 0
    uint32_t handler;
    SplitterVideoInfo video;
    SplitterAudioInfo audio;
    uint64_t duration;  // milliseconds
    AviRational time_base;
    AviStated stated;
    AviSampling sampling;
    uint32_t suggested_buffer_size;
    AviHeaderData codec_data;
    AviHeaderData huffman_tables;  // of motion JPEG; for a module that hands them out with the codec data
    AviIndexArray index;
    AviOpenDmlChunk opendml;
    bool has_opendml_index;  // whole, so that the legacy index is not needed
    AviReading reading;
    AviPalette palette;
    AviPendingStrip strip;
    AviVolSearch vol_search;
    AviExhausted exhausted;
    AviDamage damage;
};

// Sets the track's time base to num / den seconds, reduced; 0/0 when a term of the result would be 0. Time
// stamps do not wrap, whatever `wrap_bits` says.
void avi_set_pts_info(AviTrack *track, uint32_t wrap_bits, int64_t num, int64_t den);

// The duration rule, shared by chunks and index entries: how far `size` bytes move the time stamp.
int64_t avi_piece_duration(const AviSampling &sampling, uint32_t size);

// What a time stamp that counts bytes has to be divided by; 1 for streams that count frames.
constexpr int64_t avi_time_stamp_divisor(const AviSampling &sampling) {
    return sampling.sample_size == 0 ? 1 : int64_t{sampling.sample_size};
}

// A time stamp in milliseconds.
uint32_t avi_stamp_to_ms(const AviTrack &track, int64_t timestamp);

// Moves the track to where a chunk is searched for, or to the start of the media data.
void avi_move_track(AviTrack *track, int64_t position, int64_t frame_offset);

}  // namespace quorv

#endif
