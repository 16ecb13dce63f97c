// One frame while it is put together from its fragments.
#ifndef QUORV_SRC_ASFPARSER_ASFASSEMBLY_H
#define QUORV_SRC_ASFPARSER_ASFASSEMBLY_H

#include "asfparser/CASFDataObjectEntryBlockMgr.h"

namespace quorv {

// Fragments land at their own offsets in the caller's buffer.
class AsfAssembly {
public:
    AsfAssembly(uint8_t *buffer, uint32_t capacity) : buffer_(buffer), capacity_(capacity) {}

    // The first fragment; one without a time gets the expected one, or 0.
    void start(const ASF_DataObjectEntry &entry, int32_t expected_pts);
    bool is_started() const { return started_; }
    // The time base has dropped since.
    void shift_time(int32_t milliseconds) { pts_ = asf_shifted_time(pts_, milliseconds); }
    // Whether the entry belongs to the next frame.
    bool ends_before(const ASF_DataObjectEntry &entry) const;
    // Whether all of the object has come, as far as the file says how much that is.
    bool is_complete() const;

    // Where the entry's data goes; null when the buffer is too small, and `needed_size` says what is needed.
    // What lies before it and was not written yet reads as zero.
    uint8_t *make_room(const ASF_DataObjectEntry &entry);
    void add(const ASF_DataObjectEntry &entry);

    uint32_t size() const;
    uint32_t needed_size() const { return needed_size_; }
    int32_t pts() const { return pts_; }
    bool key_frame() const { return key_frame_; }
    // Where its bytes begin in the file; -1 when they do not lie there in one piece.
    int64_t file_offset() const { return in_pieces_ ? -1 : first_offset_; }
    int64_t first_offset() const { return first_offset_; }

private:
    uint8_t *buffer_;
    const uint32_t capacity_;
    bool started_ = false;
    bool key_frame_ = false;
    uint32_t object_number_ = 0;
    int32_t object_size_ = -1;
    int32_t pts_ = -1;
    int64_t first_offset_ = -1;
    bool in_pieces_ = false;
    uint64_t bytes_ = 0;        // delivered by fragments
    uint32_t written_end_ = 0;  // of the buffer
    uint32_t needed_size_ = 0;
};

}  // namespace quorv

#endif
