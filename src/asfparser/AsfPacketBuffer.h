// The latest data packets of a file, each read with one call.
#ifndef QUORV_SRC_ASFPARSER_ASFPACKETBUFFER_H
#define QUORV_SRC_ASFPARSER_ASFPACKETBUFFER_H

#include "platform/MemoryOwner.h"
#include "splitter/Code.h"
#include "splitter/StreamSource.h"

namespace quorv {

// The streams of a file follow each other, so a packet that one has read is there for the other.
class AsfPacketBuffer {
public:
    // Whether packets may have that size at all.
    static bool is_possible(uint32_t packet_size);

    // Room for packets of a possible size, but for none that the file is too short to hold. NoMemory.
    Code make_room(uint64_t first_packet, uint32_t packet_size, int32_t packet_count);
    bool has_room() const { return packets_ != nullptr; }

    // Reads a packet with that reader, unless it is there. EndOfStream when the file ends in the middle of
    // it; NoMemory when there is none for a packet of more than 64 KB.
    Code load(StreamSource *reader, int32_t index);
    // The packet that was loaded last, and where it lies in the file.
    const uint8_t *packet() const { return packet_; }
    uint64_t position() const { return position_; }

private:
    static constexpr int32_t kMaxPackets = 16;

    Code read(StreamSource *reader, size_t start);
    Code read_in_parts(StreamSource *reader);

    uint64_t first_packet_ = 0;
    uint32_t packet_size_ = 0;
    Owned<uint8_t[]> packets_;  // each at its number modulo how many there are
    uint32_t room_ = 0;         // bytes
    int32_t count_ = 0;
    int32_t numbers_[kMaxPackets] = {};  // -1 for none
    const uint8_t *packet_ = nullptr;
    uint64_t position_ = 0;
};

}  // namespace quorv

#endif
