// Records of the trace file.
#ifndef QUORV_SRC_PLATFORM_TRACERECORDS_H
#define QUORV_SRC_PLATFORM_TRACERECORDS_H

#include <stdint.h>

namespace quorv {

// The first bytes of every trace file.
inline constexpr char kTraceSignature[4] = {'Q', 'U', 'D', 'D'};

// Writes a text record with this identifier to the context's trace stream; results as MSTATIC_MTableOutPutID.
[[nodiscard]] uint32_t write_text_record(uint32_t level, uint32_t kind, uintptr_t identifier,
                                         const char *text);

}  // namespace quorv

#endif
