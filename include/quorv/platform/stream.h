/*
 * Streams: one handle for files and for memory, and operations on files by path.
 *
 * A file stream is a buffered file of the C library. A memory stream lies over a buffer of the caller, which
 * it never outgrows, or over a chain of heap blocks that grows as it is written. Paths are narrow strings;
 * the W forms take 16-bit wide strings and narrow them (each unit cut to its low 8 bits): a path of 260 or
 * more characters fails there.
 *
 * A stream belongs to one thread at a time. A null stream is accepted everywhere and gives 0.
 */
#ifndef QUORV_PLATFORM_STREAM_H
#define QUORV_PLATFORM_STREAM_H

#include <quorv/export.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The record behind a stream handle: eight machine words. Callers treat it as opaque. */
typedef struct MStreamRecord {
    void *handle;             /* the FILE, or the data of the current memory block */
    uintptr_t kind;           /* 1 file, 2 memory */
    uintptr_t block_capacity; /* bytes in the current block */
    uintptr_t block_position; /* read and write position in the current block */
    uintptr_t flags;          /* 0x1001 for a growable memory stream, else 0 */
    void *chain;              /* the blocks of a growable memory stream, else null */
    uintptr_t size;           /* logical size of a memory stream in bytes */
    uintptr_t capacity;       /* bytes in all blocks */
} MStreamRecord;

typedef MStreamRecord *MStream;

/* Origins of MStreamSeek. */
enum { MSTREAM_SEEK_START = 0, MSTREAM_SEEK_END = 1, MSTREAM_SEEK_CURRENT = 2 };

/*
 * Opens a file. mode picks the C library's mode string: 1 "rb", 2 "wb", 3 "ab", 4 "rb+", 5 "wb+", 6 "ab+";
 * any other value "rb". Null when the file cannot be opened or there is no memory; MStreamClose ends it.
 */
QUORV_API MStream MStreamOpenFromFileS(const char *path, uint32_t mode);
QUORV_API MStream MStreamOpenFromFileW(const uint16_t *path, uint32_t mode);
/* Creates a file, or empties an existing one, and opens it for writing (mode 2). */
QUORV_API MStream MStreamFileCreateS(const char *path);
QUORV_API MStream MStreamFileCreateW(const uint16_t *path);
/* 1 when the path opens for reading, else 0. */
QUORV_API int32_t MStreamFileExistsS(const char *path);
QUORV_API int32_t MStreamFileExistsW(const uint16_t *path);

/*
 * Opens a memory stream at position 0; null when there is no memory.
 *
 * buffer  size bytes of the caller's, who keeps and frees them; or null for a growable stream
 * size    of a growable stream: bytes of its first block, 16384 when 0 or larger than that; the stream
 *         reports these, which read as zero, as its size from the start
 */
QUORV_API MStream MStreamOpenFromMemoryBlock(void *buffer, uint32_t size);

/*
 * Read, or write, up to count bytes at the position and move it; return the bytes transferred, which are
 * fewer at the end, on an error, or when a memory stream cannot grow. A count of 0 or less transfers nothing.
 * A growable stream is read up to its size, one over a caller's buffer up to the end of the buffer. Reads and
 * writes may follow one another directly on every stream that is open for both.
 */
QUORV_API int32_t MStreamRead(MStream stream, void *buffer, int32_t count);
QUORV_API int32_t MStreamWrite(MStream stream, const void *buffer, int32_t count);

/*
 * Moves the position; origin is one of MSTREAM_SEEK_*, offset in bytes. 0 on success. A file stream may be
 * positioned past its end; another origin or an impossible position gives a nonzero result. A memory stream
 * clamps the position to its size, and an unknown origin gives 1.
 */
QUORV_API int32_t MStreamSeek(MStream stream, uint32_t origin, intptr_t offset);
/* The position in bytes from the start; -1 for a file that has none, or one that intptr_t cannot hold. */
QUORV_API intptr_t MStreamTell(MStream stream);
/* The size in bytes; -1 for a file that has none, or one that intptr_t cannot hold. The position stays. */
QUORV_API intptr_t MStreamGetSize(MStream stream);
/* Sets the size of a memory stream to size, limited to 0 and its capacity, and returns it; -1 for a file. */
QUORV_API intptr_t MStreamSetSize(MStream stream, intptr_t size);
/* Hands buffered bytes to the system: 1 on success, and always for memory; 0 when that fails. */
QUORV_API int32_t MStreamFlush(MStream stream);
/* Closes and frees the stream, always; 0 when closing a file failed (bytes may be lost), else 1. */
QUORV_API int32_t MStreamClose(MStream stream);
/* Copies up to count bytes from one stream's position to another's; returns the bytes written. */
QUORV_API int32_t MStreamCopy(MStream source, MStream destination, int32_t count);

/* Remove or rename a file: 1 on success, else 0. MStreamFileMoveS takes the new path first. */
QUORV_API int32_t MStreamFileDeleteS(const char *path);
QUORV_API int32_t MStreamFileRenameS(const char *old_path, const char *new_path);
QUORV_API int32_t MStreamFileMoveS(const char *destination, const char *source);
/* The low 32 bits of a file's size in bytes; 0xFFFFFFFF when there is no such file. */
QUORV_API uint32_t MStreamFileGetSizeS(const char *path);
/*
 * Copies a file over another: 1 when the copy is complete, else 0; the destination may then hold a part.
 *
 * destination, source  paths as 16-bit text that ends with a zero unit, of any alignment. A narrow path does
 *                      not work here in spite of the name: widen it with MCharToWChar first.
 *
 * Paths of 260 or more units fail, and so does copying a file over itself, which leaves it as it is.
 */
QUORV_API int32_t MStreamFileCopyS(const void *destination, const void *source);

/* The memory kind's own functions: as the MStream* function of the same name, for memory streams only. */
QUORV_API int32_t ZEVStreamMemRead(MStream stream, void *buffer, int32_t count);
QUORV_API int32_t ZEVStreamMemWrite(MStream stream, const void *data, int32_t count);
QUORV_API int32_t ZEVStreamMemSeek(MStream stream, uint32_t origin, intptr_t offset);
QUORV_API intptr_t ZEVStreamMemTell(MStream stream);
QUORV_API intptr_t ZEVStreamMemGetSize(MStream stream);
QUORV_API int32_t ZEVStreamMemClose(MStream stream);

#ifdef __cplusplus
}
#endif

#endif
