// What all fuzz harnesses share.
#ifndef QUORV_FUZZ_HARNESS_H
#define QUORV_FUZZ_HARNESS_H

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <algorithm>
#include <memory>

// One input, from libFuzzer or from the replay of a corpus.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace quorv::fuzz {

// Ends the process so that the fuzzer keeps the input.
inline void require(bool condition) {
    if (!condition) abort();
}

// A heap copy behind `lead` other bytes, with none to spare, so that the address sanitizer sees reads past
// it.
inline std::unique_ptr<uint8_t[]> exact_copy(const uint8_t *data, size_t size, size_t lead = 0) {
    std::unique_ptr<uint8_t[]> block(new uint8_t[lead + size]);
    std::copy_n(data, size, block.get() + lead);
    return block;
}

}  // namespace quorv::fuzz

#endif
