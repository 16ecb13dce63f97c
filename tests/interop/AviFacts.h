// What the stream headers and the "idx1" index of a well-formed AVI file say, read by the shortest way: the
// seek tests compute from it where a seek must end.
#ifndef QUORV_TESTS_INTEROP_AVIFACTS_H
#define QUORV_TESTS_INTEROP_AVIFACTS_H

#include <stdint.h>

#include <vector>

#include "support/ByteStores.h"

namespace quorv::test {

// A chunk of the index.
struct IndexedChunk {
    uint64_t start = 0;  // in frames, or in bytes where there is a sample size
    size_t piece = 0;    // number of the read that delivers its first bytes
    bool key = false;
};

struct StreamFacts {
    uint32_t scale = 1;
    uint32_t rate = 1;
    uint32_t sample_size = 0;
    std::vector<IndexedChunk> chunks;  // empty when the file has no index

    uint64_t units() const { return sample_size == 0 ? 1 : sample_size; }
    // Milliseconds, truncated, and rounded up.
    uint64_t time_of(uint64_t start) const { return start / units() * scale * 1000 / rate; }
    uint64_t time_from(uint64_t start) const { return (start / units() * scale * 1000 + rate - 1) / rate; }
    // The start that a time means: the nearest frame or sample.
    uint64_t start_at(uint64_t milliseconds) const {
        return (milliseconds * rate * 2 + uint64_t{scale} * 1000) / (uint64_t{scale} * 2000) * units();
    }
};

std::vector<StreamFacts> avi_facts(const Bytes &file);

}  // namespace quorv::test

#endif
