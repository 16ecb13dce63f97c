// The byte reader of the AVI splitter and stream positioning.
//
// There is no buffering here: an integer is read byte by byte through the caller's stream, which is expected
// to buffer. Every function takes null for the source as a misuse: the integer readers return 0 and do
// nothing, all others return SPLITER_ERR_INVALID_PARAM.
#ifndef QUORV_SRC_AVIPARSER_AVIUTILS_H
#define QUORV_SRC_AVIPARSER_AVIUTILS_H

#include <stdint.h>

#include "splitter/StreamSource.h"

namespace quorv {

// One byte by one read call; the destination is 0 when it fails.
uint32_t avi_get_byte(StreamSource *source, uint32_t *value);

// Both byte orders, although AVI files hold little-endian integers only. When a part of one of these fails,
// that part is read a second time and the second result is returned, with what was assembled before it in the
// destination: callers with sources that fail once rely on it.
uint32_t avi_get_le16(StreamSource *source, uint32_t *value);
uint32_t avi_get_be16(StreamSource *source, uint32_t *value);
uint32_t avi_get_le24(StreamSource *source, uint32_t *value);
uint32_t avi_get_be24(StreamSource *source, uint32_t *value);
uint32_t avi_get_le32(StreamSource *source, uint32_t *value);
uint32_t avi_get_be32(StreamSource *source, uint32_t *value);
uint32_t avi_get_le64(StreamSource *source, uint64_t *value);
uint32_t avi_get_be64(StreamSource *source, uint64_t *value);

// One read call. Fewer bytes than asked for are no failure: the rest of the buffer reads as zero.
uint32_t avi_get_buffer(StreamSource *source, void *buffer, uint32_t count);

// The stream's position. When the callback fails it is called once more and that call's code is the result.
int64_t avi_url_fstell(StreamSource *source);
uint32_t avi_url_fsseek(StreamSource *source, SeekOrigin origin, int64_t offset);
// Seeks forward or back from the current position.
uint32_t avi_url_fskip(StreamSource *source, int64_t count);
// The stream's length; failures as in avi_url_fstell.
int64_t avi_url_fsize(StreamSource *source);

}  // namespace quorv

#endif
