// Narrow strings: the C library's functions under the platform layer's names, and ASCII case mapping.

#include <quorv/platform/memory.h>
#include <quorv/platform/strings.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "platform/AsciiCase.h"

using namespace quorv;

uint32_t MSCsMakeLower(char *s) {
    if (s == nullptr) return ResultInvalidArg;
    for (; *s != 0; ++s)
        *s = ascii_lower(*s);
    return ResultOk;
}

uint32_t MSCsMakeUpper(char *s) {
    if (s == nullptr) return ResultInvalidArg;
    for (; *s != 0; ++s)
        *s = ascii_upper(*s);
    return ResultOk;
}

size_t MSCsLen(const char *s) {
    return strlen(s);
}

char *MSCsCpy(char *dst, const char *src) {
    return strcpy(dst, src);  // NOLINT(clang-analyzer-security.insecureAPI.strcpy)
}

char *MSCsNCpy(char *dst, const char *src, size_t n) {
    return strncpy(dst, src, n);
}

char *MSCsCat(char *dst, const char *src) {
    return strcat(dst, src);  // NOLINT(clang-analyzer-security.insecureAPI.strcpy)
}

int32_t MSCsCmp(const char *a, const char *b) {
    return strcmp(a, b);
}

int32_t MSCsNCmp(const char *a, const char *b, size_t n) {
    return strncmp(a, b, n);
}

int32_t MSCsICmp(const char *a, const char *b) {
    return strcasecmp(a, b);
}

int32_t MSCsNICmp(const char *a, const char *b, size_t n) {
    return strncasecmp(a, b, n);
}

char *MSCsChr(const char *s, int32_t c) {
    return const_cast<char *>(strchr(s, c));
}

char *MSCsRChr(const char *s, int32_t c) {
    return const_cast<char *>(strrchr(s, c));
}

char *MSCsStr(const char *s, const char *sub) {
    return const_cast<char *>(strstr(s, sub));
}

long MStol(const char *s) {
    return strtol(s, nullptr, 10);
}

int32_t MStoi(const char *s) {
    const long value = strtol(s, nullptr, 10);
    if (value < INT32_MIN) return INT32_MIN;
    return value > INT32_MAX ? INT32_MAX : static_cast<int32_t>(value);
}

int32_t MSSprintf(char *buf, const char *fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int written = vsprintf(buf, fmt, arguments);
    va_end(arguments);
    return written;
}
