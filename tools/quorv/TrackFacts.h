// All that info shows of a track: the library's record, and what follows from it or is looked up for it.
#ifndef QUORV_TOOLS_QUORV_TRACKFACTS_H
#define QUORV_TOOLS_QUORV_TRACKFACTS_H

#include <optional>
#include <string>

#include "Interleaving.h"
#include "MediaFile.h"
#include "Tags.h"

namespace quorv::tool {

struct TrackFacts {
    QuorvRational frame_rate = {};  // den is 0 when it is not known
    uint64_t bit_rate = 0;          // 0 when it is not known
    QuorvRateKind rate_kind = QUORV_RATE_UNKNOWN;
    std::optional<QuorvSurvey> survey;
    std::string profile, coding, encoder;
    QuorvScan scan = QUORV_SCAN_UNKNOWN;
    QuorvRational pixel_aspect = {};  // den is 0 when it is not known
    std::string language;             // empty when it is not known
    std::optional<Interleaving> interleaving;
};

// Reads a few packets where a track's own headers leave open what its first frames tell.
// Some are among the tags.
TrackFacts find_facts(MediaFile &media, const Track &track, const Tags &tags);

// "MPEG-4 Part 2" for the library's "MPEG-4 Part 2 (XVID)", and the tag by which the file says so: "XVID", or
// "0x0055" of sound; empty where there is none.
std::string codec_title(const QuorvTrack &track);
std::string tag_text(const QuorvTrack &track);

// "16:9" or "2.35:1", with square pixels where the headers do not say otherwise; empty without a size.
std::string aspect_text(const QuorvTrack &video, const QuorvRational &pixel_aspect);

}  // namespace quorv::tool

#endif
