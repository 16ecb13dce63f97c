// A heap copy of an input with not one byte to spare, so that the address sanitizer sees every read beside
// it.
#ifndef QUORV_FUZZ_EXACTCOPY_H
#define QUORV_FUZZ_EXACTCOPY_H

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

namespace quorv::fuzz {

// Ends the process so that the fuzzer keeps the input.
inline void require(bool condition) {
    if (!condition) abort();
}

class ExactCopy {
public:
    // The copy begins `lead` bytes behind an address that suits any type.
    ExactCopy(const uint8_t *data, size_t size, size_t lead)
        : block_(static_cast<uint8_t *>(malloc(lead + size))), lead_(lead) {
        require(block_ != nullptr || lead + size == 0);
        if (size > 0) memcpy(block_ + lead, data, size);
    }
    ~ExactCopy() { free(block_); }
    ExactCopy(const ExactCopy &) = delete;
    ExactCopy &operator=(const ExactCopy &) = delete;

    const uint8_t *data() const { return block_ + lead_; }

private:
    uint8_t *block_;
    size_t lead_;
};

}  // namespace quorv::fuzz

#endif
