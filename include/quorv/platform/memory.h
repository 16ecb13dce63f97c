/* Memory functions of the platform layer. */
#ifndef QUORV_PLATFORM_MEMORY_H
#define QUORV_PLATFORM_MEMORY_H

#include <stddef.h>
#include <stdint.h>

#include <quorv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A memory manager: 0 for the process heap. */
typedef void *MMemMgr;

/* Allocates size bytes; null when there is no memory. */
QUORV_API void *MMemAlloc(MMemMgr mgr, size_t size);
/* Frees what MMemAlloc or MMemRealloc gave; ptr may be null. */
QUORV_API void MMemFree(MMemMgr mgr, void *ptr);
/* Resizes a block; null, with the block left as it was, when there is no memory. */
QUORV_API void *MMemRealloc(MMemMgr mgr, void *ptr, size_t size);

#ifdef __cplusplus
}
#endif

#endif
