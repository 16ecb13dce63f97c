/*
 * Text functions of the platform layer.
 *
 * Narrow strings (MSCs*) are bytes ended by a zero byte. Wide strings (MWCs*) are 16-bit units ended by a
 * zero unit, whatever the width of the C library's wchar_t; only MWCsNCmp, MWCsNCpy and MWSprintf, which go
 * straight to the C library, take wchar_t. Pointers must not be null unless a function says otherwise.
 */
#ifndef QUORV_PLATFORM_STRINGS_H
#define QUORV_PLATFORM_STRINGS_H

#include <quorv/export.h>
#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Widens: each byte becomes one unit of the same value; no code page is decoded.
 *
 * dst_units  room in dst, in units, the terminator included; longer text is cut, the terminator always
 * written
 *
 * Returns the number of units written, terminator included. With no room at all (0 or less) nothing is
 * written and 1 returned.
 */
QUORV_API int32_t MCharToWChar(const char *src, uint16_t *dst, int32_t dst_units);
/* Narrows: each unit is cut to its low 8 bits. Room and result as for MCharToWChar, in bytes. */
QUORV_API int32_t MWCharToChar(const uint16_t *src, char *dst, int32_t dst_bytes);

/*
 * Encodes 16-bit units as UTF-8. Every unit is encoded by itself, so the two halves of a surrogate pair give
 * three bytes each.
 *
 * dst        null to count only; dst_bytes is then not looked at
 * dst_bytes  room in dst, the terminator included
 *
 * Returns the bytes of the text, terminator not counted; 0 for an empty string, or when it does not fit.
 */
QUORV_API int32_t MUnicodeToUTF8(const uint16_t *src, char *dst, int32_t dst_bytes);
/*
 * Decodes UTF-8, sequences of up to 6 bytes included, to 16-bit units; values above 0xFFFF lose their high
 * bits. The marker bits of following bytes are not checked.
 *
 * dst        null to count only; dst_units is then not looked at
 * dst_units  room in dst, the terminator included
 *
 * Returns the number of units, terminator not counted; 0 for an empty string, or when it does not fit; -1 for
 * a byte that cannot start a character, or a character cut off by the end of the string.
 */
QUORV_API int32_t MUTF8ToUnicode(const char *src, uint16_t *dst, int32_t dst_units);

/* Change the ASCII letters of a string in place and nothing else; ResultInvalidArg for null, else ResultOk.
 */
QUORV_API uint32_t MSCsMakeLower(char *s);
QUORV_API uint32_t MSCsMakeUpper(char *s);
QUORV_API uint32_t MWCsMakeLower(uint16_t *s);
QUORV_API uint32_t MWCsMakeUpper(uint16_t *s);

/* Narrow strings: arguments and results of the C library's functions of the same name. */
QUORV_API size_t MSCsLen(const char *s);
QUORV_API char *MSCsCpy(char *dst, const char *src);
QUORV_API char *MSCsNCpy(char *dst, const char *src, size_t n);
QUORV_API char *MSCsCat(char *dst, const char *src);
QUORV_API int32_t MSCsCmp(const char *a, const char *b);
QUORV_API int32_t MSCsNCmp(const char *a, const char *b, size_t n);
/* Compare ignoring case, as strcasecmp and strncasecmp. */
QUORV_API int32_t MSCsICmp(const char *a, const char *b);
QUORV_API int32_t MSCsNICmp(const char *a, const char *b, size_t n);
QUORV_API char *MSCsChr(const char *s, int32_t c);
QUORV_API char *MSCsRChr(const char *s, int32_t c);
QUORV_API char *MSCsStr(const char *s, const char *sub);
/* The decimal number a string begins with, as atol and atoi; a number beyond the type gives the type's limit.
 */
QUORV_API long MStol(const char *s);
QUORV_API int32_t MStoi(const char *s);
/* Formats as vsprintf: buf must have room for all of the text. Returns the bytes written, terminator not
 * counted. */
QUORV_API int32_t MSSprintf(char *buf, const char *fmt, ...) QUORV_PRINTF(2, 3);

/* Units before the terminator. */
QUORV_API size_t MWCsLen(const uint16_t *s);
/* Copy, or append, src with its terminator; dst must have room. */
QUORV_API void MWCsCpy(uint16_t *dst, const uint16_t *src);
QUORV_API void MWCsCat(uint16_t *dst, const uint16_t *src);
/* Compares unit by unit as unsigned values: -1, 0 or 1. */
QUORV_API int32_t MWCsCmp(const uint16_t *a, const uint16_t *b);
/* Compares ignoring the case of ASCII letters: -1, 0 or 1; units that differ are ordered as they stand. */
QUORV_API int32_t MWCsICmp(const uint16_t *a, const uint16_t *b);
/* As MWCsICmp, but 0 after n equal units. The first unit is compared even when n is 0. */
QUORV_API int32_t MWCsNICmp(const uint16_t *a, const uint16_t *b, uint32_t n);
/* First unit equal to c, null when there is none; c = 0 finds the terminator. */
QUORV_API uint16_t *MWCsChr(const uint16_t *s, uint16_t c);
/* First occurrence of sub, null when there is none; an empty sub is found at s. */
QUORV_API uint16_t *MWCsStr(const uint16_t *s, const uint16_t *sub);

/* The platform's own wide characters: wcsncmp, wcsncpy, and vswprintf with room for 4096 characters in buf.
 */
QUORV_API int32_t MWCsNCmp(const wchar_t *a, const wchar_t *b, size_t n);
QUORV_API wchar_t *MWCsNCpy(wchar_t *dst, const wchar_t *src, size_t n);
QUORV_API int32_t MWSprintf(wchar_t *buf, const wchar_t *fmt, ...);

#ifdef __cplusplus
}
#endif

#endif
