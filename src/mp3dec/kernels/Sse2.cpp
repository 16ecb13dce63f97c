// The kernels for processors with SSE2.

#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/LanesSse2.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/WindowX86.h"

namespace quorv {

Mp3Kernels mp3_sse2_kernels() {
    return {"SSE2", Lane4::kCount, reduce_alias<Lane4>, imdct<Lane4>, dct32<Lane4>, window};
}

}  // namespace quorv
