/**
 * @file
 * The platform context: one for the process, it owns the log, the trace stream and the trace tables.
 */
#ifndef QUORV_PLATFORM_CONTEXT_H
#define QUORV_PLATFORM_CONTEXT_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup context Context
 * @ingroup platform
 * The process's log, trace stream and trace tables.
 *
 * Nothing inside the library starts or ends the context. Functions that need it do nothing while there is
 * none. It is set and cleared without locking: initialise before threads use it and uninitialise after the
 * last one did.
 * @{
 */

/** What MPlatInitialize is to set up. */
typedef struct MPlatInitParams {
    uint32_t unused1;          /**< not looked at */
    uint32_t unused2;          /**< not looked at */
    uint32_t trace_level_mask; /**< levels that reach the trace stream */
    const char *trace_file;    /**< path of the trace file, started afresh; null for no tracing */
    uint32_t log_level_mask;   /**< levels that reach the log */
    const char *log_file;      /**< path of the log file, appended to; null for no log */
    uint32_t trace_mask;       /**< levels that MTraceS prints */
} MPlatInitParams;

/** The context record: machine words, handles and pointers held as integers. */
typedef struct __tag_context {
    uintptr_t log_mutex;    /**< guards the log stream; 0, which locks nothing, when it could not be made */
    uintptr_t trace_mutex;  /**< guards the trace stream and the trace tables, likewise */
    uintptr_t trace_mask;   /**< levels that MTraceS prints */
    uintptr_t log_stream;   /**< a log handle, or 0 */
    uintptr_t trace_stream; /**< a log handle, or 0 */
    uintptr_t first_table;  /**< first node of trace table 1, or 0 */
    uintptr_t second_table; /**< first node of trace table 2, or 0 */
    uintptr_t third_table;  /**< first node of trace table 3, or 0 */
    uintptr_t rest[8];      /**< 0 */
} MPlatContext;

/**
 * Makes the context and makes it current. A context that is current already is uninitialised first.
 *
 * @param[in] params  copied as needed
 *
 * @retval ResultOk          the context is there; or the trace tables could not be made, in which case there
 *                           is no context (MSTATIC_MGetContext tells)
 * @retval ResultFailed      the trace file or the log file could not be opened, or there was no memory for
 *                           its buffer; there is no context
 * @retval ResultInvalidArg  params is null
 * @retval ResultNoMemory    there is no memory for the context
 */
QUORV_API uint32_t MPlatInitialize(const MPlatInitParams *params);

/**
 * Closes the log and the trace stream and frees the context.
 *
 * @retval ResultOk      done
 * @retval ResultFailed  there is no context
 */
QUORV_API uint32_t MPlatUninitialize(void);

/**
 * Gives the current context.
 *
 * @return the context, which MPlatUninitialize frees; null when there is none
 */
QUORV_API MPlatContext *MSTATIC_MGetContext(void);

/**
 * Makes another record the current context. The one before is left as it is.
 *
 * @param[in] context  the record, or null for none; MPlatUninitialize frees it with MMemFree, so allocate it
 *                     with MMemAlloc
 *
 * @return 0
 */
QUORV_API uint32_t MSTATIC_MSetContext(MPlatContext *context);

/**
 * Does nothing: MPlatUninitialize frees the context.
 *
 * @return 0
 */
QUORV_API uint32_t MSTATIC_MContextDestroy(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
