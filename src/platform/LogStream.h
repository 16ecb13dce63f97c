// A log stream: a file with a message buffer in front of it. Takes no lock; its users do.
#ifndef QUORV_SRC_PLATFORM_LOGSTREAM_H
#define QUORV_SRC_PLATFORM_LOGSTREAM_H

#include <quorv/platform/log.h>
#include <quorv/platform/stream.h>
#include <stdarg.h>

namespace quorv {

constexpr uint32_t kLogBufferSize = 16384;
// Above this fill the buffer is written before the next text message.
constexpr uint32_t kLogTextThreshold = 15360;

}  // namespace quorv

struct MLogStream {
    uint32_t level_mask;
    uint32_t enabled;
    uint32_t buffered;
    MStream file;
    uint32_t fill;
    uint32_t failed;       // a write came back short; nothing more is written to the file
    bool is_contexts_own;  // opened by MPlatInitialize
    char buffer[quorv::kLogBufferSize];

    bool passes(uint32_t level) const { return enabled != 0 && (level & level_mask) != 0; }
    // Formats a message into the buffer; what does not fit an empty buffer is cut.
    void print(const char *format, va_list arguments) QUORV_PRINTF(2, 0);
    void dump(const void *data, uint32_t length);
    void flush();

private:
    void write(const void *data, uint32_t length);
};

static_assert(sizeof(MLogConfig) == 16);

namespace quorv {

// Opens a log on a file, `mode` is one of MSTREAM_OPEN_*.
[[nodiscard]] uint32_t open_log_stream(const char *path, uint32_t mode, MLogHandle *log);
// Flushes, closes and frees.
void close_log_stream(MLogHandle log);

}  // namespace quorv

#endif
