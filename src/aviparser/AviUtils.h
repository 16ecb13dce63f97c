// The byte reader of the AVI splitter, stream positioning and packets.
//
// There is no buffering here: an integer is read byte by byte through the caller's stream, which is expected
// to buffer. Every function takes null for the source as a misuse: the integer readers return 0 and do
// nothing, all others return SPLITER_ERR_INVALID_PARAM.
#ifndef QUORV_SRC_AVIPARSER_AVIUTILS_H
#define QUORV_SRC_AVIPARSER_AVIUTILS_H

#include <quorv/platform/memory.h>
#include <stdint.h>

#include "splitter/StreamSource.h"

namespace quorv {

// One byte by one read call; the destination is 0 when it fails.
uint32_t avi_get_byte(StreamSource *source, uint32_t *value);

// When a part of one of these fails, that part is read a second time and the second result is returned, with
// what was assembled before it in the destination: callers with sources that fail once rely on it.
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

inline constexpr int64_t kAviNoTimeStamp = INT64_MIN;
inline constexpr uint32_t kAviPacketKeyFrame = 1;
// Zeroed bytes behind codec data and packet payloads, for bit readers that read ahead.
inline constexpr uint32_t kAviSpareBytes = 8;

// One chunk's payload, or a piece of it.
struct AviPacket {
    int64_t pts, dts;  // in time-base units, or kAviNoTimeStamp
    uint8_t *data;
    int32_t size;  // in: capacity of data; out: payload bytes, or the capacity that is needed
    int32_t stream_index;
    uint32_t flags;
    int32_t duration;                     // in time-base units
    void (*destruct)(AviPacket *packet);  // frees data; null when the buffer is the caller's
    int64_t position;                     // of the data in the stream, -1 when unknown
    int64_t convergence;
};

void avi_init_packet(AviPacket *packet);
// Makes a packet with a buffer of its own; SPLITER_ERR_NO_MEMORY leaves it initialised and empty.
uint32_t avi_new_packet(AviPacket *packet, int32_t size);
// Makes a packet of the next `size` bytes of the stream.
uint32_t avi_get_packet(StreamSource *source, AviPacket *packet, int32_t size);
void avi_destruct_packet(AviPacket *packet);
void avi_free_packet(AviPacket *packet);

// Frees what *pointer points to and nulls it.
template <typename T>
void avi_freep(T **pointer) {
    MMemFree(nullptr, *pointer);
    *pointer = nullptr;
}

// Little-endian integers in memory.
constexpr uint32_t avi_le16(const uint8_t *bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8;
}

constexpr uint32_t avi_le32(const uint8_t *bytes) {
    return avi_le16(bytes) | avi_le16(bytes + 2) << 16;
}

constexpr uint64_t avi_le64(const uint8_t *bytes) {
    return avi_le32(bytes) | uint64_t{avi_le32(bytes + 4)} << 32;
}

// The length of a chunk's data with its pad byte.
constexpr int64_t avi_padded(uint32_t size) {
    return int64_t{size} + (size & 1);
}

}  // namespace quorv

#endif
