// Undoes what a call has done to a track before it failed.
#ifndef QUORV_SRC_AVIPARSER_AVIPATIENCE_H
#define QUORV_SRC_AVIPARSER_AVIPATIENCE_H

#include "aviparser/AviContext.h"
#include "aviparser/AviTrackMark.h"

namespace quorv {

// When this goes, the track is where it was, unless the call is to be kept.
class AviPatience {
public:
    AviPatience(AviContext *context, AviTrack *track)
        : source_(context->source), track_(*track), before_(avi_mark_track(*track)) {
        source_.met_pending = false;
    }
    ~AviPatience() {
        if (!kept_) avi_take_track_back(&track_, before_);
    }
    AviPatience(const AviPatience &) = delete;
    AviPatience &operator=(const AviPatience &) = delete;

    // Of the call: bytes that it could have done without count, too, when they have not arrived.
    Code result_of(Code code) const { return source_.met_pending ? Code::DataPending : code; }
    void keep() { kept_ = true; }

private:
    StreamSource &source_;
    AviTrack &track_;
    const AviTrackMark before_;
    bool kept_ = false;
};

}  // namespace quorv

#endif
