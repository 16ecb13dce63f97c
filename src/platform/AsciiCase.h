// Case of ASCII letters, in bytes and in 16-bit units: no other character has one here, whatever the locale.
#ifndef QUORV_SRC_PLATFORM_ASCIICASE_H
#define QUORV_SRC_PLATFORM_ASCIICASE_H

namespace quorv {

template <typename Unit>
constexpr Unit ascii_lower(Unit c) {
    return c >= 'A' && c <= 'Z' ? static_cast<Unit>(c + ('a' - 'A')) : c;
}

template <typename Unit>
constexpr Unit ascii_upper(Unit c) {
    return c >= 'a' && c <= 'z' ? static_cast<Unit>(c - ('a' - 'A')) : c;
}

}  // namespace quorv

#endif
