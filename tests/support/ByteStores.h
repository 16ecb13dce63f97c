// Where the bytes of a test's stream come from.
#ifndef QUORV_TESTS_SUPPORT_BYTESTORES_H
#define QUORV_TESTS_SUPPORT_BYTESTORES_H

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

namespace quorv::test {

using Bytes = std::vector<uint8_t>;

// Random access to a constant run of bytes.
class ByteStore {
public:
    virtual ~ByteStore() = default;
    virtual uint64_t size() const = 0;
    // Copies count bytes from position on; the range lies inside.
    virtual void copy(uint64_t position, void *to, size_t count) const = 0;
};

// Runs of bytes at any offset of a length that only has to fit 63 bits; everything else reads as zero.
class MemoryStore final : public ByteStore {
public:
    explicit MemoryStore(const Bytes &bytes = {}) { append(bytes); }
    uint64_t size() const override { return size_; }
    void copy(uint64_t position, void *to, size_t count) const override {
        uint8_t *const out = static_cast<uint8_t *>(to);
        std::fill_n(out, count, uint8_t{0});
        auto run = runs_.upper_bound(position);
        if (run != runs_.begin()) --run;
        for (; run != runs_.end() && run->first < position + count; ++run) {
            const uint64_t from = std::max(position, run->first);
            const uint64_t end = std::min(position + count, run->first + run->second.size());
            if (from >= end) continue;
            memcpy(out + (from - position), run->second.data() + (from - run->first),
                   static_cast<size_t>(end - from));
        }
    }
    void append(const Bytes &bytes) {
        if (bytes.empty()) return;
        auto last = runs_.empty() ? runs_.end() : std::prev(runs_.end());
        if (last == runs_.end() || last->first + last->second.size() != size_)
            last = runs_.emplace(size_, Bytes{}).first;
        last->second.insert(last->second.end(), bytes.begin(), bytes.end());
        size_ += bytes.size();
    }
    void append_zeros(uint64_t count) { size_ += count; }
    // Overwrites bytes that were appended in one piece.
    void patch(uint64_t position, const Bytes &bytes) {
        const auto run = std::prev(runs_.upper_bound(position));
        if (position - run->first + bytes.size() > run->second.size()) abort();
        std::copy(bytes.begin(), bytes.end(),
                  run->second.begin() + static_cast<std::ptrdiff_t>(position - run->first));
    }
    // The whole content; only for small ones.
    Bytes flatten() const {
        Bytes all(static_cast<size_t>(size_));
        copy(0, all.data(), all.size());
        return all;
    }

private:
    std::map<uint64_t, Bytes> runs_;
    uint64_t size_ = 0;
};

}  // namespace quorv::test

#endif
