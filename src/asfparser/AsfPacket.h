// The layout of a data packet: its header and its payloads, over bytes in memory.
#ifndef QUORV_SRC_ASFPARSER_ASFPACKET_H
#define QUORV_SRC_ASFPARSER_ASFPACKET_H

#include "splitter/Code.h"

namespace quorv {

struct AsfPayload {
    uint32_t stream_number;
    bool key_frame;
    bool compressed;  // the data is a run of small objects, each behind its length byte
    bool has_replicated_data;
    uint32_t object_number;
    uint32_t offset_into_object;
    uint32_t object_size;  // with replicated data only, like the time, which compressed payloads have, too
    uint32_t time;         // milliseconds
    uint32_t time_delta;   // of compressed payloads: from one object to the next
    uint32_t data_start;   // in the packet
    uint32_t data_length;  // lies inside the packet
};

// Goes through the payloads of one packet. Nothing outside the packet is read; a field or a payload that does
// not lie inside ends the walk with BadFormat.
class AsfPacketWalk {
public:
    // A packet of a single payload is left when that is not of the wanted stream.
    AsfPacketWalk(const uint8_t *bytes, uint32_t size, uint32_t wanted_stream)
        : bytes_(bytes), size_(size), wanted_stream_(wanted_stream) {}

    Code read_header();
    // False behind the last payload, and after a failure.
    bool next(AsfPayload *payload);
    Code code() const { return failed_ ? Code::BadFormat : Code::Ok; }

private:
    uint32_t left() const { return size_ - at_; }
    uint32_t field(uint32_t type);
    uint32_t byte() { return field(1); }
    void skip(uint32_t count);
    void read_payload(AsfPayload *payload);
    void read_replicated_data(AsfPayload *payload);
    uint32_t payload_length();

    const uint8_t *bytes_;
    const uint32_t size_;
    const uint32_t wanted_stream_;
    uint32_t at_ = 0;
    bool failed_ = false;
    bool multiple_ = false;
    uint32_t payloads_left_ = 1;
    uint32_t property_flags_ = 0;
    uint32_t payload_length_type_ = 0;
    uint32_t padding_ = 0;
};

}  // namespace quorv

#endif
