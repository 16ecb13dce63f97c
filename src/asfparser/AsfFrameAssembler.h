// Puts the next frame of a stream together from the entries of its packets.
#ifndef QUORV_SRC_ASFPARSER_ASFFRAMEASSEMBLER_H
#define QUORV_SRC_ASFPARSER_ASFFRAMEASSEMBLER_H

#include "asfparser/AsfAssembly.h"
#include "asfparser/AsfPacketParser.h"

namespace quorv {

// What is said of a frame.
struct AsfObject {
    uint32_t size;  // bytes, also the size that is needed when the buffer was too small
    int32_t pts;    // milliseconds; negative in odd files
    int32_t duration;
    bool duration_known;  // else `duration` is only what the interface reports
    bool key_frame;
    int64_t file_offset;  // -1 when it does not lie in the file in one piece
};

// For one frame.
class AsfFrameAssembler {
public:
    AsfFrameAssembler(AsfPacketParser *packets, uint32_t stream, uint8_t *buffer, uint32_t capacity)
        : packets_(*packets), stream_(stream), state_(packets->state_of(stream)), frame_(buffer, capacity) {}

    // Moves the stream's position behind the frame. BufferTooSmall leaves the size that is needed; BadFormat
    // has moved the position behind the packet that is to blame; after any other failure it is where it was.
    Code load(AsfObject *object);

private:
    Code assemble(AsfObject *object);
    void leave_out(const ASF_DataObjectEntry &entry);
    Code add_fragment(const ASF_DataObjectEntry &entry);
    Code end_of_scan(AsfPosition at, Code code);

    AsfPacketParser &packets_;
    const uint32_t stream_;
    AsfStreamState &state_;
    AsfAssembly frame_;
};

}  // namespace quorv

#endif
