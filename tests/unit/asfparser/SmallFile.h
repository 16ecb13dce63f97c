// One small ASF file and changes to its bytes.
#ifndef QUORV_TESTS_UNIT_ASFPARSER_SMALLFILE_H
#define QUORV_TESTS_UNIT_ASFPARSER_SMALLFILE_H

#include "support/ExpectFrames.h"

namespace quorv::test {

inline constexpr uint32_t kBad = SPLITER_ERR_BAD_FORMAT, kSmall = SPLITER_ERR_BUFFER_TOO_SMALL;
inline constexpr uint32_t kNothing = SPLITER_ERR_UNSUPPORTED, kInvalid = SPLITER_ERR_INVALID_PARAM;
// Positions in the header: File Properties are its first child.
inline constexpr size_t kHeaderSize = 16, kChildSize = 46, kPlayDuration = 94, kPreroll = 110,
                        kPacketSize = 126;

inline AsfBuilder small_file(AsfStream video = asf_video(1), AsfStream audio = asf_audio(2)) {
    AsfBuilder builder({std::move(video), std::move(audio)}, {}, AsfIndex::None);
    for (uint32_t i = 0; i < 12; ++i)
        builder.frame(0, i * 40, 120 + i, i % 4 == 0).frame(1, i * 40, 25);
    return builder;
}

inline Bytes patched(Bytes bytes, size_t at, const Bytes &with) {
    std::copy(with.begin(), with.end(), bytes.data() + at);
    return bytes;
}

}  // namespace quorv::test

#endif
