// The fixed array of entries; see the header.

#include "asfparser/CASFDataObjectEntryBlockMgr.h"

namespace quorv {

Code CASFDataObjectEntryBlockMgr::AddEntry(const ASF_DataObjectEntry &entry) {
    dropped_ |= count_ >= kCapacity;
    if (count_ >= kCapacity) return Code::BufferTooSmall;
    entries_[count_++] = entry;
    return Code::Ok;
}

Code CASFDataObjectEntryBlockMgr::GetEntry(ASF_DataObjectEntry *entry, int32_t *index) const {
    if (*index >= count_ || count_ == 0) return Code::BufferTooSmall;
    if (*index < 0) *index = count_ - 1;
    *entry = entries_[*index];
    return Code::Ok;
}

void CASFDataObjectEntryBlockMgr::ShiftTimes(int32_t milliseconds) {
    for (int32_t i = 0; i < count_; ++i)
        entries_[i].pts = asf_shifted_time(entries_[i].pts, milliseconds);
}

}  // namespace quorv
