// What an INI file held when it was read, in short, to find out whether it still does.
#ifndef QUORV_SRC_PLATFORM_INIDIGEST_H
#define QUORV_SRC_PLATFORM_INIDIGEST_H

#include <stddef.h>
#include <stdint.h>

namespace quorv {

// The size and the 64-bit FNV-1a hash of all bytes.
struct IniDigest {
    uint64_t size = 0;
    uint64_t hash = 0xCBF29CE484222325;

    void add(const char *bytes, size_t count) {
        for (size_t i = 0; i < count; ++i)
            hash = (hash ^ static_cast<uint8_t>(bytes[i])) * 0x100000001B3;
        size += count;
    }
    bool operator==(const IniDigest &other) const = default;
};

}  // namespace quorv

#endif
