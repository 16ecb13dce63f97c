// One AviContext a file: its stream, its tracks, and what the readers of its parts keep.
#ifndef QUORV_SRC_AVIPARSER_AVICONTEXT_H
#define QUORV_SRC_AVIPARSER_AVICONTEXT_H

#include <array>
#include <span>

#include "aviparser/AviTrack.h"
#include "splitter/StreamSource.h"

namespace quorv {

// Track numbers in chunk identifiers have two decimal digits.
inline constexpr uint32_t kAviMaxTracks = 100;

// Of the main header.
struct AviMainHeader {
    bool amv;
    uint32_t microseconds_per_frame;
    uint32_t width, height;
};

// Where the media data lies. Written by the header walk, and by AviSegments where it goes on behind the first
// segment.
struct AviMedia {
    int64_t source_size;   // 0 or less when the source does not know
    int64_t file_end;      // the bound for reading
    int64_t riff_end;      // declared end of the first RIFF chunk
    int64_t start;         // position of the list type "movi"
    int64_t movi_end;      // end of the first "movi" list, where the legacy index is looked for
    int64_t end;           // end of the last "movi" list known so far
    int64_t next_segment;  // where a further RIFF chunk may begin; 0 when there is none

    bool size_known() const { return source_size > 0; }
};

// How far the "idx1" chunk has been found and read. Written by AviIndex; OpenDML indexes may make it
// complete.
struct AviLegacyIndex {
    int64_t search;        // where the search for the chunk goes on, 0 before it has begun
    int64_t position;      // next unread byte, 0 while the chunk has not been found
    int64_t end;           // where reading entries ends
    int64_t declared_end;  // where the chunk itself says that it ends
    int64_t base;          // what offsets count from
    int64_t previous;      // position of the entry before
    Owned<uint8_t[]> block;
    bool complete;  // or no track needs it: all have OpenDML indexes
    bool absent;
    bool read_failed;

    // Whether another block could be read.
    bool pending() const { return !complete && !absent; }
};

struct AviContext {
    StreamSource source;
    ReadWindow window;
    // Opened by avi_open_details: damage is noted, and a failed read ends nothing; whoever reads asks the
    // source's met_pending.
    bool detailed;
    bool closing;                            // a Close has failed: only another Close is left
    Owned<SplitterTrackEntry[]> track_list;  // null, or room for kAviMaxTracks entries

    bool header_parsed;
    AviMainHeader main;
    std::array<Owned<AviTrack>, kAviMaxTracks> tracks;
    uint32_t track_count;
    AviMedia media;
    AviLegacyIndex idx1;
    bool non_interleaved;  // chunks do not lie in the order of their times: tracks follow the index

    std::span<const Owned<AviTrack>> all_tracks() const { return {tracks.data(), track_count}; }
};

// Empty when there is no memory.
Owned<AviContext> avi_new_context(const SplitterStreamSource &callbacks);
// A track that takes the next number; null when there is no memory.
AviTrack *avi_new_track(AviContext *context);
// Frees the tracks and forgets everything that the header walk and the index readers found.
void avi_clear_header(AviContext *context);

}  // namespace quorv

#endif
