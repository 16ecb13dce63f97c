// What the format tags of WAVEFORMAT records mean, for both containers that have them.
#ifndef QUORV_SRC_MEDIA_WAVETAGS_H
#define QUORV_SRC_MEDIA_WAVETAGS_H

#include <quorv/quorv.h>

namespace quorv {

// Sets codec, sample format and bits of a sound track: `codec` is what the splitter reports, which knows
// fewer tags; a sample takes container_bits, of which `bits` count.
void describe_wave(QuorvTrack *track, uint32_t codec, uint32_t container_bits, uint32_t bits);

}  // namespace quorv

#endif
