// Finds the object of a stream that starts at a time, by the times in the packets.
#ifndef QUORV_SRC_ASFPARSER_ASFOBJECTSEARCH_H
#define QUORV_SRC_ASFPARSER_ASFOBJECTSEARCH_H

#include "asfparser/CASFDataObjectParser.h"

namespace quorv {

enum class AsfSeekDirection {
    Backward,  // the last object at or before the time
    Forward    // the first one at or after it, or the last one of all
};

struct AsfSeekTarget {
    uint32_t time;  // milliseconds
    AsfSeekDirection direction;
};

struct AsfObjectStart {
    AsfPosition position;
    int32_t pts;
};

// As the interface carries it.
constexpr uint32_t asf_reported_time(int32_t pts) {
    return pts > 0 ? static_cast<uint32_t>(pts) : 0;
}

// Key frames have rising times in file order; other objects may fall back a little, as B pictures do. All
// functions return SPLITER_ERR_END_OF_STREAM when there is no such object, or the code of a failed read.
// Damaged packets count as empty. A search leaves any packet of the stream parsed.
class AsfObjectSearch {
public:
    enum class Wanted { AnyObject, KeyFrames };

    AsfObjectSearch(CASFDataObjectParser *parser, uint32_t stream, Wanted wanted)
        : parser_(*parser), stream_(stream), wanted_(wanted) {}

    // By binary search, and from there packet by packet to a wanted object.
    uint32_t find(AsfSeekTarget target, AsfObjectStart *start);

    // Forward from a packet that should hold the object, or one before it. *found is false when that did not
    // prove true, or after too many packets: no wanted object at or before the time lies there.
    uint32_t find_from(int32_t packet, AsfSeekTarget target, AsfObjectStart *start, bool *found);

private:
    uint32_t load(int32_t packet);
    uint32_t find_boundary(uint32_t time, int32_t *packet);
    uint32_t first_time(int32_t from, int32_t end, int32_t *packet, int32_t *time);
    uint32_t find_backward(int32_t packet, uint32_t time, AsfObjectStart *start);
    uint32_t scan_forward(int32_t from, int32_t end, AsfSeekTarget target, AsfObjectStart *start,
                          bool *found);
    bool is_wanted(const ASF_DataObjectEntry &entry) const;

    CASFDataObjectParser &parser_;
    const uint32_t stream_;
    const Wanted wanted_;
};

}  // namespace quorv

#endif
