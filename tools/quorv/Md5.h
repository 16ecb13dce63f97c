// MD5 digests (RFC 1321) of frames, tracks and files, for comparing them.
#ifndef QUORV_TOOLS_QUORV_MD5_H
#define QUORV_TOOLS_QUORV_MD5_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace quorv::tool {

// The digest of what comes piece by piece.
class Md5 {
public:
    void add(std::span<const uint8_t> bytes);
    // The same for two digests at once. Each step of one waits for the step before it, so that two take
    // hardly longer than one.
    static void add_both(Md5 &first, std::span<const uint8_t> to_first, Md5 &second,
                         std::span<const uint8_t> to_second);
    // 32 hexadecimal digits, behind the last piece.
    std::string text();

private:
    static constexpr size_t kBlockBytes = 64;

    std::span<const uint8_t> fill_block(std::span<const uint8_t> bytes);
    void keep(std::span<const uint8_t> bytes);

    std::array<uint32_t, 4> state_ = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    uint64_t length_ = 0;                       // bytes that have come
    std::array<uint8_t, kBlockBytes> block_{};  // its first length_ % kBlockBytes bytes wait for the others
};

std::string md5_of(std::span<const uint8_t> bytes);

}  // namespace quorv::tool

#endif
