// Making and freeing the splitter's records.

#include "aviparser/AviContext.h"

#include "aviparser/AviIndexArray.h"
#include "aviparser/AviMemory.h"
#include "splitter/NewRecord.h"

namespace quorv {

namespace {

void free_track(AviTrack *track) {
    avi_freep(&track->state);
    avi_freep(&track->codec_data);
    avi_freep(&track->huffman_data);
    avi_clear_index(&track->index);
    MMemFree(nullptr, track);
}

}  // namespace

AviContext *avi_new_context(const SplitterStreamSource &callbacks) {
    auto *context = new_record<AviContext>();
    if (context != nullptr) context->source.callbacks = callbacks;
    return context;
}

AviTrack *avi_new_track(AviContext *context) {
    auto *track = new_record<AviTrack>();
    if (track == nullptr) return nullptr;
    track->state = new_record<AviStreamState>();
    if (track->state == nullptr) {
        MMemFree(nullptr, track);
        return nullptr;
    }
    track->chunk_state = kAviNoChunk;
    track->stream_number = context->track_count;
    context->tracks[context->track_count++] = track;
    return track;
}

void avi_clear_header(AviContext *context) {
    for (uint32_t i = 0; i < context->track_count; ++i)
        free_track(context->tracks[i]);
    MMemFree(nullptr, context->idx1_block);
    // Only the stream and the list that a caller may hold outlive the header.
    const StreamSource source = context->source;
    SplitterTrackEntry *track_list = context->track_list;
    const bool closing = context->closing;
    *context = AviContext{};
    context->source = source;
    context->closing = closing;
    context->track_list = track_list;
}

void avi_free_context(AviContext *context) {
    avi_clear_header(context);
    MMemFree(nullptr, context->track_list);
    MMemFree(nullptr, context);
}

}  // namespace quorv
