/**
 * @file
 * Text functions of the platform layer.
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

/**
 * @defgroup strings Strings
 * @ingroup platform
 * Narrow and wide text, and conversion between them.
 *
 * Narrow strings (MSCs...) are bytes ended by a zero byte. Wide strings (MWCs...) are 16-bit units ended by a
 * zero unit, whatever the width of the C library's wchar_t; only MWCsNCmp, MWCsNCpy and MWSprintf, which go
 * straight to the C library, take wchar_t. Pointers must not be null unless a function says otherwise.
 * @{
 */

/**
 * Widens text: each byte becomes one unit of the same value; no code page is decoded.
 *
 * @param[in]  src        narrow text
 * @param[out] dst        the wide text
 * @param[in]  dst_units  room in dst, in units, the terminator included; longer text is cut, the terminator
 *                        always written
 *
 * @return the units written, terminator included; with no room at all (0 or less) nothing is written and 1
 *         returned
 */
QUORV_API int32_t MCharToWChar(const char *src, uint16_t *dst, int32_t dst_units);

/**
 * Narrows text: each unit is cut to its low 8 bits.
 *
 * @param[in]  src        wide text
 * @param[out] dst        the narrow text
 * @param[in]  dst_bytes  room in dst, in bytes, as for MCharToWChar
 *
 * @return the bytes written, as MCharToWChar
 */
QUORV_API int32_t MWCharToChar(const uint16_t *src, char *dst, int32_t dst_bytes);

/**
 * Encodes 16-bit units as UTF-8. Every unit is encoded by itself, so the two halves of a surrogate pair give
 * three bytes each.
 *
 * @param[in]  src        wide text
 * @param[out] dst        the UTF-8 text; null to count only
 * @param[in]  dst_bytes  room in dst, in bytes, the terminator included; not looked at when dst is null
 *
 * @return the bytes of the text, terminator not counted; 0 for an empty string, or when it does not fit
 */
QUORV_API int32_t MUnicodeToUTF8(const uint16_t *src, char *dst, int32_t dst_bytes);

/**
 * Decodes UTF-8, sequences of up to 6 bytes included, to 16-bit units; values above 0xFFFF lose their high
 * bits. The marker bits of following bytes are not checked.
 *
 * @param[in]  src        UTF-8 text
 * @param[out] dst        the wide text; null to count only
 * @param[in]  dst_units  room in dst, in units, the terminator included; not looked at when dst is null
 *
 * @return the number of units, terminator not counted; 0 for an empty string, or when it does not fit; -1 for
 *         a byte that cannot start a character, or a character cut off by the end of the string
 */
QUORV_API int32_t MUTF8ToUnicode(const char *src, uint16_t *dst, int32_t dst_units);

/**
 * Makes the ASCII letters of a narrow string lower case and changes nothing else.
 *
 * @param[in,out] s  the text; may be null
 *
 * @retval ResultOk          done
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MSCsMakeLower(char *s);
/** Makes the ASCII letters of a narrow string upper case. @copydetails MSCsMakeLower */
QUORV_API uint32_t MSCsMakeUpper(char *s);
/** Makes the ASCII letters of a wide string lower case. @copydetails MSCsMakeLower */
QUORV_API uint32_t MWCsMakeLower(uint16_t *s);
/** Makes the ASCII letters of a wide string upper case. @copydetails MSCsMakeLower */
QUORV_API uint32_t MWCsMakeUpper(uint16_t *s);

/**
 * As strlen.
 *
 * @param[in] s  text
 *
 * @return bytes before the terminator
 */
QUORV_API size_t MSCsLen(const char *s);

/**
 * As strcpy.
 *
 * @param[out] dst  the copy; must have room for src and its terminator
 * @param[in]  src  text
 *
 * @return dst
 */
QUORV_API char *MSCsCpy(char *dst, const char *src);

/**
 * As strncpy: the rest of dst is filled with zero bytes; without a rest there is no terminator.
 *
 * @param[out] dst  n bytes
 * @param[in]  src  text
 * @param[in]  n    bytes
 *
 * @return dst
 */
QUORV_API char *MSCsNCpy(char *dst, const char *src, size_t n);

/**
 * As strcat.
 *
 * @param[in,out] dst  text; must have room for both and the terminator
 * @param[in]     src  text to append
 *
 * @return dst
 */
QUORV_API char *MSCsCat(char *dst, const char *src);

/**
 * As strcmp.
 *
 * @param[in] a  text
 * @param[in] b  text
 *
 * @return below 0, 0 or above 0
 */
QUORV_API int32_t MSCsCmp(const char *a, const char *b);

/**
 * As strncmp.
 *
 * @param[in] a  text
 * @param[in] b  text
 * @param[in] n  bytes to compare at most
 *
 * @return below 0, 0 or above 0
 */
QUORV_API int32_t MSCsNCmp(const char *a, const char *b, size_t n);

/** As strcasecmp, ignoring case. @copydetails MSCsCmp */
QUORV_API int32_t MSCsICmp(const char *a, const char *b);
/** As strncasecmp, ignoring case. @copydetails MSCsNCmp */
QUORV_API int32_t MSCsNICmp(const char *a, const char *b, size_t n);

/**
 * As strchr.
 *
 * @param[in] s  text
 * @param[in] c  a byte; 0 finds the terminator
 *
 * @return its first occurrence, null when there is none
 */
QUORV_API char *MSCsChr(const char *s, int32_t c);

/**
 * As strrchr.
 *
 * @param[in] s  text
 * @param[in] c  a byte; 0 finds the terminator
 *
 * @return its last occurrence, null when there is none
 */
QUORV_API char *MSCsRChr(const char *s, int32_t c);

/**
 * As strstr.
 *
 * @param[in] s    text
 * @param[in] sub  what to look for; an empty text is found at s
 *
 * @return its first occurrence, null when there is none
 */
QUORV_API char *MSCsStr(const char *s, const char *sub);

/**
 * Reads the decimal number that a string begins with, as atol.
 *
 * @param[in] s  text; blanks in front and a sign are accepted
 *
 * @return the number; the type's limit when it is beyond it, 0 when there is none
 */
QUORV_API long MStol(const char *s);

/** Reads the decimal number that a string begins with, as atoi. @copydetails MStol */
QUORV_API int32_t MStoi(const char *s);

/**
 * Formats as vsprintf.
 *
 * @param[out] buf  must have room for all of the text and its terminator
 * @param[in]  fmt  as for printf
 * @param[in]  ...  what the format asks for
 *
 * @return the bytes written, terminator not counted
 */
QUORV_API int32_t MSSprintf(char *buf, const char *fmt, ...) QUORV_PRINTF(2, 3);

/**
 * Counts units.
 *
 * @param[in] s  wide text
 *
 * @return units before the terminator
 */
QUORV_API size_t MWCsLen(const uint16_t *s);

/**
 * Copies wide text.
 *
 * @param[out] dst  the copy; must have room for src and its terminator
 * @param[in]  src  wide text
 */
QUORV_API void MWCsCpy(uint16_t *dst, const uint16_t *src);

/**
 * Appends wide text.
 *
 * @param[in,out] dst  wide text; must have room for both and the terminator
 * @param[in]     src  wide text to append
 */
QUORV_API void MWCsCat(uint16_t *dst, const uint16_t *src);

/**
 * Compares unit by unit as unsigned values.
 *
 * @param[in] a  wide text
 * @param[in] b  wide text
 *
 * @return -1, 0 or 1
 */
QUORV_API int32_t MWCsCmp(const uint16_t *a, const uint16_t *b);

/**
 * Compares ignoring the case of ASCII letters; units that differ are ordered as they stand.
 *
 * @param[in] a  wide text
 * @param[in] b  wide text
 *
 * @return -1, 0 or 1
 */
QUORV_API int32_t MWCsICmp(const uint16_t *a, const uint16_t *b);

/**
 * Compares as MWCsICmp, but only so many units.
 *
 * @param[in] a  wide text
 * @param[in] b  wide text
 * @param[in] n  units; the first unit is compared even when this is 0
 *
 * @return -1, 0 or 1
 */
QUORV_API int32_t MWCsNICmp(const uint16_t *a, const uint16_t *b, uint32_t n);

/**
 * Finds a unit.
 *
 * @param[in] s  wide text
 * @param[in] c  the unit; 0 finds the terminator
 *
 * @return its first occurrence, null when there is none
 */
QUORV_API uint16_t *MWCsChr(const uint16_t *s, uint16_t c);

/**
 * Finds wide text in wide text.
 *
 * @param[in] s    wide text
 * @param[in] sub  what to look for; an empty text is found at s
 *
 * @return its first occurrence, null when there is none
 */
QUORV_API uint16_t *MWCsStr(const uint16_t *s, const uint16_t *sub);

/**
 * As wcsncmp, on the platform's own wide characters.
 *
 * @param[in] a  text
 * @param[in] b  text
 * @param[in] n  characters to compare at most
 *
 * @return below 0, 0 or above 0
 */
QUORV_API int32_t MWCsNCmp(const wchar_t *a, const wchar_t *b, size_t n);

/**
 * As wcsncpy, on the platform's own wide characters.
 *
 * @param[out] dst  n characters
 * @param[in]  src  text
 * @param[in]  n    characters
 *
 * @return dst
 */
QUORV_API wchar_t *MWCsNCpy(wchar_t *dst, const wchar_t *src, size_t n);

/**
 * Formats as vswprintf, on the platform's own wide characters.
 *
 * @param[out] buf  room for 4096 characters
 * @param[in]  fmt  as for wprintf
 * @param[in]  ...  what the format asks for
 *
 * @return the characters written, terminator not counted; below 0 when they do not fit
 */
QUORV_API int32_t MWSprintf(wchar_t *buf, const wchar_t *fmt, ...);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
