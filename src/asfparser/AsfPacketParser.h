// The data packets of a file, parsed into the payloads of the audio and the video stream.
#ifndef QUORV_SRC_ASFPARSER_ASFPACKETPARSER_H
#define QUORV_SRC_ASFPARSER_ASFPACKETPARSER_H

#include "asfparser/AsfHeader.h"
#include "asfparser/AsfPacket.h"
#include "asfparser/AsfPacketBuffer.h"
#include "asfparser/CASFBase.h"
#include "asfparser/CASFDataObjectEntryBlockMgr.h"
#include "splitter/ByteRanges.h"

namespace quorv {

// A payload: the packet's number, and the entry's among those of its stream in that packet.
struct AsfPosition {
    int32_t packet, entry;
};

inline constexpr uint32_t kAsfNoStream = UINT32_MAX;

// Where the packets lie and which streams are wanted.
struct AsfDataLayout {
    uint64_t first_packet;  // position in the file
    uint64_t data_end;      // of the media data; not after first_packet when it is not known
    bool is_cut;            // data_end is the end of the stream, and there should be more
    uint32_t total_packets;
    uint32_t packet_size;
    uint32_t audio_stream, video_stream;  // kAsfNoStream when there is none
    uint32_t time_base;                   // milliseconds
    uint64_t stream_size;                 // 0 when it is not known
    const AsfStreamFacts *streams;        // kAsfStreamNumbers of them
};

// What of a stream could not be used.
struct AsfDamage {
    ByteRanges places;         // of damaged packets, and of frames that lack a part
    int64_t lost_object = -1;  // the number of the object whose rest was left out last
};

// Where a stream is being read, and what is known of the packet that was parsed for it last.
struct AsfStreamState {
    AsfPosition position = {0, 0};
    int32_t parsed_packet = -1;  // the one that the entries are of, -1 for none
    int32_t expected_pts = kAsfNoTime;
    AsfReader reader;
    CASFDataObjectEntryBlockMgr entries;
    AsfDamage damage;
};

// Audio and video have states of their own, so they can be read in any order. Times count from a base that
// both share.
class AsfPacketParser {
public:
    explicit AsfPacketParser(CASFBase *base) : base_(*base) {}

    // All that can be known before the readers are open.
    void set_layout(const AsfDataLayout &layout);
    // Opens both readers; on failure neither stays open.
    Code open(const AsfDataLayout &layout);
    bool is_open() const { return video_.reader.is_open; }

    const AsfDataLayout &layout() const { return layout_; }
    // How many packets the file can hold; INT32_MAX when that is not known, 0 for packets of no possible
    // size.
    int32_t packet_count() const { return packet_count_; }
    // Whether the file ends before the last packet that it claims to have.
    bool is_cut() const { return is_cut_; }

    // Parses one packet into the entries of that stream. EndOfStream behind the last packet, also when the
    // file ends in the middle of this one.
    Code parse(uint32_t stream, int32_t index);
    AsfStreamState &state_of(uint32_t stream) { return stream == layout_.video_stream ? video_ : audio_; }
    // Where the stream is read next.
    void set_position(uint32_t stream, AsfPosition position);

    int32_t time_base() const { return time_base_; }
    void move_time_base(int32_t time_base);

private:
    void count_packets();
    Code collect_entries(uint32_t stream, CASFDataObjectEntryBlockMgr *entries);
    Code add_entries(const AsfPayload &payload, CASFDataObjectEntryBlockMgr *entries) const;
    Code add_objects_of_run(const AsfPayload &payload, ASF_DataObjectEntry entry,
                            CASFDataObjectEntryBlockMgr *entries) const;
    bool is_stranger(const AsfPayload &payload) const;
    int32_t relative_time(uint32_t time) const;

    CASFBase &base_;
    AsfDataLayout layout_ = {};
    int32_t packet_count_ = 0;
    bool is_cut_ = false;
    int32_t time_base_ = 0;  // milliseconds
    AsfPacketBuffer buffer_;
    AsfStreamState audio_, video_;
};

// A packet may bring the time base down. When this goes, the base is where it was, unless it is to be kept:
// so a call that fails has changed no times.
class AsfTimeBaseScope {
public:
    explicit AsfTimeBaseScope(AsfPacketParser *parser) : parser_(*parser), before_(parser->time_base()) {}
    ~AsfTimeBaseScope() {
        if (!kept_) parser_.move_time_base(before_);
    }
    AsfTimeBaseScope(const AsfTimeBaseScope &) = delete;
    AsfTimeBaseScope &operator=(const AsfTimeBaseScope &) = delete;

    void keep() { kept_ = true; }

private:
    AsfPacketParser &parser_;
    const int32_t before_;
    bool kept_ = false;
};

}  // namespace quorv

#endif
