/**
 * @file
 * Logs: buffered text and binary messages in a file, chosen by level; the trace stream and its tables.
 */
#ifndef QUORV_PLATFORM_LOG_H
#define QUORV_PLATFORM_LOG_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup log Logs
 * @ingroup platform
 * Buffered text and binary messages in a file, chosen by level.
 *
 * A message carries level bits and is written when they meet the log's level mask. Log functions take a log
 * handle: 0 for the context's own log, which they guard with the context's log mutex; a handle of the
 * caller's is used without a lock. Write errors are not reported: the log then stays silent for good.
 * @{
 */

/** An open log; 0 stands for the context's log. */
typedef struct MLogStream *MLogHandle;

/** The settings of a log. */
typedef struct MLogConfig {
    uint32_t record_size; /**< 16; written by MLogGetConfig, not looked at by MLogSetConfig */
    uint32_t enabled;     /**< 0 suppresses all output */
    uint32_t buffered;    /**< 0 writes every message at once */
    uint32_t level_mask;  /**< levels that are written */
} MLogConfig;

/**
 * Opens a log that appends to a file: enabled, buffered, all levels.
 *
 * @param[in]  path  of the file
 * @param[out] log   the handle, which MLogClose frees; null on failure
 *
 * @retval ResultOk          the log is open
 * @retval ResultFailed      the file cannot be opened
 * @retval ResultNoMemory    an allocation failed
 * @retval ResultInvalidArg  a null argument
 */
QUORV_API uint32_t MLogOpenS(const char *path, MLogHandle *log);

/**
 * Writes a formatted message.
 *
 * The buffer is written to the file before a message when it holds 15360 bytes or the message would not fit
 * behind what it holds; a message of more than 16383 bytes is cut.
 *
 * @param[in] log     the log, 0 for the context's
 * @param[in] level   level bits of the message
 * @param[in] format  as for printf
 * @param[in] ...     what the format asks for
 *
 * @retval ResultOk          done; or the message's level or a disabled log suppresses it
 * @retval ResultFailed      log is 0 and there is no context or it has no log
 * @retval ResultInvalidArg  a null format
 */
QUORV_API uint32_t MLogS(MLogHandle log, uint32_t level, const char *format, ...) QUORV_PRINTF(3, 4);

/**
 * Writes bytes as they are; 16384 or more go straight to the file.
 *
 * @param[in] log     the log, 0 for the context's
 * @param[in] level   level bits of the message
 * @param[in] data    the bytes; may be null when length is 0
 * @param[in] length  bytes
 *
 * @retval ResultOk          done; or the message's level or a disabled log suppresses it
 * @retval ResultFailed      log is 0 and there is no context or it has no log
 * @retval ResultInvalidArg  null data
 */
QUORV_API uint32_t MLogDump(MLogHandle log, uint32_t level, const void *data, uint32_t length);

/**
 * Writes the buffer to the file.
 *
 * @param[in] log  the log, 0 for the context's
 *
 * @retval ResultOk      done
 * @retval ResultFailed  there is no log
 */
QUORV_API uint32_t MLogFlush(MLogHandle log);

/**
 * Reads the settings of a log.
 *
 * @param[in]  log     the log, 0 for the context's
 * @param[out] config  the settings
 *
 * @retval ResultOk          config is filled
 * @retval ResultFailed      there is no log
 * @retval ResultInvalidArg  a null config
 */
QUORV_API uint32_t MLogGetConfig(MLogHandle log, MLogConfig *config);

/**
 * Replaces the settings of a log after a flush.
 *
 * @param[in] log     the log, 0 for the context's
 * @param[in] config  the settings; copied
 *
 * @retval ResultOk          done
 * @retval ResultFailed      there is no log
 * @retval ResultInvalidArg  a null config
 */
QUORV_API uint32_t MLogSetConfig(MLogHandle log, const MLogConfig *config);

/**
 * Flushes, closes the file and frees the log.
 *
 * The context forgets a log that MPlatInitialize opened, whichever way it is closed; by its handle, that is
 * done without a lock, as everything else is. A log that the caller opened and put into a context is closed
 * with 0, or with the context: closed by its handle, it would stay there.
 *
 * @param[in] log  the log, 0 for the context's
 *
 * @retval ResultOk      done
 * @retval ResultFailed  there is no log
 */
QUORV_API uint32_t MLogClose(MLogHandle log);

/** @} */

/**
 * @defgroup trace Trace output
 * @ingroup platform
 * Messages on standard output, and the trace stream: a log of binary records with its tables.
 *
 * The trace stream is owned by the context and guarded by its trace mutex. The file begins with the four
 * bytes "QUDD" and holds records of 32-bit little-endian words:
 *
 *     text  (kind << 16) | record length in bytes, identifier, text, zero byte, zeroes up to a multiple of 4
 *     data  (1 << 16) | record length in bytes, a, b, c, d, values
 *
 * A reader tells them apart by the kind: MTRACE_TABLE_TEXT and the table's number for the texts of trace
 * tables, what MSTATIC_MTableOutPutID is given for others, which therefore should not be MTRACE_DATA.
 *
 * Functions that write to it return ResultFailed when there is no context or it has no trace stream.
 *
 * Trace tables are chains of nodes of up to 256 entries. A node of kind 1 keeps texts, each with the address
 * it was given at as its identifier; a node of kind 2 keeps identifiers alone. The context has three tables,
 * numbered 1 to 3, whose chains grow as needed; the functions that take a table number lock the trace mutex.
 * @{
 */

/** Kinds of trace records, beside those that callers of MSTATIC_MTableOutPutID make up. */
enum {
    MTRACE_DATA = 1,        /**< a data record */
    MTRACE_TABLE_TEXT = 256 /**< a text of a trace table; the table's number is added */
};

/**
 * Prints a message to standard output, at once, when the context's trace mask has one of the level bits.
 *
 * @param[in] level   level bits of the message
 * @param[in] format  as for printf; text beyond 287 bytes is cut
 * @param[in] ...     what the format asks for
 *
 * @return the bytes printed (below 0 when that failed); when nothing is printed, the context's trace mask (0
 *         without a context)
 */
QUORV_API int32_t MTraceS(uint32_t level, const char *format, ...) QUORV_PRINTF(2, 3);

/**
 * Opens a log as MLogOpenS does, but starts the file afresh.
 *
 * @param[in]  path  of the file
 * @param[out] log   the handle, which MLogClose frees; null on failure
 *
 * @retval ResultOk          the log is open
 * @retval ResultFailed      the file cannot be opened
 * @retval ResultNoMemory    an allocation failed
 * @retval ResultInvalidArg  a null argument
 */
QUORV_API uint32_t MSTATIC_MDebugStreamOpenS(const char *path, MLogHandle *log);

/**
 * Writes bytes to the context's trace stream as MLogDump does.
 *
 * @param[in] level   level bits of the message
 * @param[in] data    the bytes; may be null when length is 0
 * @param[in] length  bytes
 *
 * @retval ResultOk          done; or the level is suppressed
 * @retval ResultFailed      there is no trace stream
 * @retval ResultInvalidArg  null data
 */
QUORV_API uint32_t MSTATIC_MDebugStreamDump(uint32_t level, const void *data, uint32_t length);

/**
 * Closes the context's trace stream, which the context forgets.
 *
 * @retval ResultOk      done
 * @retval ResultFailed  there is no trace stream
 */
QUORV_API uint32_t MSTATIC_MDebugStreamClose(void);

/**
 * Writes a text record; its identifier is the low 32 bits of the text's address.
 *
 * @param[in] level  level bits of the message
 * @param[in] kind   the record's kind, 16 bits; MTRACE_DATA would make it look like a data record
 * @param[in] text   zero-terminated
 *
 * @retval ResultOk          done; or the level is suppressed
 * @retval ResultFailed      there is no trace stream
 * @retval ResultInvalidArg  null, or a text of more than 65523 bytes; the record is dropped
 * @retval ResultNoMemory    an allocation failed; the record is dropped
 */
QUORV_API uint32_t MSTATIC_MTableOutPutID(uint32_t level, uint32_t kind, const char *text);

/**
 * Writes a data record of four words and further values.
 *
 * @param[in] level   level bits of the message
 * @param[in] a       first word
 * @param[in] b       second word
 * @param[in] c       third word
 * @param[in] d       fourth word; with more than 30 values 0 is written instead
 * @param[in] values  count values; may be null when count is 0
 * @param[in] count   values
 *
 * @retval ResultOk          done; or the level is suppressed
 * @retval ResultFailed      there is no trace stream
 * @retval ResultInvalidArg  more than 16378 values or null ones; the record is dropped
 * @retval ResultNoMemory    an allocation failed; the record is dropped
 */
QUORV_API uint32_t MSTATIC_MLogTraceData(uint32_t level, uint32_t a, uint32_t b, uint32_t c, uint32_t d,
                                         const uint32_t *values, uint32_t count);

/**
 * Makes an empty node of a trace table.
 *
 * @param[in] kind           1 for texts, 2 for identifiers
 * @param[in] storage_bytes  room for the texts of a node of kind 1; a text larger than that is stored by
 *                           itself
 *
 * @return the node, which MSTATIC_MTableReMoveAll frees; null for another kind or without memory
 */
QUORV_API void *MSTATIC_MTableNewOneNode(uint32_t kind, uint32_t storage_bytes);

/**
 * Records a copy of a text in one of the context's tables, unless it is known there (compared by its
 * characters; by its address in a table of kind 2).
 *
 * @param[in] kind  number of the table, 1 to 3
 * @param[in] text  zero-terminated; copied
 *
 * @retval ResultOk          recorded, now or before
 * @retval ResultFailed      there is no such table
 * @retval ResultInvalidArg  null text
 * @retval ResultNoMemory    an allocation failed
 */
QUORV_API uint32_t MSTATIC_MTableAddOneID(uint32_t kind, const char *text);

/**
 * Tells whether one of the context's tables knows a text.
 *
 * @param[in] kind  number of the table, 1 to 3
 * @param[in] text  zero-terminated
 *
 * @return 1 when it does, else 0
 */
QUORV_API uint32_t MSTATIC_MTableIDExists(uint32_t kind, const char *text);

/**
 * Writes the entries of one of the context's tables to the trace stream in the order they came: a text record
 * for each text, its kind MTRACE_TABLE_TEXT and the table's number; a data record for each node of
 * identifiers: the table's number, the count, two zeroes, then the identifiers.
 *
 * @param[in] level  level bits of the records
 * @param[in] kind   number of the table, 1 to 3
 *
 * @retval ResultOk      done; or the level is suppressed
 * @retval ResultFailed  there is no such table, or no trace stream
 * @return otherwise what the first record that could not be written gave; those behind it are left out
 */
QUORV_API uint32_t MSTATIC_MTableWrite(uint32_t level, uint32_t kind);

/**
 * Frees a chain of nodes; the context forgets a table of its own.
 *
 * @param[in] kind        not looked at
 * @param[in] first_node  the chain's first node
 *
 * @retval ResultOk          done
 * @retval ResultInvalidArg  null
 */
QUORV_API uint32_t MSTATIC_MTableReMoveAll(uint32_t kind, void *first_node);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
