// Reading and writing of the stores; see the header.

#include "support/ByteStores.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace quorv::test {

void MemoryStore::copy(uint64_t position, void *to, size_t count) const {
    if (count != 0) memcpy(to, bytes_.data() + position, count);
}

void SparseStore::copy(uint64_t position, void *to, size_t count) const {
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

void SparseStore::append(const Bytes &bytes) {
    if (bytes.empty()) return;
    auto last = runs_.empty() ? runs_.end() : std::prev(runs_.end());
    if (last == runs_.end() || last->first + last->second.size() != size_) {
        last = runs_.emplace(size_, Bytes{}).first;
    }
    last->second.insert(last->second.end(), bytes.begin(), bytes.end());
    size_ += bytes.size();
}

void SparseStore::patch(uint64_t position, const Bytes &bytes) {
    const auto run = std::prev(runs_.upper_bound(position));
    if (position - run->first + bytes.size() > run->second.size()) abort();
    std::copy(bytes.begin(), bytes.end(),
              run->second.begin() + static_cast<std::ptrdiff_t>(position - run->first));
}

Bytes SparseStore::flatten() const {
    Bytes all(static_cast<size_t>(size_));
    copy(0, all.data(), all.size());
    return all;
}

FileStore::FileStore(const std::string &path) : file_(fopen(path.c_str(), "rb"), fclose) {
    if (file_ == nullptr || fseeko(file_.get(), 0, SEEK_END) != 0) {
        fprintf(stderr, "FileStore: cannot open %s\n", path.c_str());
        abort();
    }
    size_ = static_cast<uint64_t>(ftello(file_.get()));
}

void FileStore::copy(uint64_t position, void *to, size_t count) const {
    const bool good = fseeko(file_.get(), static_cast<off_t>(position), SEEK_SET) == 0 &&
                      fread(to, 1, count, file_.get()) == count;
    if (!good) {
        fputs("FileStore: read failed\n", stderr);
        abort();
    }
}

}  // namespace quorv::test
