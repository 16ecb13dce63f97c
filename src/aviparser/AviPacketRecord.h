// The packet: one chunk's payload, or a piece of it.
//
// The splitter reads straight into the buffers of its callers. Packets with a buffer of their own, and the
// functions that make and free them, are for code of this module that keeps a chunk.
#ifndef QUORV_SRC_AVIPARSER_AVIPACKETRECORD_H
#define QUORV_SRC_AVIPARSER_AVIPACKETRECORD_H

#include <stdint.h>

#include "splitter/StreamSource.h"

namespace quorv {

inline constexpr int64_t kAviNoTimeStamp = INT64_MIN;
inline constexpr uint32_t kAviPacketKeyFrame = 1;
// Zeroed bytes behind codec data and packet payloads, for bit readers that read ahead.
inline constexpr uint32_t kAviSpareBytes = 8;

// The fields and their order are fixed; of some of them the splitter itself has no use.
struct AviPacket {
    int64_t pts, dts;  // in time-base units, or kAviNoTimeStamp
    uint8_t *data;
    int32_t size;  // in: capacity of data; out: payload bytes, or the capacity that is needed
    int32_t stream_index;
    uint32_t flags;
    int32_t duration;                     // in time-base units
    void (*destruct)(AviPacket *packet);  // frees data; null when the buffer is the caller's
    int64_t position;                     // of the data in the stream, -1 when unknown
    int64_t convergence;                  // always 0
};

void avi_init_packet(AviPacket *packet);
// Makes a packet with a buffer of its own; Code::NoMemory leaves it initialised and empty.
Code avi_new_packet(AviPacket *packet, int32_t size);
// Makes a packet of the next `size` bytes of the stream.
Code avi_get_packet(StreamSource *source, AviPacket *packet, int32_t size);
void avi_destruct_packet(AviPacket *packet);
void avi_free_packet(AviPacket *packet);
// Frees what *pointer points to and nulls it.
void avi_freep(uint8_t **pointer);

}  // namespace quorv

#endif
