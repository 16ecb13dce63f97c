// The memory functions: every allocation of the library goes through these to the heap or to a fixed pool.

#include <quorv/platform/memory.h>
#include <stdlib.h>
#include <string.h>

namespace {

// A pool counts in 32 bits; a larger request must fail there, not wrap into a small one.
constexpr size_t kMaxPoolRequest = 0x7FFFFFFF;

}  // namespace

void *MMemAlloc(MMemMgr mgr, size_t size) {
    if (mgr == nullptr) return malloc(size);
    return size > kMaxPoolRequest ? nullptr : MMemAllocStatic(mgr, static_cast<uint32_t>(size));
}

void MMemFree(MMemMgr mgr, void *ptr) {
    if (mgr == nullptr)
        free(ptr);
    else
        MMemFreeStatic(mgr, ptr);
}

void *MMemRealloc(MMemMgr mgr, void *ptr, size_t size) {
    if (mgr == nullptr) return realloc(ptr, size);
    return size > kMaxPoolRequest ? nullptr : MMemReallocStatic(mgr, ptr, static_cast<uint32_t>(size));
}

void *MMemSet(void *dst, int32_t value, size_t len) {
    return memset(dst, value, len);
}

void *MMemCpy(void *dst, const void *src, size_t len) {
    return memcpy(dst, src, len);
}

void *MMemMove(void *dst, const void *src, size_t len) {
    return memmove(dst, src, len);
}

int32_t MMemCmp(const void *a, const void *b, size_t len) {
    return memcmp(a, b, len);
}

void *MHugeMemAlloc(MMemMgr /*mgr*/, size_t size) {
    return malloc(size);
}

void *MHugeMemReAlloc(MMemMgr /*mgr*/, void *ptr, size_t size) {
    return realloc(ptr, size);
}

void MHugeMemFree(MMemMgr /*mgr*/, void *ptr) {
    free(ptr);
}

void *MHugeMemLock(MMemMgr /*mgr*/, void *ptr) {
    return ptr;
}

void MHugeMemUnlock(MMemMgr /*mgr*/, void * /*ptr*/) {}

uint32_t MGetAppMemInfo(void * /*info*/) {
    return ResultUnsupported;
}
