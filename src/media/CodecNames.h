// What the library says in words of a track's codec, and of its packets by codec.
#ifndef QUORV_SRC_MEDIA_CODECNAMES_H
#define QUORV_SRC_MEDIA_CODECNAMES_H

#include <quorv/quorv.h>

namespace quorv {

// Room for any name, its final zero included.
struct CodecName {
    char text[64];
};

// Of a track whose type, codec, tag, bits and sample format are set: "H.264", "MPEG-4 Part 2 (XVID)",
// "PCM, 16 bits"; "VC-1 Advanced (WVC1)" or
// "unknown (ABCD)" where the codec is 0.
CodecName codec_name(const QuorvTrack &track);

// The framing of a track whose type, codec, tag and codec data are set.
QuorvFraming codec_framing(const QuorvTrack &track);

}  // namespace quorv

#endif
