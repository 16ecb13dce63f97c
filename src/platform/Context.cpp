// The platform context: start-up and shut-down of the log, the trace stream and the trace tables.

#include <quorv/platform/context.h>
#include <string.h>

#include "platform/LogStream.h"
#include "platform/MemoryOwner.h"
#include "platform/PlatformContext.h"
#include "platform/TraceRecords.h"

namespace quorv {
namespace {

// The one variable of the library.
MPlatContext *g_platform_context = nullptr;

constexpr uint32_t kTextTable = 1;
constexpr uint32_t kThirdTableStorage = 8192;

bool open_trace(MPlatContext *context, const MPlatInitParams *params) {
    MLogHandle trace;
    if (MSTATIC_MDebugStreamOpenS(params->trace_file, &trace) != ResultOk) return false;
    context->trace_stream = word_of(trace);
    trace->is_contexts_own = true;
    trace->level_mask = params->trace_level_mask;
    memcpy(trace->buffer, kTraceSignature, sizeof(kTraceSignature));
    trace->fill = sizeof(kTraceSignature);
    return true;
}

bool make_tables(MPlatContext *context) {
    context->first_table = word_of(MSTATIC_MTableNewOneNode(kTextTable, 0));
    context->second_table = word_of(MSTATIC_MTableNewOneNode(kTextTable, 0));
    context->third_table = word_of(MSTATIC_MTableNewOneNode(kTextTable, kThirdTableStorage));
    return context->first_table != 0 && context->second_table != 0 && context->third_table != 0;
}

bool open_log(MPlatContext *context, const MPlatInitParams *params) {
    MLogHandle log;
    if (MLogOpenS(params->log_file, &log) != ResultOk) return false;
    log->is_contexts_own = true;
    log->level_mask = params->log_level_mask;
    context->log_stream = word_of(log);
    return true;
}

void remove_table(uintptr_t word) {
    if (word != 0) MSTATIC_MTableReMoveAll(kTextTable, pointer_of<void *>(word));
}

}  // namespace
}  // namespace quorv

using namespace quorv;

uint32_t MPlatInitialize(const MPlatInitParams *params) {
    if (params == nullptr) return ResultInvalidArg;
    MPlatUninitialize();
    MPlatContext *context = make_owned<MPlatContext>().release();
    if (context == nullptr) return ResultNoMemory;
    context->trace_mask = params->trace_mask;
    g_platform_context = context;
    context->log_mutex = word_of(MMutexCreate());
    context->trace_mutex = word_of(MMutexCreate());

    if (params->trace_file != nullptr) {
        if (!open_trace(context, params)) {
            MPlatUninitialize();
            return ResultFailed;
        }
        // Callers know a context without tables by its absence, not by a result code.
        if (!make_tables(context)) {
            MPlatUninitialize();
            return ResultOk;
        }
    }
    if (params->log_file != nullptr && !open_log(context, params)) {
        MPlatUninitialize();
        return ResultFailed;
    }
    return ResultOk;
}

uint32_t MPlatUninitialize(void) {
    const Owned<MPlatContext> context(g_platform_context);
    if (context == nullptr) return ResultFailed;
    MLogClose(nullptr);
    MSTATIC_MDebugStreamClose();
    remove_table(context->first_table);
    remove_table(context->second_table);
    remove_table(context->third_table);
    MMutexDestroy(pointer_of<MMutex>(context->log_mutex));
    MMutexDestroy(pointer_of<MMutex>(context->trace_mutex));
    g_platform_context = nullptr;
    return ResultOk;
}

MPlatContext *MSTATIC_MGetContext(void) {
    return g_platform_context;
}

uint32_t MSTATIC_MSetContext(MPlatContext *context) {
    g_platform_context = context;
    return ResultOk;
}

uint32_t MSTATIC_MContextDestroy(void) {
    return ResultOk;
}
