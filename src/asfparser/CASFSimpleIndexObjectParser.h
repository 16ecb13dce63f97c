// The Simple Index Object, which leads from times to key frames, and the search for key frames with it or
// without one.
#ifndef QUORV_SRC_ASFPARSER_CASFSIMPLEINDEXOBJECTPARSER_H
#define QUORV_SRC_ASFPARSER_CASFSIMPLEINDEXOBJECTPARSER_H

#include "asfparser/AsfObjectSearch.h"

namespace quorv {

class CASFSimpleIndexObjectParser {
public:
    CASFSimpleIndexObjectParser(const CASFBase *base, CASFDataObjectParser *data_parser)
        : base_(base), data_parser_(data_parser) {}
    virtual ~CASFSimpleIndexObjectParser();
    CASFSimpleIndexObjectParser(const CASFSimpleIndexObjectParser &) = delete;
    CASFSimpleIndexObjectParser &operator=(const CASFSimpleIndexObjectParser &) = delete;
    static void *operator new(size_t size) noexcept { return MMemAlloc(nullptr, size); }
    static void operator delete(void *object) noexcept { MMemFree(nullptr, object); }

    // Looks behind the media data for the first Simple Index Object and reads it whole. The index counts time
    // from `time_offset` milliseconds before the first frame. SPLITER_ERR_UNSUPPORTED when there is no usable
    // index, SPLITER_ERR_NO_MEMORY, or the code of a failed callback.
    uint32_t LoadIndex(StreamSource *reader, uint64_t data_end, uint32_t time_offset);
    bool IsLoaded() const { return entry_count_ != 0; }
    // The different packets of the file that the index leads to; 1000 when there are none or no usable index,
    // 0 before that is known.
    uint32_t KeyFrameCount() const { return key_frame_count_; }

    // The video key frame for a time; backward, in front of the first one, that. SPLITER_ERR_END_OF_STREAM
    // when there is none.
    uint32_t FindKeyFrame(uint32_t time, AsfSeekDirection direction, AsfObjectStart *start) const;

private:
    uint32_t find_object(StreamSource *reader, uint64_t position, uint64_t *size) const;
    uint32_t read_entries(StreamSource *reader, uint64_t object_size);
    uint32_t count_key_frames();
    uint32_t packet_at(uint32_t entry) const;
    uint32_t packet_for(uint32_t time) const;

    const CASFBase *const base_;
    CASFDataObjectParser *const data_parser_;
    uint8_t *entries_ = nullptr;  // as in the file
    uint32_t entry_count_ = 0;
    uint32_t interval_ = 0;  // milliseconds
    uint32_t time_offset_ = 0;
    uint32_t key_frame_count_ = 0;
};

}  // namespace quorv

#endif
