// Finds the object of a stream that starts at a time, by the times in the packets.
#ifndef QUORV_SRC_ASFPARSER_ASFOBJECTSEARCH_H
#define QUORV_SRC_ASFPARSER_ASFOBJECTSEARCH_H

#include <optional>

#include "asfparser/AsfPacketParser.h"

namespace quorv {

// Backward: the last object at or before the time. Forward: the first one at or after it, or the last of all.
struct AsfSeekTarget {
    uint32_t time;  // milliseconds
    SeekDirection direction;
};

struct AsfObjectStart {
    AsfPosition position;
    int32_t pts;
};

// As the interface carries it.
constexpr uint32_t asf_reported_time(int32_t pts) {
    return pts > 0 ? static_cast<uint32_t>(pts) : 0;
}

// Key frames are taken to have rising times in file order; other objects may fall back a little, as B
// pictures do. Damaged packets count as empty. A search leaves any packet of the stream parsed.
class AsfObjectSearch {
public:
    enum class Wanted { AnyObject, KeyFrames };

    AsfObjectSearch(AsfPacketParser *packets, uint32_t stream, Wanted wanted)
        : packets_(*packets), stream_(stream), wanted_(wanted) {}

    // By binary search, and from there packet by packet to a wanted object. EndOfStream when there is none,
    // or the code of a failed read.
    Code find(AsfSeekTarget target, AsfObjectStart *start);

    // Forward from a packet that should hold the object, or one before it. Empty when that did not prove
    // true, or after too many packets: then no wanted object at or before the time lies there.
    Code find_from(int32_t packet, AsfSeekTarget target, std::optional<AsfObjectStart> *start);

private:
    struct TimedPacket {
        int32_t packet, time;
    };

    Code load(int32_t packet);
    Code find_boundary(uint32_t time, int32_t *packet);
    Code first_time(int32_t from, int32_t end, std::optional<TimedPacket> *found);
    Code find_backward(int32_t packet, uint32_t time, AsfObjectStart *start);
    Code scan_forward(int32_t from, int32_t end, AsfSeekTarget target, std::optional<AsfObjectStart> *start);
    bool is_wanted(const ASF_DataObjectEntry &entry) const;
    const CASFDataObjectEntryBlockMgr &entries() const { return packets_.state_of(stream_).entries; }

    AsfPacketParser &packets_;
    const uint32_t stream_;
    const Wanted wanted_;
};

}  // namespace quorv

#endif
