// Decoding a whole stream of MPEG audio to 16-bit samples, by this library and by libmpg123. Both take the
// stream in the same pieces.
#ifndef QUORV_BENCHMARKS_SUPPORT_DECODEMP3_H
#define QUORV_BENCHMARKS_SUPPORT_DECODEMP3_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace quorv::bench {

// `who` is "quorv" or a decoder of libmpg123, "best" being what that takes by itself. Returns the sample
// frames of a stereo stream.
size_t decode_mp3(const std::string &who, const std::vector<uint8_t> &stream);

std::vector<uint8_t> load_file(const std::string &path);

}  // namespace quorv::bench

#endif
