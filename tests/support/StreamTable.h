// The table of callbacks that a splitter reads through, written once for every kind of source that tests,
// harnesses and benchmarks have.
#ifndef QUORV_TESTS_SUPPORT_STREAMTABLE_H
#define QUORV_TESTS_SUPPORT_STREAMTABLE_H

#include <quorv/splitter.h>

namespace quorv::test {

// Calls the functions of the same names that the source has; it must outlive the handle.
template <typename Source>
SplitterStreamSource stream_table(Source &source, uint32_t kind = SPLITER_SOURCE_LOCAL) {
    SplitterStreamSource table = {};
    table.user_context = &source;
    table.source_kind = kind;
    table.open = [](void *self, SplitterStream *stream, uint32_t mode) -> uint32_t {
        return static_cast<Source *>(self)->open(stream, mode);
    };
    table.close = [](void *self, SplitterStream stream) -> uint32_t {
        return static_cast<Source *>(self)->close(stream);
    };
    table.read = [](void *self, SplitterStream stream, void *buffer, uint32_t *count) -> uint32_t {
        return static_cast<Source *>(self)->read(stream, buffer, count);
    };
    table.seek = [](void *self, SplitterStream stream, uint16_t origin, int64_t offset) -> uint32_t {
        return static_cast<Source *>(self)->seek(stream, origin, offset);
    };
    table.tell = [](void *self, SplitterStream stream, int64_t *position) -> uint32_t {
        return static_cast<Source *>(self)->tell(stream, position);
    };
    table.size = [](void *self, SplitterStream stream, int64_t *length) -> uint32_t {
        return static_cast<Source *>(self)->size(stream, length);
    };
    return table;
}

}  // namespace quorv::test

#endif
