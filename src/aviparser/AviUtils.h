// The byte reader of the AVI splitter, stream positioning, and assertions.
//
// An integer is read byte by byte, from a local source out of what was read ahead. Every function takes null
// for the source as a misuse: the integer readers return Code::Ok and do nothing, all others return
// Code::InvalidParam.
#ifndef QUORV_SRC_AVIPARSER_AVIUTILS_H
#define QUORV_SRC_AVIPARSER_AVIUTILS_H

#include <stdint.h>

#include "splitter/StreamSource.h"

namespace quorv {

// One byte by one read call; the destination is 0 when it fails.
Code avi_get_byte(StreamSource *source, uint32_t *value);

// Both byte orders, although AVI files hold little-endian integers only. When a part of one of these fails,
// that part is read a second time and the second result is returned, with what was assembled before it in the
// destination: callers with sources that fail once rely on it.
Code avi_get_le16(StreamSource *source, uint32_t *value);
Code avi_get_be16(StreamSource *source, uint32_t *value);
Code avi_get_le24(StreamSource *source, uint32_t *value);
Code avi_get_be24(StreamSource *source, uint32_t *value);
Code avi_get_le32(StreamSource *source, uint32_t *value);
Code avi_get_be32(StreamSource *source, uint32_t *value);
Code avi_get_le64(StreamSource *source, uint64_t *value);
Code avi_get_be64(StreamSource *source, uint64_t *value);

// One read call. Fewer bytes than asked for are no failure: the rest of the buffer reads as zero.
Code avi_get_buffer(StreamSource *source, void *buffer, uint32_t count);

// The stream's position. When the callback fails it is called once more and that call's code is the result.
int64_t avi_url_fstell(StreamSource *source);
Code avi_url_fsseek(StreamSource *source, SeekOrigin origin, int64_t offset);
// Seeks forward or back from the current position.
Code avi_url_fskip(StreamSource *source, int64_t count);
// The stream's length; failures as in avi_url_fstell.
int64_t avi_url_fsize(StreamSource *source);

// Ends the process when one of the splitter's own invariants does not hold; nothing in a file can make one
// fail. The texts and file names are fixed: they do not follow when the source is moved or renamed.
[[noreturn]] void avi_assertion_failed(const char *text, const char *file);
inline void avi_assert(bool holds, const char *text, const char *file) {
    if (!holds) avi_assertion_failed(text, file);
}

}  // namespace quorv

#endif
