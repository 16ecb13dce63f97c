// Plain records on the library's heap.
#ifndef QUORV_SRC_SPLITTER_NEWRECORD_H
#define QUORV_SRC_SPLITTER_NEWRECORD_H

#include <quorv/platform/memory.h>

namespace quorv {

// All zero; null when there is no memory. Freed with MMemFree.
template <typename Record>
Record *new_record() {
    auto *record = static_cast<Record *>(MMemAlloc(nullptr, sizeof(Record)));
    if (record != nullptr) *record = Record{};
    return record;
}

}  // namespace quorv

#endif
