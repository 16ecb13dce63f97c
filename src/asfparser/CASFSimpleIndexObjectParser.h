// The Simple Index Object, which leads from times to key frames, and the search for key frames with it or
// without one.
#ifndef QUORV_SRC_ASFPARSER_CASFSIMPLEINDEXOBJECTPARSER_H
#define QUORV_SRC_ASFPARSER_CASFSIMPLEINDEXOBJECTPARSER_H

#include "asfparser/AsfObjectSearch.h"

namespace quorv {

class CASFSimpleIndexObjectParser : public AsfOnHeap {
public:
    explicit CASFSimpleIndexObjectParser(AsfPacketParser *packets) : packets_(*packets) {}
    virtual ~CASFSimpleIndexObjectParser();
    CASFSimpleIndexObjectParser(const CASFSimpleIndexObjectParser &) = delete;
    CASFSimpleIndexObjectParser &operator=(const CASFSimpleIndexObjectParser &) = delete;

    // Looks behind the media data for the first Simple Index Object and reads it whole. The index counts time
    // from `time_offset` milliseconds before the first frame. A size of 0 is asked for. Unsupported when
    // there is no usable index, NoMemory, or the code of a failed callback.
    Code LoadIndex(StreamSource *reader, uint64_t data_end, uint64_t stream_size, uint32_t time_offset);
    bool IsLoaded() const { return entry_count_ != 0; }
    // The different packets of the file that the index leads to; 1000 when there are none or no usable index,
    // 0 before that is known.
    uint32_t KeyFrameCount() const { return key_frame_count_; }

    // The video key frame for a time; backward, in front of the first one, that. EndOfStream when there is
    // none.
    Code FindKeyFrame(AsfSeekTarget target, AsfObjectStart *start) const;

private:
    Code load(StreamSource *reader, uint64_t data_end, uint64_t stream_size);
    Code read_entries(StreamSource *reader, uint64_t object_size);
    Code count_key_frames();
    uint32_t packet_at(uint32_t entry) const;
    uint32_t packet_for(uint32_t time) const;

    AsfPacketParser &packets_;
    Owned<uint8_t[]> entries_;  // as in the file
    uint32_t entry_count_ = 0;
    uint32_t interval_ = 0;  // milliseconds
    uint32_t time_offset_ = 0;
    uint32_t key_frame_count_ = 0;
};

}  // namespace quorv

#endif
