// The choice of a set of kernels; see the header.

#include "mp3dec/kernels/Mp3Kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#elif defined(__arm__) && defined(__linux__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace quorv {

#if defined(__x86_64__) || defined(__i386__)

namespace {

// The system keeps the registers of AVX when it changes threads.
bool keeps_wide_registers() {
    uint32_t low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    constexpr uint32_t kSseAndAvx = 6;
    return (low & kSseAndAvx) == kSseAndAvx;
}

// Asked of the processor itself: the compiler's way of asking has writable variables.
void add_sets_of_processor(Mp3Kernels *sets, uint32_t *count) {
    uint32_t a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0) return;
    if ((d & bit_SSE2) == 0) return;
    sets[(*count)++] = mp3_sse2_kernels();
    if ((c & bit_OSXSAVE) == 0 || (c & bit_AVX) == 0 || !keeps_wide_registers()) return;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0 || (b & bit_AVX2) == 0) return;
    sets[(*count)++] = mp3_avx2_kernels();
}

}  // namespace

#elif defined(__arm__) && defined(__linux__)

namespace {

void add_sets_of_processor(Mp3Kernels *sets, uint32_t *count) {
    if ((getauxval(AT_HWCAP) & HWCAP_NEON) != 0) sets[(*count)++] = mp3_neon_kernels();
}

}  // namespace

#elif !defined(__wasm_simd128__)

namespace {

void add_sets_of_processor(Mp3Kernels * /*sets*/, uint32_t * /*count*/) {}

}  // namespace

#endif

#ifdef __wasm_simd128__

// What has these instructions in it does not start where they do not run: the portable set would never be
// used.
uint32_t mp3_kernel_sets(Mp3Kernels sets[kMp3MaxKernelSets]) {
    sets[0] = mp3_wasm_simd128_kernels();
    return 1;
}

#else

uint32_t mp3_kernel_sets(Mp3Kernels sets[kMp3MaxKernelSets]) {
    uint32_t count = 0;
    sets[count++] = mp3_portable_kernels();
    add_sets_of_processor(sets, &count);
    return count;
}

#endif

Mp3Kernels mp3_best_kernels() {
    Mp3Kernels sets[kMp3MaxKernelSets];
    return sets[mp3_kernel_sets(sets) - 1];
}

}  // namespace quorv
