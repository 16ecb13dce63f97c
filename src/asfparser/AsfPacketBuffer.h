// The data packet that is looked at: where it lies in the handle's window, or in memory of its own when it is
// too large for that.
#ifndef QUORV_SRC_ASFPARSER_ASFPACKETBUFFER_H
#define QUORV_SRC_ASFPARSER_ASFPACKETBUFFER_H

#include "platform/MemoryOwner.h"
#include "splitter/Code.h"
#include "splitter/StreamSource.h"

namespace quorv {

// The streams of a file follow each other, so a packet that one has read is mostly there for the other.
class AsfPacketBuffer {
public:
    // Whether packets may have that size at all.
    static bool is_possible(uint32_t packet_size);

    // Brings the packet of a possible size at that position of the file, with that reader where it must be
    // read. EndOfStream when the file ends in the middle of it; NoMemory when there is none for one that the
    // window does not hold.
    Code load(StreamSource *reader, uint64_t position, uint32_t packet_size);
    // The packet that was loaded last, until the next read.
    const uint8_t *packet() const { return packet_; }
    uint64_t position() const { return position_; }

private:
    Code load_large(StreamSource *reader, uint32_t packet_size);

    const uint8_t *packet_ = nullptr;
    uint64_t position_ = 0;
    Owned<uint8_t[]> large_;
    uint32_t room_ = 0;                     // bytes
    uint64_t large_position_ = UINT64_MAX;  // of the packet that lies there, which no packet has
};

}  // namespace quorv

#endif
