/**
 * @file
 * Streams: one handle for files and for memory, and operations on files by path.
 */
#ifndef QUORV_PLATFORM_STREAM_H
#define QUORV_PLATFORM_STREAM_H

#include <quorv/export.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup stream Streams
 * @ingroup platform
 * One handle for files and for memory, and operations on files by path.
 *
 * A file stream is a buffered file of the C library. A memory stream lies over a buffer of the caller, which
 * it never outgrows, or over a chain of heap blocks that grows as it is written. Paths are narrow strings;
 * the W forms take 16-bit wide strings and narrow them (each unit cut to its low 8 bits): a path of 260 or
 * more characters fails there, and so does one with a unit whose low 8 bits are zero.
 *
 * A stream belongs to one thread at a time. A null stream is accepted everywhere and gives 0; a null
 * buffer is allowed where nothing is to be transferred.
 * @{
 */

/** The record behind a stream handle: eight machine words. Callers treat it as opaque. */
typedef struct MStreamRecord {
    void *handle;             /**< the FILE, or the data of the current memory block */
    uintptr_t kind;           /**< 1 file, 2 memory */
    uintptr_t block_capacity; /**< bytes in the current block */
    uintptr_t block_position; /**< read and write position in the current block */
    uintptr_t flags;          /**< 0x1001 for a growable memory stream, else 0 */
    void *chain;              /**< the blocks of a growable memory stream, else null */
    uintptr_t size;           /**< logical size of a memory stream in bytes */
    uintptr_t capacity;       /**< bytes in all blocks */
} MStreamRecord;

/** An open stream, which MStreamClose ends. */
typedef MStreamRecord *MStream;

/** Origins of MStreamSeek. */
enum {
    MSTREAM_SEEK_START = 0,  /**< the stream's first byte */
    MSTREAM_SEEK_END = 1,    /**< behind its last byte */
    MSTREAM_SEEK_CURRENT = 2 /**< the position */
};

/** How a file is opened, and the C library's mode string for it. */
enum {
    MSTREAM_OPEN_READ = 1,        /**< "rb" */
    MSTREAM_OPEN_CREATE = 2,      /**< "wb" */
    MSTREAM_OPEN_APPEND = 3,      /**< "ab" */
    MSTREAM_OPEN_READ_WRITE = 4,  /**< "rb+" */
    MSTREAM_OPEN_CREATE_READ = 5, /**< "wb+" */
    MSTREAM_OPEN_APPEND_READ = 6  /**< "ab+" */
};

/**
 * Opens a file.
 *
 * @param[in] path  of the file
 * @param[in] mode  MSTREAM_OPEN_*; any other value reads
 *
 * @return the stream, which MStreamClose ends; null when the file cannot be opened or there is no memory
 */
QUORV_API MStream MStreamOpenFromFileS(const char *path, uint32_t mode);
/** MStreamOpenFromFileS for a wide path. @copydetails MStreamOpenFromFileS */
QUORV_API MStream MStreamOpenFromFileW(const uint16_t *path, uint32_t mode);

/**
 * Creates a file, or empties an existing one, and opens it for writing.
 *
 * @param[in] path  of the file
 *
 * @return as MStreamOpenFromFileS with MSTREAM_OPEN_CREATE
 */
QUORV_API MStream MStreamFileCreateS(const char *path);
/** MStreamFileCreateS for a wide path. @copydetails MStreamFileCreateS */
QUORV_API MStream MStreamFileCreateW(const uint16_t *path);

/**
 * Tells whether a path opens for reading.
 *
 * @param[in] path  of the file
 *
 * @return 1 when it does, else 0
 */
QUORV_API int32_t MStreamFileExistsS(const char *path);
/** MStreamFileExistsS for a wide path. @copydetails MStreamFileExistsS */
QUORV_API int32_t MStreamFileExistsW(const uint16_t *path);

/**
 * Opens a memory stream at position 0.
 *
 * @param[in] buffer  size bytes of the caller's, who keeps and frees them; or null for a growable stream
 * @param[in] size    of a growable stream: bytes of its first block, 16384 when 0 or larger than that; the
 *                    stream reports these, which read as zero, as its size from the start
 *
 * @return the stream, which MStreamClose ends; null when there is no memory
 */
QUORV_API MStream MStreamOpenFromMemoryBlock(void *buffer, uint32_t size);

/**
 * Reads at the position and moves it.
 *
 * A growable stream is read up to its size, one over a caller's buffer up to the end of the buffer. Reads and
 * writes may follow one another directly on every stream that is open for both.
 *
 * @param[in]  stream  the stream
 * @param[out] buffer  count bytes, the caller's
 * @param[in]  count   bytes; 0 or less reads nothing
 *
 * @return the bytes read, which are fewer at the end and on an error
 */
QUORV_API int32_t MStreamRead(MStream stream, void *buffer, int32_t count);

/**
 * Writes at the position and moves it. A memory stream then is at least as large as its position, even when
 * count is 0.
 *
 * @param[in] stream  the stream
 * @param[in] buffer  count bytes
 * @param[in] count   bytes; 0 or less writes nothing
 *
 * @return the bytes written, which are fewer on an error, or when a memory stream cannot grow
 */
QUORV_API int32_t MStreamWrite(MStream stream, const void *buffer, int32_t count);

/**
 * Moves the position. A file stream may be positioned past its end; a memory stream clamps the position to
 * its size.
 *
 * @param[in] stream  the stream
 * @param[in] origin  MSTREAM_SEEK_START, MSTREAM_SEEK_END or MSTREAM_SEEK_CURRENT
 * @param[in] offset  bytes from the origin
 *
 * @return 0 on success; nonzero for another origin (1 for a memory stream), and for an impossible position in
 *         a file
 */
QUORV_API int32_t MStreamSeek(MStream stream, uint32_t origin, intptr_t offset);

/**
 * Gives the position.
 *
 * @param[in] stream  the stream
 *
 * @return bytes from the start; -1 for a file that has no position, or one that intptr_t cannot hold
 */
QUORV_API intptr_t MStreamTell(MStream stream);

/**
 * Gives the size. The position stays.
 *
 * @param[in] stream  the stream
 *
 * @return bytes; -1 for a file that has no size, or one that intptr_t cannot hold
 */
QUORV_API intptr_t MStreamGetSize(MStream stream);

/**
 * Sets the size of a memory stream.
 *
 * @param[in] stream  the stream
 * @param[in] size    bytes, limited to 0 and the stream's capacity
 *
 * @return the size that was set; -1 for a file
 */
QUORV_API intptr_t MStreamSetSize(MStream stream, intptr_t size);

/**
 * Hands buffered bytes to the system.
 *
 * @param[in] stream  the stream
 *
 * @return 1 on success, and always for memory; 0 when that fails
 */
QUORV_API int32_t MStreamFlush(MStream stream);

/**
 * Closes and frees the stream, always.
 *
 * @param[in] stream  the stream
 *
 * @return 0 when closing a file failed (bytes may be lost), else 1
 */
QUORV_API int32_t MStreamClose(MStream stream);

/**
 * Copies from one stream's position to another's.
 *
 * @param[in] source       read
 * @param[in] destination  written
 * @param[in] count        bytes at most
 *
 * @return the bytes written
 */
QUORV_API int32_t MStreamCopy(MStream source, MStream destination, int32_t count);

/**
 * Removes a file, or an empty directory.
 *
 * @param[in] path  of the file
 *
 * @return 1 on success, else 0
 */
QUORV_API int32_t MStreamFileDeleteS(const char *path);

/**
 * Renames a file.
 *
 * @param[in] old_path  its path
 * @param[in] new_path  what it becomes; a file that has this name is replaced
 *
 * @return 1 on success, else 0
 */
QUORV_API int32_t MStreamFileRenameS(const char *old_path, const char *new_path);

/**
 * Renames a file as MStreamFileRenameS does, the new path first.
 *
 * @param[in] destination  what its path becomes
 * @param[in] source       its path
 *
 * @return 1 on success, else 0
 */
QUORV_API int32_t MStreamFileMoveS(const char *destination, const char *source);

/**
 * Gives the size of a file.
 *
 * @param[in] path  of the file
 *
 * @return the low 32 bits of its size in bytes; 0xFFFFFFFF when there is no such file
 */
QUORV_API uint32_t MStreamFileGetSizeS(const char *path);

/**
 * Copies a file over another.
 *
 * The paths are 16-bit text that ends with a zero unit, of any alignment. A narrow path does not work here in
 * spite of the name: widen it with MCharToWChar first. Paths that the W forms refuse fail, and so does
 * copying a file over itself, which leaves it as it is.
 *
 * @param[in] destination  path of the copy
 * @param[in] source       path of the file
 *
 * @return 1 when the copy is complete, else 0; the destination may then hold a part
 */
QUORV_API int32_t MStreamFileCopyS(const void *destination, const void *source);

/** MStreamRead for memory streams only; others give 0. @copydetails MStreamRead */
QUORV_API int32_t ZEVStreamMemRead(MStream stream, void *buffer, int32_t count);

/**
 * MStreamWrite for memory streams only; others give 0. The stream then is at least as large as its position,
 * even when count is 0.
 *
 * @param[in] stream  the stream
 * @param[in] data    count bytes
 * @param[in] count   bytes; 0 or less writes nothing
 *
 * @return the bytes written, which are fewer when the stream cannot grow
 */
QUORV_API int32_t ZEVStreamMemWrite(MStream stream, const void *data, int32_t count);
/** MStreamSeek for memory streams only; others give 0. @copydetails MStreamSeek */
QUORV_API int32_t ZEVStreamMemSeek(MStream stream, uint32_t origin, intptr_t offset);
/** MStreamTell for memory streams only; others give 0. @copydetails MStreamTell */
QUORV_API intptr_t ZEVStreamMemTell(MStream stream);
/** MStreamGetSize for memory streams only; others give 0. @copydetails MStreamGetSize */
QUORV_API intptr_t ZEVStreamMemGetSize(MStream stream);
/** MStreamClose for memory streams only; others are left open and give 0. @copydetails MStreamClose */
QUORV_API int32_t ZEVStreamMemClose(MStream stream);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
