// The kernels for WebAssembly with SIMD.

#include "mp3dec/kernels/DequantizeKernel.h"
#include "mp3dec/kernels/HybridKernel.h"
#include "mp3dec/kernels/LanesWasm.h"
#include "mp3dec/kernels/SynthesisKernel.h"
#include "mp3dec/kernels/WindowPairs.h"
#include "mp3dec/kernels/WordsWasm.h"

namespace quorv {

namespace {

// The powers are looked up one by one.
void requantize(int32_t *lines, uint32_t count, const int32_t *powers, int shift) {
    const v128_t rounding = wasm_i32x4_splat(1 << (shift - 1));
    uint32_t i = 0;
    for (; i + 4 <= count; i += 4) {
        int32_t *at = lines + i;
        const v128_t four = wasm_i32x4_make(powers[at[0]], powers[at[1]], powers[at[2]], powers[at[3]]);
        store_lanes(at, {wasm_i32x4_shr(wasm_i32x4_add(four, rounding), static_cast<uint32_t>(shift))});
    }
    for (; i < count; ++i)
        lines[i] = (powers[lines[i]] + (1 << (shift - 1))) >> shift;
}

}  // namespace

Mp3Kernels mp3_wasm_simd128_kernels() {
    return {"wasm_simd128",      Lane4::kCount, requantize,   dequantize<Lane4>,
            reduce_alias<Lane4>, imdct<Lane4>,  dct32<Lane4>, window<Words4, Words4>};
}

}  // namespace quorv
