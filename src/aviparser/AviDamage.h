// Finds the chunks that an index names and that reading does not come by.
#ifndef QUORV_SRC_AVIPARSER_AVIDAMAGE_H
#define QUORV_SRC_AVIPARSER_AVIDAMAGE_H

#include "aviparser/AviContext.h"

namespace quorv {

// Of one search for a track's next chunk. Does nothing where damage is not noted.
class AviMissingChunks {
public:
    AviMissingChunks(AviContext *context, AviTrack *track, int64_t start);

    // The search has come to the track's chunk with this data.
    void note_chunk(int64_t data_position, uint32_t size);
    // It has come to the end of the media data.
    void note_end() { note_up_to(context_.media.end); }

private:
    void note_up_to(int64_t position);
    bool is_palette(int64_t position);

    AviContext &context_;
    AviTrack &track_;
    int64_t from_;
};

}  // namespace quorv

#endif
