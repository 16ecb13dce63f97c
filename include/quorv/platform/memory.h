/*
 * Memory functions of the platform layer and its result codes.
 *
 * Every function that allocates takes a memory manager first: 0 for the process heap, or a fixed pool that
 * MMemMgrCreate made inside a buffer of the caller. Heap calls may be made from any thread; a pool takes no
 * lock and belongs to one thread at a time.
 */
#ifndef QUORV_PLATFORM_MEMORY_H
#define QUORV_PLATFORM_MEMORY_H

#include <quorv/export.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of the platform layer. */
enum {
    ResultOk = 0,
    ResultFailed = 1,      /* a stream could not be opened, or there is no context */
    ResultInvalidArg = 2,  /* a required pointer is null */
    ResultUnsupported = 3, /* the query is not supported */
    ResultNoMemory = 4     /* an allocation failed */
};

/* A memory manager: 0 for the process heap, or a handle from MMemMgrCreate. */
typedef void *MMemMgr;

/*
 * Allocates size bytes, uninitialised; null when there is no memory. A block belongs to the caller and goes
 * back with MMemFree and the same manager. Blocks of a pool are aligned to 4 bytes only; a pool serves no
 * request of 2^31 bytes or more.
 */
QUORV_API void *MMemAlloc(MMemMgr mgr, size_t size);
/* Frees a block of this manager; ptr may be null. */
QUORV_API void MMemFree(MMemMgr mgr, void *ptr);
/*
 * Resizes a block, which may move; a null ptr allocates. Null, with the block left as it was, when there is
 * no memory. A size of 0 does what the C library's realloc does on the heap; in a pool it returns null and
 * frees nothing.
 */
QUORV_API void *MMemRealloc(MMemMgr mgr, void *ptr, size_t size);

/* Fills len bytes with the low 8 bits of value; returns dst. */
QUORV_API void *MMemSet(void *dst, int32_t value, size_t len);
/* Copies len bytes between areas that do not overlap; returns dst. */
QUORV_API void *MMemCpy(void *dst, const void *src, size_t len);
/* Copies len bytes; the areas may overlap; returns dst. */
QUORV_API void *MMemMove(void *dst, const void *src, size_t len);
/* Compares len bytes as unsigned values: below 0, 0 or above 0. */
QUORV_API int32_t MMemCmp(const void *a, const void *b, size_t len);

/* Large blocks: always on the process heap, whatever the manager. Results as malloc, realloc and free. */
QUORV_API void *MHugeMemAlloc(MMemMgr mgr, size_t size);
QUORV_API void *MHugeMemReAlloc(MMemMgr mgr, void *ptr, size_t size);
QUORV_API void MHugeMemFree(MMemMgr mgr, void *ptr);
/* Large blocks never move: locking returns ptr, unlocking does nothing. */
QUORV_API void *MHugeMemLock(MMemMgr mgr, void *ptr);
QUORV_API void MHugeMemUnlock(MMemMgr mgr, void *ptr);

/*
 * Makes a fixed pool inside a buffer that the caller owns and keeps alive as long as the pool is used.
 *
 * buffer  any alignment; the pool starts at the next multiple of 4
 * size    bytes of the buffer; 16 of them, and 8 for every further block, are spent on block headers
 *
 * Returns the manager handle, or 0 when buffer is null, nothing is left after the headers, or size is 2^31
 * or more.
 */
QUORV_API MMemMgr MMemMgrCreate(void *buffer, uint32_t size);
/* Ends a pool. There is nothing to do: the buffer belongs to the caller. */
QUORV_API void MMemMgrDestroy(MMemMgr mgr);

/*
 * Allocates from a pool: the first free block that is large enough, the rest of it split off when it can
 * hold 32 bytes with its header apart. Null when there is none, the handle is null or size is 0.
 */
QUORV_API void *MMemAllocStatic(MMemMgr mgr, uint32_t size);
/*
 * Returns a block to its pool and merges it with free neighbours. Null arguments, and pointers that are not
 * blocks of this pool, do nothing.
 */
QUORV_API void MMemFreeStatic(MMemMgr mgr, void *ptr);
/*
 * Resizes a block of a pool: in place when it shrinks or the next block is free and large enough, otherwise
 * by moving it. A null ptr allocates. Null, with the block left as it was, when there is no room, the handle
 * is null, size is 0 or ptr is not a block of this pool.
 */
QUORV_API void *MMemReallocStatic(MMemMgr mgr, void *ptr, uint32_t size);

/* Memory statistics are not offered: always ResultUnsupported; info is not looked at. */
QUORV_API uint32_t MGetAppMemInfo(void *info);

#ifdef __cplusplus
}
#endif

#endif
