// The records of the AVI splitter: one AviContext a file, one AviTrack a stream of it.
#ifndef QUORV_SRC_AVIPARSER_AVICONTEXT_H
#define QUORV_SRC_AVIPARSER_AVICONTEXT_H

#include <stdint.h>

#include "aviparser/AviHeaderCache.h"
#include "splitter/Splitter.h"
#include "splitter/StreamSource.h"

namespace quorv {

// Track numbers in chunk identifiers have two decimal digits.
inline constexpr uint32_t kAviMaxTracks = 100;
inline constexpr uint32_t kAviPaletteBytes = 1024;

struct AviRational {
    int32_t num, den;
};

struct AviIndexEntry {
    int64_t pos;              // of the chunk's header in the stream
    int64_t timestamp;        // in time-base units; bytes for streams with a sample size
    uint32_t flags_and_size;  // bits 0-1: flags (bit 0 = key frame), bits 2-31: size of the chunk's data
    int32_t distance;         // part of the fixed layout; 0 in every entry that the splitter makes
};
static_assert(sizeof(AviIndexEntry) == 24);

inline constexpr uint32_t kAviIndexKeyFrame = 1;

// Kept sorted by time stamp.
struct AviIndexArray {
    AviIndexEntry *entries;
    uint32_t count;
    uint32_t allocated_bytes;
    uint32_t key_frame_count;
    bool out_of_file_order;  // some entry's chunk lies before that of an earlier entry
};

// How far a stream has been read, and what decides how its chunks are cut into pieces.
struct AviStreamState {
    uint32_t scale, rate;
    uint32_t sample_size;
    uint32_t suggested_buffer_size;
    uint32_t block_align;
    int64_t frame_offset;     // running time stamp; bytes for streams with a sample size
    int64_t index_timestamp;  // the same count for the entries of the index
    int64_t data_position;    // of the chunk in progress
    uint32_t bytes_left;      // not delivered yet
    bool palette_changed;
    uint8_t palette[kAviPaletteBytes];  // as in the file: 256 times red, green, blue, flags
};

// Leading bytes of one frame that were handed out as codec data already.
struct AviPendingStrip {
    uint32_t bytes;
    int64_t dts;
};

// Whether an MPEG-4 track has shown the header that its first frame must carry.
enum class AviVolSearch : uint8_t { NotNeeded, Searching, Failed };

struct AviTrack {
    SplitterVideoInfo video;
    SplitterAudioInfo audio;
    uint32_t type;           // SPLITER_TRACK_*, 0 for a stream that can only be listed
    uint32_t stream_number;  // from 0
    int64_t read_position;   // where the search for this track's next chunk starts
    uint64_t duration;       // milliseconds
    uint8_t *codec_data;
    uint32_t codec_data_length;
    AviRational time_base;
    uint32_t length;  // frames or samples, as the stream header says
    AviIndexArray index;
    AviStreamState *state;
    uint32_t handler;
    int32_t chunk_state;  // kAviNoChunk, or the stream number while a chunk is delivered in pieces
    uint8_t *huffman_data;
    uint32_t huffman_length;
    AviPendingStrip strip;
    AviVolSearch vol_search;
    // Where the last search that reached the end of the media data began and ended; it need not be repeated.
    int64_t exhausted_from, exhausted_to;
    int64_t opendml_position;  // of the data of the track's "indx" chunk
    uint32_t opendml_size;     // 0 when there is none, or nothing of it is of use
    bool has_opendml_index;    // whole, so that the legacy index is not needed
    bool has_dropped_frames;   // its index counts frames that have no chunk
};

inline constexpr int32_t kAviNoChunk = -1;

struct AviContext {
    StreamSource source;
    bool closing;  // a Close has failed: only another Close is left
    AviTrack *tracks[kAviMaxTracks];
    uint32_t track_count;
    SplitterTrackEntry *track_list;  // room for kAviMaxTracks entries

    bool header_parsed;
    bool amv;
    uint32_t microseconds_per_frame;
    uint32_t main_width, main_height;

    int64_t source_size;   // 0 or less when the source does not know
    int64_t file_end;      // the bound for reading
    int64_t riff_end;      // declared end of the first RIFF chunk
    int64_t media_start;   // position of the list type "movi"
    int64_t movi_end;      // end of the first "movi" list, where the legacy index is looked for
    int64_t media_end;     // end of the last "movi" list known so far
    int64_t next_segment;  // where a further RIFF chunk may begin; 0 when there is none

    // Legacy index.
    int64_t idx1_search;        // where the search for the chunk goes on, 0 before it has begun
    int64_t idx1_position;      // next unread byte, 0 while the chunk has not been found
    int64_t idx1_end;           // where reading entries ends
    int64_t idx1_declared_end;  // where the chunk itself says that it ends
    int64_t idx1_base;
    int64_t idx1_previous;  // position of the entry before
    uint8_t *idx1_block;
    bool index_complete;
    bool index_absent;
    bool index_read_failed;
    bool non_interleaved;

    AviHeaderCache seen_headers;
};

// Both return null when there is no memory; a track comes with its state and takes the next number.
AviContext *avi_new_context(const SplitterStreamSource &callbacks);
AviTrack *avi_new_track(AviContext *context);
// Frees the tracks and forgets everything that the header walk and the index readers found.
void avi_clear_header(AviContext *context);
void avi_free_context(AviContext *context);

}  // namespace quorv

#endif
