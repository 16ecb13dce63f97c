// MD5 digests of frames, for comparing files.
#ifndef QUORV_TOOLS_QUORV_MD5_H
#define QUORV_TOOLS_QUORV_MD5_H

#include <array>
#include <cstdint>
#include <span>

namespace quorv::tool {

// 32 hexadecimal digits and a terminator.
using Md5Text = std::array<char, 33>;

Md5Text md5_of(std::span<const uint8_t> bytes);

}  // namespace quorv::tool

#endif
