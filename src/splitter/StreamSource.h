// Typed calls into the caller's stream. One StreamSource belongs to one handle: the callbacks, the stream
// that they opened and where that stream stands.
#ifndef QUORV_SRC_SPLITTER_STREAMSOURCE_H
#define QUORV_SRC_SPLITTER_STREAMSOURCE_H

#include "splitter/Code.h"
#include "splitter/Splitter.h"

namespace quorv {

enum class SeekOrigin : uint16_t { Start = SPLITER_ORIGIN_START, Current = SPLITER_ORIGIN_CURRENT };
enum class StreamAccess : uint32_t { Read = SPLITER_ACCESS_READ, ReadShared = SPLITER_ACCESS_READER };

// Whether there is a record, and a callback for everything that is asked of a stream.
bool is_complete(const SplitterStreamSource *source);

// All functions return the callback's code. Their outputs are always defined, whatever the callback left in
// them.
//
// A source that claims bytes which it has not written is taken at its deeds: for all callers it ends where it
// was caught, like one that delivers nothing there. Claims of less than 4 bytes are not checked.
struct StreamSource {
    SplitterStreamSource callbacks;
    SplitterStream stream;
    int64_t position;                    // where the stream stands, -1 when that is not certain
    int64_t end_of_honesty = INT64_MAX;  // from here on it is not asked any more

    bool is_local() const { return callbacks.source_kind == SPLITER_SOURCE_LOCAL; }

    Code open(StreamAccess access);
    Code close();
    // One read call. `*delivered` never exceeds `count`; what was not delivered reads as zero.
    Code read(void *buffer, uint32_t count, uint32_t *delivered);
    // Reads until `count` bytes came or the source delivers nothing more. After a failure, too, `*delivered`
    // says how many came. Behind them the buffer is left alone, or zeroed when the source has lied.
    Code read_available(void *buffer, uint32_t count, uint32_t *delivered);
    // The same, and what was not delivered reads as zero.
    Code read_fully(void *buffer, uint32_t count, uint32_t *delivered);
    Code seek(SeekOrigin origin, int64_t offset);
    // Seeks only when the stream does not stand at `offset` already.
    Code move_to(int64_t offset);
    Code tell(int64_t *result);
    Code size(int64_t *length);

private:
    Code read_once(void *buffer, uint32_t count, uint32_t *delivered);
    Code read_repeatedly(void *buffer, uint32_t count, uint32_t *delivered);
    Code read_again(void *buffer, uint32_t count, uint32_t *delivered);
};

}  // namespace quorv

#endif
