// Reads the type-specific data of Stream Properties Objects.
#ifndef QUORV_SRC_ASFPARSER_ASFSTREAMPROPERTIES_H
#define QUORV_SRC_ASFPARSER_ASFSTREAMPROPERTIES_H

#include "asfparser/AsfHeader.h"
#include "asfparser/AsfHeaderReader.h"

namespace quorv {

// The first audio stream and the first video stream of a known codec are taken; others are passed over.
Code asf_read_audio_properties(AsfHeaderReader *reader, uint32_t stream_number, AsfAudioStream *audio);
// `length` bytes of type-specific data. A stream that is neither audio nor video is looked at like video.
Code asf_read_video_properties(AsfHeaderReader *reader, uint32_t stream_number, uint32_t length,
                               AsfVideoStream *video);

}  // namespace quorv

#endif
