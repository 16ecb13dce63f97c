// Wide strings: functions on 16-bit units, and three on the wide characters of the C library.

#include <quorv/platform/memory.h>
#include <quorv/platform/strings.h>
#include <stdarg.h>
#include <string.h>

#include "platform/AsciiCase.h"

namespace quorv {
namespace {

// Callers of MWSprintf provide room for this many characters.
constexpr size_t kWidePrintRoom = 4096;

int32_t order(uint16_t a, uint16_t b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

uint32_t MWCsMakeLower(uint16_t *s) {
    if (s == nullptr) return ResultInvalidArg;
    for (; *s != 0; ++s)
        *s = ascii_lower(*s);
    return ResultOk;
}

uint32_t MWCsMakeUpper(uint16_t *s) {
    if (s == nullptr) return ResultInvalidArg;
    for (; *s != 0; ++s)
        *s = ascii_upper(*s);
    return ResultOk;
}

size_t MWCsLen(const uint16_t *s) {
    const uint16_t *end = s;
    while (*end != 0)
        ++end;
    return static_cast<size_t>(end - s);
}

void MWCsCpy(uint16_t *dst, const uint16_t *src) {
    memmove(dst, src, (MWCsLen(src) + 1) * sizeof(*src));
}

void MWCsCat(uint16_t *dst, const uint16_t *src) {
    MWCsCpy(dst + MWCsLen(dst), src);
}

int32_t MWCsCmp(const uint16_t *a, const uint16_t *b) {
    while (*a != 0 && *a == *b) {
        ++a;
        ++b;
    }
    return order(*a, *b);
}

int32_t MWCsICmp(const uint16_t *a, const uint16_t *b) {
    while (*a != 0 && ascii_lower(*a) == ascii_lower(*b)) {
        ++a;
        ++b;
    }
    return ascii_lower(*a) == ascii_lower(*b) ? 0 : order(*a, *b);
}

int32_t MWCsNICmp(const uint16_t *a, const uint16_t *b, uint32_t n) {
    for (uint32_t compared = 1; ascii_lower(*a) == ascii_lower(*b); ++compared) {
        if (*a == 0 || compared >= n) return 0;
        ++a;
        ++b;
    }
    return order(*a, *b);
}

uint16_t *MWCsChr(const uint16_t *s, uint16_t c) {
    for (; *s != c; ++s) {
        if (*s == 0) return nullptr;
    }
    return const_cast<uint16_t *>(s);
}

uint16_t *MWCsStr(const uint16_t *s, const uint16_t *sub) {
    for (;; ++s) {
        size_t matched = 0;
        while (sub[matched] != 0 && s[matched] == sub[matched])
            ++matched;
        if (sub[matched] == 0) return const_cast<uint16_t *>(s);
        if (s[matched] == 0) return nullptr;
    }
}

int32_t MWCsNCmp(const wchar_t *a, const wchar_t *b, size_t n) {
    return wcsncmp(a, b, n);
}

wchar_t *MWCsNCpy(wchar_t *dst, const wchar_t *src, size_t n) {
    return wcsncpy(dst, src, n);
}

int32_t MWSprintf(wchar_t *buf, const wchar_t *fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int written = vswprintf(buf, kWidePrintRoom, fmt, arguments);
    va_end(arguments);
    return written;
}
