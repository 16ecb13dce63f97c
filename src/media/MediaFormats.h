// Finds out of which format a file is.
#ifndef QUORV_SRC_MEDIA_MEDIAFORMATS_H
#define QUORV_SRC_MEDIA_MEDIAFORMATS_H

#include "media/MediaFormat.h"
#include "media/MediaSource.h"

namespace quorv {

// From the file's first bytes, or from those behind tags of music players (ID3v2). Code::NoParser: of none.
Code find_media_format(MediaSource *source, const MediaFormat **format);

}  // namespace quorv

#endif
