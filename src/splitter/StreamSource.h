// Typed calls into the caller's stream: the callbacks, the stream that they opened, and where it is read
// next.
#ifndef QUORV_SRC_SPLITTER_STREAMSOURCE_H
#define QUORV_SRC_SPLITTER_STREAMSOURCE_H

#include "splitter/Code.h"
#include "splitter/ReadWindow.h"
#include "splitter/Splitter.h"

namespace quorv {

enum class SeekOrigin : uint16_t { Start = SPLITER_ORIGIN_START, Current = SPLITER_ORIGIN_CURRENT };
enum class StreamAccess : uint32_t { Read = SPLITER_ACCESS_READ, ReadShared = SPLITER_ACCESS_READER };

// Whether there is a record, and a callback for everything that is asked of a stream.
bool is_complete(const SplitterStreamSource *source);

// All functions return the callback's code. Their outputs are always defined, whatever the callback left in
// them.
//
// A local source with a large window is read ahead: a seek is only noted, and a read takes from the window
// what is there. What is read ahead and fails, or comes short, is never reported. The bytes that are needed
// are then read by themselves, and that is the result. Every other source is called as the functions here
// are.
//
// A source that claims bytes which it has not written is taken at its deeds: for all callers it ends where it
// was caught, like one that delivers nothing there. Claims of less than 4 bytes are not checked.
struct StreamSource {
    SplitterStreamSource callbacks;
    SplitterStream stream;
    ReadWindow *window;                  // all streams of a handle have the same; null for none
    int64_t position;                    // where the next read begins, -1 when that is not certain
    int64_t stands_at;                   // where the caller's stream is, -1 when that is not certain
    int64_t end_of_honesty = INT64_MAX;  // from here on it is not asked any more
    bool met_pending = false;            // some function here has returned Code::DataPending

    bool is_local() const { return callbacks.source_kind == SPLITER_SOURCE_LOCAL; }
    bool reads_ahead() const { return window != nullptr && window->is_large() && is_local(); }

    Code open(StreamAccess access);
    Code close();
    // One read call, unless it is read ahead. `*delivered` never exceeds `count`; what was not delivered
    // reads as zero.
    Code read(void *buffer, uint32_t count, uint32_t *delivered);
    // Reads until `count` bytes came or the source delivers nothing more. After a failure, too, `*delivered`
    // says how many came. Behind them the buffer is left alone, or zeroed when the source has lied.
    Code read_available(void *buffer, uint32_t count, uint32_t *delivered);
    // The same, and what was not delivered reads as zero.
    Code read_fully(void *buffer, uint32_t count, uint32_t *delivered);
    // The same from that position on.
    Code read_at(int64_t start, void *buffer, uint32_t count, uint32_t *delivered);
    // Lets the caller look at `needed` bytes where they lie in the window, until the next read; null when the
    // source ends before that. There must be a window with that capacity. Where nothing is read ahead,
    // `wanted` bytes are read if any must be, of which those behind the needed ones may fail to come. The
    // position is not certain then.
    Code view(int64_t start, uint32_t needed, uint32_t wanted, const uint8_t **bytes);
    Code seek(SeekOrigin origin, int64_t offset);
    // Seeks only when the stream does not stand at `offset` already.
    Code move_to(int64_t offset);
    Code tell(int64_t *result);
    // A source is read ahead as soon as it has been asked for its size.
    Code size(int64_t *length);

private:
    Code noted(Code code);
    Code read_through_window(uint8_t *buffer, uint32_t count, uint32_t *delivered);
    Code bring(int64_t start, uint32_t there, uint32_t needed, uint32_t wanted);
    bool read_run(int64_t start, uint32_t there, uint32_t missing);
    // On the caller's stream itself, wherever the next read begins.
    Code stream_seek(SeekOrigin origin, int64_t offset);
    Code stream_read_at(int64_t start, void *buffer, uint32_t count, uint32_t *delivered);
    Code stream_read(void *buffer, uint32_t count, uint32_t *delivered);
    Code read_once(void *buffer, uint32_t count, uint32_t *delivered);
    Code read_repeatedly(void *buffer, uint32_t count, uint32_t *delivered);
    Code read_again(void *buffer, uint32_t count, uint32_t *delivered);
};

}  // namespace quorv

#endif
