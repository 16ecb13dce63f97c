/**
 * @file
 * Memory functions of the platform layer and its result codes.
 */
#ifndef QUORV_PLATFORM_MEMORY_H
#define QUORV_PLATFORM_MEMORY_H

#include <quorv/export.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup platform Platform
 * The ground under the library, for programs as well.
 */

/**
 * @defgroup memory Memory
 * @ingroup platform
 * Allocation from the process heap or from a fixed pool, and the platform's result codes.
 *
 * Every function that allocates takes a memory manager first: 0 for the process heap, or a fixed pool that
 * MMemMgrCreate made inside a buffer of the caller. Heap calls may be made from any thread; a pool takes no
 * lock and belongs to one thread at a time. The functions that fill, copy and compare bytes are the C
 * library's; their pointers must not be null.
 * @{
 */

/** Result codes of the platform layer. */
enum {
    ResultOk = 0,          /**< success */
    ResultFailed = 1,      /**< a stream could not be opened, or there is no context */
    ResultInvalidArg = 2,  /**< a required pointer is null */
    ResultUnsupported = 3, /**< the query is not supported */
    ResultNoMemory = 4     /**< an allocation failed */
};

/** A memory manager: 0 for the process heap, or a handle from MMemMgrCreate. */
typedef void *MMemMgr;

/**
 * Allocates bytes, uninitialised.
 *
 * @param[in] mgr   the manager, 0 for the heap
 * @param[in] size  bytes; a pool serves no request of 2^31 or more
 *
 * @return the block, the caller's until MMemFree with the same manager; null when there is no memory. Blocks
 *         of a pool are aligned to 4 bytes only.
 */
QUORV_API void *MMemAlloc(MMemMgr mgr, size_t size);

/**
 * Frees a block.
 *
 * @param[in] mgr  the manager that the block is from
 * @param[in] ptr  the block, or null
 */
QUORV_API void MMemFree(MMemMgr mgr, void *ptr);

/**
 * Resizes a block, which may move.
 *
 * @param[in] mgr   the manager that the block is from
 * @param[in] ptr   the block; null allocates one
 * @param[in] size  bytes; 0 does what the C library's realloc does on the heap; in a pool it returns null and
 *                  frees nothing
 *
 * @return the block; null, with the block left as it was, when there is no memory
 */
QUORV_API void *MMemRealloc(MMemMgr mgr, void *ptr, size_t size);

/**
 * Fills bytes with one value.
 *
 * @param[out] dst    len bytes
 * @param[in]  value  its low 8 bits are used
 * @param[in]  len    bytes
 *
 * @return dst
 */
QUORV_API void *MMemSet(void *dst, int32_t value, size_t len);

/**
 * Copies bytes between areas that do not overlap.
 *
 * @param[out] dst  len bytes
 * @param[in]  src  len bytes
 * @param[in]  len  bytes
 *
 * @return dst
 */
QUORV_API void *MMemCpy(void *dst, const void *src, size_t len);

/**
 * Copies bytes between areas that may overlap.
 *
 * @param[out] dst  len bytes
 * @param[in]  src  len bytes
 * @param[in]  len  bytes
 *
 * @return dst
 */
QUORV_API void *MMemMove(void *dst, const void *src, size_t len);

/**
 * Compares bytes as unsigned values.
 *
 * @param[in] a    len bytes
 * @param[in] b    len bytes
 * @param[in] len  bytes
 *
 * @return below 0, 0 or above 0, as a is less than b, equal or greater
 */
QUORV_API int32_t MMemCmp(const void *a, const void *b, size_t len);

/**
 * Allocates a large block, as malloc: always on the process heap, whatever the manager.
 *
 * @param[in] mgr   not looked at
 * @param[in] size  bytes
 *
 * @return the block, which MHugeMemFree frees; null when there is no memory
 */
QUORV_API void *MHugeMemAlloc(MMemMgr mgr, size_t size);

/**
 * Resizes a large block, as realloc.
 *
 * @param[in] mgr   not looked at
 * @param[in] ptr   the block; null allocates one
 * @param[in] size  bytes
 *
 * @return the block; null, with the block left as it was, when there is no memory
 */
QUORV_API void *MHugeMemReAlloc(MMemMgr mgr, void *ptr, size_t size);

/**
 * Frees a large block.
 *
 * @param[in] mgr  not looked at
 * @param[in] ptr  the block, or null
 */
QUORV_API void MHugeMemFree(MMemMgr mgr, void *ptr);

/**
 * Gives the address of a large block, which never moves.
 *
 * @param[in] mgr  not looked at
 * @param[in] ptr  the block
 *
 * @return ptr
 */
QUORV_API void *MHugeMemLock(MMemMgr mgr, void *ptr);

/**
 * Does nothing: large blocks never move.
 *
 * @param[in] mgr  not looked at
 * @param[in] ptr  not looked at
 */
QUORV_API void MHugeMemUnlock(MMemMgr mgr, void *ptr);

/**
 * Makes a fixed pool inside a buffer that the caller owns and keeps alive as long as the pool is used.
 *
 * @param[in] buffer  size bytes of any alignment; the pool starts at the next multiple of 4
 * @param[in] size    bytes; 16 of them, and 8 for every further block, are spent on block headers
 *
 * @return the manager; 0 when buffer is null, nothing is left after the headers, or size is 2^31 or more
 */
QUORV_API MMemMgr MMemMgrCreate(void *buffer, uint32_t size);

/**
 * Ends a pool. There is nothing to do: the buffer belongs to the caller.
 *
 * @param[in] mgr  the pool
 */
QUORV_API void MMemMgrDestroy(MMemMgr mgr);

/**
 * Allocates from a pool: the first free block that is large enough, the rest of it split off when it can
 * hold 32 bytes with its header apart.
 *
 * @param[in] mgr   the pool
 * @param[in] size  bytes
 *
 * @return the block; null when there is none, the handle is null or size is 0
 */
QUORV_API void *MMemAllocStatic(MMemMgr mgr, uint32_t size);

/**
 * Returns a block to its pool and merges it with free neighbours.
 *
 * @param[in] mgr  the pool; null does nothing
 * @param[in] ptr  the block; null, and a pointer that is not a block of this pool, do nothing
 */
QUORV_API void MMemFreeStatic(MMemMgr mgr, void *ptr);

/**
 * Resizes a block of a pool: in place when it shrinks or the next block is free and large enough, otherwise
 * by moving it.
 *
 * @param[in] mgr   the pool
 * @param[in] ptr   the block; null allocates one
 * @param[in] size  bytes
 *
 * @return the block; null, with the block left as it was, when there is no room, the handle is null, size is
 *         0 or ptr is not a block of this pool
 */
QUORV_API void *MMemReallocStatic(MMemMgr mgr, void *ptr, uint32_t size);

/**
 * Memory statistics, which are not offered.
 *
 * @param[in] info  not looked at
 *
 * @retval ResultUnsupported  always
 */
QUORV_API uint32_t MGetAppMemInfo(void *info);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
