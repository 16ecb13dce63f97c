// The records that callers hand in by address and size.
#ifndef QUORV_SRC_SPLITTER_CALLERRECORDS_H
#define QUORV_SRC_SPLITTER_CALLERRECORDS_H

#include <string.h>

#include "splitter/Code.h"

namespace quorv {

// The caller's record, and its size stored; null when there is no room for one.
template <typename Record>
Record *take_record(void *value, uint32_t *size) {
    if (*size < sizeof(Record)) return nullptr;
    *size = sizeof(Record);
    return static_cast<Record *>(value);
}

template <typename Record>
Code fill_record(const Record &record, void *to, uint32_t size) {
    if (size < sizeof(record)) return Code::BufferTooSmall;
    memcpy(to, &record, sizeof(record));
    return Code::Ok;
}

// No data is a null pointer, wherever it would lie.
inline void set_data(SplitterTrackData *record, const uint8_t *data, uint32_t length) {
    record->data = length != 0 ? data : nullptr;
    record->length = length;
}

}  // namespace quorv

#endif
