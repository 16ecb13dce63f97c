// Trace output: messages on standard output, and binary records on the context's trace stream.

#include <quorv/platform/log.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "platform/LogStream.h"
#include "platform/MemoryOwner.h"
#include "platform/PlatformContext.h"
#include "platform/TraceRecords.h"

namespace quorv {
namespace {

constexpr size_t kMaxPrinted = 288;  // the terminator included

// A record's length shares its first word with the record's kind.
constexpr size_t kMaxRecordLength = 0xFFFF;
constexpr uint32_t kTextHead = 8;
constexpr uint32_t kDataHead = 20;
// Beyond this many values the record's fourth value word is not carried.
constexpr uint32_t kMaxValuesWithD = 30;
constexpr uint32_t kMaxValues = (kMaxRecordLength - kDataHead) / 4;

// Room to assemble one record in, zeroed: on the stack when it is short, else on the heap.
class RecordBuffer {
public:
    explicit RecordBuffer(uint32_t length) : length_(length), bytes_(short_record_) {
        if (length > sizeof(short_record_)) {
            long_record_ = make_array<uint8_t>(length);
            bytes_ = long_record_.get();
        }
        if (bytes_ != nullptr) memset(bytes_, 0, length);
    }

    bool has_memory() const { return bytes_ != nullptr; }
    uint8_t *at(size_t offset) { return bytes_ + offset; }
    void put_word(size_t index, uint32_t value) {
        for (size_t i = 0; i < 4; ++i)
            bytes_[index * 4 + i] = static_cast<uint8_t>(value >> (8 * i));
    }
    uint32_t write_to_trace(uint32_t level) const { return MSTATIC_MDebugStreamDump(level, bytes_, length_); }

private:
    uint32_t length_;
    uint8_t short_record_[kTextHead + 240];
    Owned<uint8_t[]> long_record_;
    uint8_t *bytes_;  // in one of the two
};

}  // namespace

uint32_t write_text_record(uint32_t level, uint32_t kind, uintptr_t identifier, const char *text) {
    const size_t text_length = strlen(text);
    // Whole words, with room for the zero byte.
    const size_t padded = (text_length + 4) & ~size_t{3};
    if (text_length > kMaxRecordLength || padded + kTextHead > kMaxRecordLength) return ResultInvalidArg;
    const auto length = static_cast<uint32_t>(padded) + kTextHead;
    RecordBuffer record(length);
    if (!record.has_memory()) return ResultNoMemory;
    record.put_word(0, kind << 16 | length);
    record.put_word(1, static_cast<uint32_t>(identifier));
    memcpy(record.at(kTextHead), text, text_length);
    return record.write_to_trace(level);
}

}  // namespace quorv

using namespace quorv;

int32_t MTraceS(uint32_t level, const char *format, ...) {
    const MPlatContext *context = MSTATIC_MGetContext();
    const uint32_t mask = context == nullptr ? 0 : static_cast<uint32_t>(context->trace_mask);
    if ((mask & level) == 0 || format == nullptr) return static_cast<int32_t>(mask);
    char text[kMaxPrinted];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length < 0) return length;
    const int printed = printf("%s", text);
    fflush(stdout);
    return printed;
}

uint32_t MSTATIC_MDebugStreamOpenS(const char *path, MLogHandle *log) {
    return open_log_stream(path, MSTREAM_OPEN_CREATE, log);
}

uint32_t MSTATIC_MDebugStreamDump(uint32_t level, const void *data, uint32_t length) {
    const MPlatContext *context = MSTATIC_MGetContext();
    if (context == nullptr) return ResultFailed;
    const MutexLock lock(context->trace_mutex);
    if (context->trace_stream == 0) return ResultFailed;
    return MLogDump(log_of(context->trace_stream), level, data, length);
}

uint32_t MSTATIC_MDebugStreamClose(void) {
    MPlatContext *context = MSTATIC_MGetContext();
    if (context == nullptr) return ResultFailed;
    const MutexLock lock(context->trace_mutex);
    if (context->trace_stream == 0) return ResultFailed;
    const MLogHandle trace = log_of(context->trace_stream);
    context->trace_stream = 0;
    return MLogClose(trace);
}

uint32_t MSTATIC_MTableOutPutID(uint32_t level, uint32_t kind, const char *text) {
    if (text == nullptr) return ResultInvalidArg;
    return write_text_record(level, kind, word_of(text), text);
}

// NOLINTNEXTLINE(readability-function-size): the one function of more than six parameters
uint32_t MSTATIC_MLogTraceData(uint32_t level, uint32_t a, uint32_t b, uint32_t c, uint32_t d,
                               const uint32_t *values, uint32_t count) {
    if (count > kMaxValues || (values == nullptr && count > 0)) return ResultInvalidArg;
    const uint32_t length = kDataHead + 4 * count;
    RecordBuffer record(length);
    if (!record.has_memory()) return ResultNoMemory;
    record.put_word(0, uint32_t{MTRACE_DATA} << 16 | length);
    record.put_word(1, a);
    record.put_word(2, b);
    record.put_word(3, c);
    record.put_word(4, count > kMaxValuesWithD ? 0 : d);
    for (uint32_t i = 0; i < count; ++i)
        record.put_word(kDataHead / 4 + i, values[i]);
    return record.write_to_trace(level);
}
