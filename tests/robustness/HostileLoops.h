// Loops that break a file or its source in every place, one after the other, and walk through the whole
// public interface each time. They take any file of either splitter. Whatever happens: documented codes only,
// cleared records, nothing left allocated or open.
#ifndef QUORV_TESTS_ROBUSTNESS_HOSTILELOOPS_H
#define QUORV_TESTS_ROBUSTNESS_HOSTILELOOPS_H

#include "support/SplitterFile.h"

namespace quorv::test {

// The first callback goes wrong, then the second, and so on until none does; once or from then on; as a
// failure or as a read that delivers nothing.
void expect_defined_with_failing_callbacks(const SplitterApi &api, const ByteStore &file, uint32_t kind);

// One byte a read, short reads, reads without bytes, and sizes that are not known. As long as bytes come and
// the size is known, the frames are those of a source that gives all at once.
void expect_defined_with_odd_sources(const SplitterApi &api, const ByteStore &file, uint32_t kind);

// A callback that fails once between Open and the last frame is reported by the call that met it, and the
// frames are those of an unbroken source. keys: whether their key flags are compared.
void expect_same_frames_after_transient_failures(const SplitterApi &api, const ByteStore &file, uint32_t kind,
                                                 bool keys = true);

// The first allocation fails, then the second, and so on; once or from then on.
void expect_defined_without_memory(const SplitterApi &api, const ByteStore &file, uint32_t kind);

// Sources that claim all bytes and write nothing, from the start, in the middle of the file and behind its
// end. No walk makes more callbacks than a single call may.
void expect_few_callbacks_of_liars(const SplitterApi &api, const ByteStore &file, uint32_t kind);

// The file is cut at every byte below 64 KB, then at every 997th. What is read of it is the beginning of
// what the whole file gives.
void expect_defined_when_truncated(const SplitterApi &api, const ByteStore &file, uint32_t kind);

}  // namespace quorv::test

#endif
