// The header of an AVI file, from its first byte to the start of its media data.
#ifndef QUORV_SRC_AVIPARSER_AVIHEADER_H
#define QUORV_SRC_AVIPARSER_AVIHEADER_H

#include "aviparser/AviContext.h"

namespace quorv {

inline constexpr uint32_t kAviSignatureBytes = 12;

// Whether a file that begins with these bytes is an AVI file.
bool avi_has_signature(const uint8_t *head);

// Parses the header afresh: makes the tracks, finds the media data, reads the indexes that a local source has
// at hand and takes the codec data of video tracks from their first frames where the header has none.
//
// A local source opens whatever the walk met: with the tracks found so far. For a progressive one the walk's
// result is returned, so that it can be tried again when more has arrived.
Code avi_read_header(AviContext *context);

}  // namespace quorv

#endif
