// The log functions: they pick the log, lock the context's own, and hand the work to the log stream.

#include <quorv/platform/memory.h>

#include "platform/LogStream.h"
#include "platform/PlatformContext.h"

namespace quorv {
namespace {

// The log that a call works on: the handle it was given, or the context's log, locked while this lives.
class LogAccess {
public:
    explicit LogAccess(MLogHandle given)
        : context_(given == nullptr ? MSTATIC_MGetContext() : nullptr),
          lock_(context_ == nullptr ? 0 : context_->log_mutex),
          log_(context_ == nullptr ? given : log_of(context_->log_stream)) {}
    MLogHandle log() const { return log_; }

private:
    MPlatContext *context_;
    MutexLock lock_;
    MLogHandle log_;
};

// A log of the context that is about to be closed must not be closed again with the context.
void forget_in_context(MLogHandle log) {
    MPlatContext *context = MSTATIC_MGetContext();
    if (context == nullptr) return;
    if (log_of(context->log_stream) == log) context->log_stream = 0;
    if (log_of(context->trace_stream) == log) context->trace_stream = 0;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

uint32_t MLogOpenS(const char *path, MLogHandle *log) {
    return open_log_stream(path, MSTREAM_OPEN_APPEND, log);
}

uint32_t MLogS(MLogHandle log, uint32_t level, const char *format, ...) {
    if (format == nullptr) return ResultInvalidArg;
    const LogAccess access(log);
    if (access.log() == nullptr) return ResultFailed;
    if (access.log()->passes(level)) {
        va_list arguments;
        va_start(arguments, format);
        access.log()->print(format, arguments);
        va_end(arguments);
    }
    return ResultOk;
}

uint32_t MLogDump(MLogHandle log, uint32_t level, const void *data, uint32_t length) {
    if (data == nullptr && length > 0) return ResultInvalidArg;
    const LogAccess access(log);
    if (access.log() == nullptr) return ResultFailed;
    if (access.log()->passes(level)) access.log()->dump(data, length);
    return ResultOk;
}

uint32_t MLogFlush(MLogHandle log) {
    const LogAccess access(log);
    if (access.log() == nullptr) return ResultFailed;
    access.log()->flush();
    return ResultOk;
}

uint32_t MLogGetConfig(MLogHandle log, MLogConfig *config) {
    if (config == nullptr) return ResultInvalidArg;
    const LogAccess access(log);
    if (access.log() == nullptr) return ResultFailed;
    *config = {sizeof(MLogConfig), access.log()->enabled, access.log()->buffered, access.log()->level_mask};
    return ResultOk;
}

uint32_t MLogSetConfig(MLogHandle log, const MLogConfig *config) {
    if (config == nullptr) return ResultInvalidArg;
    const LogAccess access(log);
    if (access.log() == nullptr) return ResultFailed;
    access.log()->flush();
    access.log()->enabled = config->enabled;
    access.log()->buffered = config->buffered;
    access.log()->level_mask = config->level_mask;
    return ResultOk;
}

uint32_t MLogClose(MLogHandle log) {
    const LogAccess access(log);
    if (access.log() == nullptr) return ResultFailed;
    // A caller's own log has nothing to do with the context, which may be going away in another thread.
    if (log == nullptr || log->is_contexts_own) forget_in_context(access.log());
    close_log_stream(access.log());
    return ResultOk;
}
