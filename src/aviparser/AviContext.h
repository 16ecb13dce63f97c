// One AviContext a file: its stream, its tracks, and what the readers of its parts keep.
#ifndef QUORV_SRC_AVIPARSER_AVICONTEXT_H
#define QUORV_SRC_AVIPARSER_AVICONTEXT_H

#include <array>
#include <span>

#include "aviparser/AviHeaderCache.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviSegments.h"
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

struct AviContext {
    StreamSource source;
    bool closing;                            // a Close has failed: only another Close is left
    Owned<SplitterTrackEntry[]> track_list;  // null, or room for kAviMaxTracks entries

    bool header_parsed;
    AviMainHeader main;
    std::array<Owned<AviTrack>, kAviMaxTracks> tracks;
    uint32_t track_count;
    AviMedia media;
    AviLegacyIndex idx1;
    bool non_interleaved;  // chunks do not lie in the order of their times: tracks follow the index
    AviHeaderCache seen_headers;

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
