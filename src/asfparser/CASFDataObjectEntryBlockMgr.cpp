// The fixed array of entries; see the header.

#include "asfparser/CASFDataObjectEntryBlockMgr.h"

#include <quorv/splitter.h>

namespace quorv {

uint32_t CASFDataObjectEntryBlockMgr::AddEntry(const ASF_DataObjectEntry &entry) {
    if (count_ >= kCapacity) return SPLITER_ERR_BUFFER_TOO_SMALL;
    entries_[count_++] = entry;
    return SPLITER_OK;
}

uint32_t CASFDataObjectEntryBlockMgr::GetEntry(ASF_DataObjectEntry *entry, int32_t *index) const {
    if (*index >= count_ || count_ == 0) return SPLITER_ERR_BUFFER_TOO_SMALL;
    if (*index < 0) *index = count_ - 1;
    *entry = entries_[*index];
    return SPLITER_OK;
}

void CASFDataObjectEntryBlockMgr::ShiftTimes(int32_t milliseconds) {
    for (int32_t i = 0; i < count_; ++i)
        entries_[i].pts = asf_shifted_time(entries_[i].pts, milliseconds);
}

}  // namespace quorv
