// MD5 digests of frames, by libmd.

#include "Md5.h"

#include <sys/types.h>

#include <md5.h>

namespace quorv::tool {

static_assert(std::tuple_size_v<Md5Text> == MD5_DIGEST_STRING_LENGTH);

Md5Text md5_of(std::span<const uint8_t> bytes) {
    Md5Text text;
    MD5Data(bytes.data(), bytes.size(), text.data());
    return text;
}

}  // namespace quorv::tool
