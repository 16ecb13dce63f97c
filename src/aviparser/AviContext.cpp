// Making and clearing the splitter's records; see the header.

#include "aviparser/AviContext.h"

#include <utility>

namespace quorv {

Owned<AviContext> avi_new_context(const SplitterStreamSource &callbacks) {
    Owned<AviContext> context = make_owned<AviContext>();
    if (context == nullptr) return context;
    context->source.callbacks = callbacks;
    context->source.window = &context->window;
    return context;
}

AviTrack *avi_new_track(AviContext *context) {
    Owned<AviTrack> track = make_owned<AviTrack>();
    if (track == nullptr) return nullptr;
    track->stream_number = context->track_count;
    Owned<AviTrack> &place = context->tracks[context->track_count++];
    place = std::move(track);
    return place.get();
}

void avi_clear_header(AviContext *context) {
    // Only the stream and the list that a caller may hold outlive the header.
    AviContext cleared = {};
    cleared.source = context->source;
    cleared.detailed = context->detailed;
    cleared.closing = context->closing;
    cleared.track_list = std::move(context->track_list);
    *context = std::move(cleared);
}

}  // namespace quorv
