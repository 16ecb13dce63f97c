// How the sound of an AVI file lies among its pictures.
#ifndef QUORV_TOOLS_QUORV_INTERLEAVING_H
#define QUORV_TOOLS_QUORV_INTERLEAVING_H

#include <cstdint>
#include <optional>

#include "MediaFile.h"

namespace quorv::tool {

// No longer lead is measured: such sound lies beside the pictures, not among them.
inline constexpr uint64_t kLongestLeadMs = 10000;

struct Interleaving {
    uint64_t chunk_ms = 0;  // of sound in a chunk, on average
    uint64_t lead_ms = 0;   // of sound that lies in front of the first picture
    std::optional<bool>
        is_aligned;  // whether no frame or sample goes on in the next chunk, where that can be told
};

// Nothing where the track is no sound of an AVI file with pictures. All tracks begin anew then.
std::optional<Interleaving> find_interleaving(MediaFile &media, const Track &sound);

}  // namespace quorv::tool

#endif
