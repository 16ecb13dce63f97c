// Tells key frames by the packets themselves.
#ifndef QUORV_SRC_MEDIA_KEYFRAMES_H
#define QUORV_SRC_MEDIA_KEYFRAMES_H

#include <quorv/quorv.h>

namespace quorv {

// What a packet says of itself. An intra picture that need not be a point to begin at is one when the file
// says so, like every packet that says nothing.
enum class OwnWord { Key, NoKey, FileDecides };

OwnWord key_frame_word(const QuorvTrack &track, const uint8_t *data, size_t size);

}  // namespace quorv

#endif
