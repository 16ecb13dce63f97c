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
    for (int32_t i = 0; i < count_; ++i) {
        ASF_DataObjectEntry &entry = entries_[i];
        if (!entry.has_time()) continue;
        // Times are counted modulo 2^32, as the file does.
        entry.pts =
            static_cast<int32_t>(static_cast<uint32_t>(entry.pts) + static_cast<uint32_t>(milliseconds));
    }
}

}  // namespace quorv
