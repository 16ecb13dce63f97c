// A caller's stream over bytes in memory that counts the callbacks.
#ifndef QUORV_BENCHMARKS_SUPPORT_MEMORYSTREAM_H
#define QUORV_BENCHMARKS_SUPPORT_MEMORYSTREAM_H

#include <cstdint>
#include <span>
#include <vector>

#include "support/StreamTable.h"

namespace quorv::bench {

struct CallCounts {
    uint64_t opens = 0, closes = 0, reads = 0, seeks = 0, tells = 0, sizes = 0;
    uint64_t bytes = 0;  // delivered
    uint64_t all() const { return opens + closes + reads + seeks + tells + sizes; }
};

class MemoryStream {
public:
    explicit MemoryStream(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    MemoryStream(const MemoryStream &) = delete;
    MemoryStream &operator=(const MemoryStream &) = delete;

    // The record for Open; this object and its bytes must outlive the handle.
    SplitterStreamSource record() { return test::stream_table(*this); }

    uint32_t open(SplitterStream *stream, uint32_t mode);
    uint32_t close(SplitterStream stream);
    uint32_t read(SplitterStream stream, void *buffer, uint32_t *count);
    uint32_t seek(SplitterStream stream, uint16_t origin, int64_t offset);
    uint32_t tell(SplitterStream stream, int64_t *position);
    uint32_t size(SplitterStream stream, int64_t *length);

    CallCounts counts;

private:
    std::span<const uint8_t> bytes_;
    std::vector<uint64_t> positions_;  // of each reader
};

}  // namespace quorv::bench

#endif
