// Heap side of the memory functions: what every other module allocates with.

#include <quorv/platform/memory.h>
#include <stdlib.h>

void *MMemAlloc(MMemMgr /*mgr*/, size_t size) {
    return malloc(size);
}

void MMemFree(MMemMgr /*mgr*/, void *ptr) {
    free(ptr);
}

void *MMemRealloc(MMemMgr /*mgr*/, void *ptr, size_t size) {
    return realloc(ptr, size);
}
