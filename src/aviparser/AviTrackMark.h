// How far a track has been read, for taking it back there.
#ifndef QUORV_SRC_AVIPARSER_AVITRACKMARK_H
#define QUORV_SRC_AVIPARSER_AVITRACKMARK_H

#include "aviparser/AviTrack.h"

namespace quorv {

struct AviTrackMark {
    AviReading reading;
    AviPendingStrip strip;
    AviExhausted exhausted;
    AviVolSearch vol_search;
    bool palette_changed;
};

inline AviTrackMark avi_mark_track(const AviTrack &track) {
    return {track.reading, track.strip, track.exhausted, track.vol_search, track.palette.changed};
}

inline void avi_take_track_back(AviTrack *track, const AviTrackMark &mark) {
    track->reading = mark.reading;
    track->strip = mark.strip;
    track->exhausted = mark.exhausted;
    track->vol_search = mark.vol_search;
    track->palette.changed = mark.palette_changed;
}

}  // namespace quorv

#endif
