// Where the bytes of a test's stream come from: memory, a huge file that is nearly all zeros, or a file.
#ifndef QUORV_TESTS_SUPPORT_BYTESTORES_H
#define QUORV_TESTS_SUPPORT_BYTESTORES_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
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

class MemoryStore final : public ByteStore {
public:
    explicit MemoryStore(Bytes bytes) : bytes_(std::move(bytes)) {}
    uint64_t size() const override { return bytes_.size(); }
    void copy(uint64_t position, void *to, size_t count) const override;

private:
    Bytes bytes_;
};

// Runs of bytes at any offset of a length that only has to fit 63 bits; everything else reads as zero.
class SparseStore final : public ByteStore {
public:
    uint64_t size() const override { return size_; }
    void copy(uint64_t position, void *to, size_t count) const override;

    void append(const Bytes &bytes);
    void append_zeros(uint64_t count) { size_ += count; }
    // Overwrites bytes that were appended in one piece.
    void patch(uint64_t position, const Bytes &bytes);
    // The whole content; only for small ones.
    Bytes flatten() const;

private:
    std::map<uint64_t, Bytes> runs_;
    uint64_t size_ = 0;
};

// The first bytes of another store, as of a file that was cut off.
class PrefixStore final : public ByteStore {
public:
    PrefixStore(const ByteStore &whole, uint64_t size) : whole_(whole), size_(size) {}
    uint64_t size() const override { return size_; }
    void copy(uint64_t position, void *to, size_t count) const override { whole_.copy(position, to, count); }

private:
    const ByteStore &whole_;
    const uint64_t size_;
};

class FileStore final : public ByteStore {
public:
    explicit FileStore(const std::string &path);  // aborts when the file cannot be opened
    uint64_t size() const override { return size_; }
    void copy(uint64_t position, void *to, size_t count) const override;

private:
    std::unique_ptr<FILE, int (*)(FILE *)> file_;
    uint64_t size_ = 0;
};

}  // namespace quorv::test

#endif
