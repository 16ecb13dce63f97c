// The payloads of one stream that one packet holds.
#ifndef QUORV_SRC_ASFPARSER_CASFDATAOBJECTENTRYBLOCKMGR_H
#define QUORV_SRC_ASFPARSER_CASFDATAOBJECTENTRYBLOCKMGR_H

#include "splitter/Code.h"

namespace quorv {

// A payload, that is a media object or a fragment of one.
struct ASF_DataObjectEntry {
    uint32_t stream_number;  // the same in all of a block
    uint32_t object_number;
    int32_t offset_into_object;
    int32_t object_size;  // -1 when the payload does not say
    int32_t data_length;
    uint64_t file_offset;  // of the data
    int32_t pts;           // milliseconds from the time base, or kAsfNoTime
    uint32_t key_frame;    // kAsfKeyFrame or 0

    bool has_time() const;
    bool starts_object() const { return offset_into_object == 0; }
};

inline constexpr uint32_t kAsfKeyFrame = 0x80;
// The time of payloads without replicated data.
inline constexpr int32_t kAsfNoTime = INT32_MIN;

inline bool ASF_DataObjectEntry::has_time() const {
    return pts != kAsfNoTime;
}

// A time, where there is one, from a base that lies so much lower. Times are counted modulo 2^32, as the file
// does.
constexpr int32_t asf_shifted_time(int32_t pts, int32_t milliseconds) {
    return pts == kAsfNoTime
               ? pts
               : static_cast<int32_t>(static_cast<uint32_t>(pts) + static_cast<uint32_t>(milliseconds));
}

// Room for as many entries as a packet can reasonably have payloads; a full block drops further ones.
class CASFDataObjectEntryBlockMgr {
public:
    static constexpr int32_t kCapacity = 100;

    // BufferTooSmall when the block is full.
    Code AddEntry(const ASF_DataObjectEntry &entry);
    // A negative index becomes that of the last entry. BufferTooSmall when there is none.
    Code GetEntry(ASF_DataObjectEntry *entry, int32_t *index) const;
    void Clear() {
        count_ = 0;
        dropped_ = false;
    }
    // Whether it has dropped any since it was cleared.
    bool has_dropped() const { return dropped_; }
    int32_t Count() const { return count_; }
    // Moves the times of all entries that have one.
    void ShiftTimes(int32_t milliseconds);

private:
    ASF_DataObjectEntry entries_[kCapacity] = {};
    int32_t count_ = 0;
    bool dropped_ = false;
};

}  // namespace quorv

#endif
