/*
 * Logs: buffered text and binary messages in a file, chosen by level; the trace stream and its tables.
 *
 * A message carries level bits and is written when they meet the log's level mask. Log functions take a log
 * handle: 0 for the context's own log, which they guard with the context's log mutex; a handle of the
 * caller's is used without a lock. Write errors are not reported: the log then stays silent for good.
 */
#ifndef QUORV_PLATFORM_LOG_H
#define QUORV_PLATFORM_LOG_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An open log; 0 stands for the context's log. */
typedef struct MLogStream *MLogHandle;

/* The settings of a log. */
typedef struct MLogConfig {
    uint32_t record_size; /* 16; written by MLogGetConfig, not looked at by MLogSetConfig */
    uint32_t enabled;     /* 0 suppresses all output */
    uint32_t buffered;    /* 0 writes every message at once */
    uint32_t level_mask;
} MLogConfig;

/*
 * Opens a log that appends to a file: enabled, buffered, all levels.
 *
 * log  out: the handle, 0 on failure; MLogClose frees it
 *
 * ResultFailed when the file cannot be opened, ResultNoMemory, or ResultInvalidArg for a null argument.
 */
QUORV_API uint32_t MLogOpenS(const char *path, MLogHandle *log);
/*
 * Writes a formatted message. The buffer is written to the file before a message when it holds 15360 bytes or
 * the message would not fit behind what it holds; a message of more than 16383 bytes is cut.
 *
 * ResultOk, also for a message that its level or a disabled log suppresses; ResultFailed when log is 0 and
 * there is no context or it has no log; ResultInvalidArg for a null format.
 */
QUORV_API uint32_t MLogS(MLogHandle log, uint32_t level, const char *format, ...) QUORV_PRINTF(3, 4);
/* Writes length bytes as they are; 16384 or more go straight to the file. Results as for MLogS. */
QUORV_API uint32_t MLogDump(MLogHandle log, uint32_t level, const void *data, uint32_t length);
/* Writes the buffer to the file. ResultOk, or ResultFailed when there is no log. */
QUORV_API uint32_t MLogFlush(MLogHandle log);
/* Read, or replace after a flush, the settings. ResultInvalidArg for a null config, ResultFailed without a
 * log. */
QUORV_API uint32_t MLogGetConfig(MLogHandle log, MLogConfig *config);
QUORV_API uint32_t MLogSetConfig(MLogHandle log, const MLogConfig *config);
/* Flushes, closes the file and frees the log; the context forgets a log of its own. ResultFailed without a
 * log. */
QUORV_API uint32_t MLogClose(MLogHandle log);

/*
 * Prints a message to standard output, at once, when the context's trace mask has one of the level bits; text
 * beyond 287 bytes is cut. Returns the bytes printed (below 0 when that failed), or, when nothing is printed,
 * the context's trace mask (0 without a context).
 */
QUORV_API int32_t MTraceS(uint32_t level, const char *format, ...) QUORV_PRINTF(2, 3);

/*
 * The trace stream: a log of binary records, owned by the context and guarded by its trace mutex. The file
 * begins with the four bytes "QUDD" and holds records of 32-bit little-endian words:
 *
 *   text  (kind << 16) | record length in bytes, identifier, text, zero byte, zeroes up to a multiple of 4
 *   data  (1 << 16) | record length in bytes, a, b, c, d, values
 *
 * Functions that write to it return ResultFailed when there is no context or it has no trace stream.
 */

/* As MLogOpenS, but the file is started afresh. */
QUORV_API uint32_t MSTATIC_MDebugStreamOpenS(const char *path, MLogHandle *log);
/* MLogDump on the context's trace stream. */
QUORV_API uint32_t MSTATIC_MDebugStreamDump(uint32_t level, const void *data, uint32_t length);
/* MLogClose on the context's trace stream, which the context forgets. */
QUORV_API uint32_t MSTATIC_MDebugStreamClose(void);

/*
 * Writes a text record; its identifier is the low 32 bits of the text's address. ResultInvalidArg for null or
 * a text of more than 65523 bytes, ResultNoMemory; the record is then dropped.
 */
QUORV_API uint32_t MSTATIC_MTableOutPutID(uint32_t level, uint32_t kind, const char *text);
/*
 * Writes a data record of four words and count values. With more than 30 values the fourth word is written as
 * 0 instead of d. ResultInvalidArg for more than 16378 values or null ones, ResultNoMemory; the record is
 * then dropped.
 */
QUORV_API uint32_t MSTATIC_MLogTraceData(uint32_t level, uint32_t a, uint32_t b, uint32_t c, uint32_t d,
                                         const uint32_t *values, uint32_t count);

/*
 * Trace tables: chains of nodes of up to 256 entries. A node of kind 1 keeps texts, each with the address it
 * was given at as its identifier; a node of kind 2 keeps identifiers alone. The context has three tables,
 * numbered 1 to 3, whose chains grow as needed; the functions that take a table number lock the trace mutex.
 */

/*
 * Makes an empty node; null for another kind or without memory. MSTATIC_MTableReMoveAll frees it.
 *
 * storage_bytes  room for the texts of a node of kind 1; a text larger than that is stored by itself
 */
QUORV_API void *MSTATIC_MTableNewOneNode(uint32_t kind, uint32_t storage_bytes);
/*
 * Records a copy of the text in one of the context's tables, unless it is known there (compared by its
 * characters; by its address in a table of kind 2). ResultOk, also when it is known; ResultFailed without the
 * table, ResultInvalidArg for null, ResultNoMemory.
 */
QUORV_API uint32_t MSTATIC_MTableAddOneID(uint32_t kind, const char *text);
/* 1 when one of the context's tables knows the text, else 0. */
QUORV_API uint32_t MSTATIC_MTableIDExists(uint32_t kind, const char *text);
/*
 * Writes the entries of one of the context's tables to the trace stream in the order they came: a text record
 * for each text, its kind being the table's number; a data record for each node of identifiers: the table's
 * number, the count, two zeroes, then the identifiers.
 */
QUORV_API uint32_t MSTATIC_MTableWrite(uint32_t level, uint32_t kind);
/* Frees a chain of nodes; the context forgets a table of its own. kind is not looked at. ResultInvalidArg for
 * null. */
QUORV_API uint32_t MSTATIC_MTableReMoveAll(uint32_t kind, void *first_node);

#ifdef __cplusplus
}
#endif

#endif
