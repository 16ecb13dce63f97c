// The data packets of a file: finds the payloads of the audio and the video stream and puts frames together.
#ifndef QUORV_SRC_ASFPARSER_CASFDATAOBJECTPARSER_H
#define QUORV_SRC_ASFPARSER_CASFDATAOBJECTPARSER_H

#include "asfparser/AsfAssembly.h"
#include "asfparser/AsfPacket.h"
#include "asfparser/CASFBase.h"
#include "asfparser/CASFDataObjectEntryBlockMgr.h"

namespace quorv {

// A payload: the packet's number, and the entry's among those of its stream in that packet.
struct AsfPosition {
    int32_t packet, entry;
};

// Where the packets lie and which streams are wanted.
struct AsfDataLayout {
    uint64_t first_packet;  // position in the file
    uint64_t data_end;      // of the media data; not after first_packet when it is not known
    bool is_cut;            // data_end is the end of the stream, and there should be more
    uint32_t total_packets;
    uint32_t packet_size;
    uint32_t audio_stream, video_stream;  // kAsfNoStream when there is none
    uint32_t time_base;                   // milliseconds
};

inline constexpr uint32_t kAsfNoStream = UINT32_MAX;

// What LoadObject delivers.
struct AsfObject {
    uint32_t size;  // bytes, also the size that is needed when the buffer was too small
    int32_t pts;    // milliseconds; negative in odd files
    int32_t duration;
    bool key_frame;
};

// Audio and video have positions and readers of their own, so they can be read in any order. A call that
// fails leaves the position of its stream unchanged, unless it says otherwise.
class CASFDataObjectParser {
public:
    explicit CASFDataObjectParser(CASFBase *base) : base_(base) {}
    virtual ~CASFDataObjectParser();
    CASFDataObjectParser(const CASFDataObjectParser &) = delete;
    CASFDataObjectParser &operator=(const CASFDataObjectParser &) = delete;
    static void *operator new(size_t size) noexcept { return MMemAlloc(nullptr, size); }
    static void operator delete(void *object) noexcept { MMemFree(nullptr, object); }

    // All that can be known before the readers are open; 0 for a size of the stream that is not known.
    void SetLayout(const AsfDataLayout &layout, uint64_t stream_size);
    // Allocates the packet buffer and opens both readers; on failure nothing stays open.
    uint32_t InitParser(const AsfDataLayout &layout);
    bool IsReady() const { return packets_ != nullptr; }
    const AsfDataLayout &Layout() const { return layout_; }
    // How many packets the file can hold; INT32_MAX when that is not known, 0 for packets of no possible
    // size.
    int32_t PacketCount() const { return packet_count_; }

    // Parses one packet into the entries of that stream. SPLITER_ERR_END_OF_STREAM behind the last packet,
    // also when the file ends in the middle of this one; SPLITER_ERR_NO_MEMORY when there is none for a
    // packet of more than 64 KB.
    uint32_t ParseOnePacket(uint32_t stream, int32_t index);
    const CASFDataObjectEntryBlockMgr &Entries(uint32_t stream) { return state_of(stream).entries; }

    // The next frame of the stream into the caller's buffer. SPLITER_ERR_BUFFER_TOO_SMALL leaves the size
    // that is needed; SPLITER_ERR_BAD_FORMAT has moved the position behind the packet that is to blame.
    uint32_t LoadObject(uint32_t stream, uint8_t *buffer, uint32_t capacity, AsfObject *object);

    AsfPosition Position(uint32_t stream) { return state_of(stream).position; }
    // The next LoadObject starts there.
    void SetPosition(uint32_t stream, AsfPosition position);

    // Moves a stream to the last object that starts at or before *time, or to the first one; *time becomes
    // that of the object.
    uint32_t SeekAudio(uint32_t *time);
    // The milliseconds between the first two different times of the stream's objects; 0 when the first
    // packets do not have them.
    uint32_t GetObjectInterval(uint32_t stream, uint32_t *interval);

    int32_t TimeBase() const { return time_base_; }
    // To a lower one, or back when the call that has found that fails.
    void MoveTimeBase(int32_t time_base);

    void Reset();
    void ResetAudio() { SetPosition(layout_.audio_stream, {0, 0}); }
    void ResetVideo() { SetPosition(layout_.video_stream, {0, 0}); }

private:
    struct StreamState {
        AsfPosition position = {0, 0};
        int32_t parsed_packet = -1;  // the one that the entries are of
        int32_t expected_pts = kAsfNoTime;
        StreamSource reader = {};
        CASFDataObjectEntryBlockMgr entries;
    };

    StreamState &state_of(uint32_t stream) { return stream == layout_.video_stream ? video_ : audio_; }
    static constexpr int32_t kMaxBufferedPackets = 16;

    void count_packets(uint64_t stream_size);
    bool allocate_packets();
    uint32_t fill_packet(StreamState *state, size_t start);
    uint32_t read_packet(StreamState *state, int32_t index);
    uint32_t collect_entries(uint32_t stream, CASFDataObjectEntryBlockMgr *entries);
    bool add_entries(const AsfPayload &payload, CASFDataObjectEntryBlockMgr *entries) const;
    bool add_objects_of_run(const AsfPayload &payload, ASF_DataObjectEntry entry,
                            CASFDataObjectEntryBlockMgr *entries) const;
    int32_t relative_time(uint32_t time) const;

    uint32_t assemble(uint32_t stream, StreamState *state, AsfAssembly *assembly, AsfObject *object);
    uint32_t add_fragment(StreamState *state, const ASF_DataObjectEntry &entry, AsfAssembly *assembly);
    uint32_t end_of_scan(StreamState *state, const AsfAssembly &assembly, AsfPosition at, uint32_t code);

    CASFBase *const base_;
    AsfDataLayout layout_ = {};
    int32_t packet_count_ = 0;
    bool is_cut_ = false;  // the file ends before the last packet that it claims to have
    int32_t time_base_ = 0;
    // The latest packets, each at its number modulo how many there are: the streams follow each other.
    uint8_t *packets_ = nullptr;
    size_t packets_room_ = 0;  // bytes
    int32_t buffered_count_ = 0;
    int32_t buffered_[kMaxBufferedPackets] = {};  // -1 for none
    const uint8_t *packet_ = nullptr;             // the one that is parsed
    uint64_t packet_offset_ = 0;
    StreamState audio_, video_;
};

}  // namespace quorv

#endif
