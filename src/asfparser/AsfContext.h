// The record of an ASF file: what its header says, the objects that read it, and how far it has been played.
#ifndef QUORV_SRC_ASFPARSER_ASFCONTEXT_H
#define QUORV_SRC_ASFPARSER_ASFCONTEXT_H

#include <memory>

#include "asfparser/AsfHeader.h"
#include "asfparser/CASFBase.h"
#include "asfparser/CASFDataObjectParser.h"
#include "asfparser/CASFSimpleIndexObjectParser.h"

namespace quorv {

// How far a track has been played.
struct AsfProgress {
    uint32_t position = 0;  // milliseconds
    bool ended = false;
};

struct _tagASFSpliter {
    SplitterStreamSource source = {};
    std::unique_ptr<CASFBase> base;
    std::unique_ptr<CASFDataObjectParser> data_parser;
    std::unique_ptr<CASFSimpleIndexObjectParser> index_parser;
    AsfReader reader;  // of header and index
    bool header_parsed = false;
    bool opened = false;   // all readers are open
    bool primed = false;   // the first packets have been looked at
    bool waiting = false;  // the latest seek has met data that has not arrived yet
    AsfHeader header;
    uint32_t audio_interval = 0, video_interval = 0;  // milliseconds from frame to frame, 0 for not known
    AsfProgress audio, video;
    SplitterTrackEntry track_list[2] = {};

    // The tracks' numbers are those of their streams plus one. Video comes first where both have the same.
    bool is_video(uint32_t track) const {
        return header.video.present && track == header.video.stream_number + 1;
    }
    bool is_audio(uint32_t track) const {
        return header.audio.present && track == header.audio.stream_number + 1 && !is_video(track);
    }
};
using AsfContext = _tagASFSpliter;

// Empty when there is no memory.
Owned<AsfContext> asf_new_context(const SplitterStreamSource &source);

}  // namespace quorv

#endif
