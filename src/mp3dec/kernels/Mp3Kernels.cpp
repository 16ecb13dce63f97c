// The choice of a set of kernels; see the header.

#include "mp3dec/kernels/Mp3Kernels.h"

namespace quorv {

uint32_t mp3_kernel_sets(Mp3Kernels sets[kMp3MaxKernelSets]) {
    uint32_t count = 0;
    sets[count++] = mp3_portable_kernels();
#if defined(__x86_64__) || defined(__SSE2__)
    sets[count++] = mp3_sse2_kernels();
#endif
    return count;
}

Mp3Kernels mp3_best_kernels() {
    Mp3Kernels sets[kMp3MaxKernelSets];
    return sets[mp3_kernel_sets(sets) - 1];
}

}  // namespace quorv
