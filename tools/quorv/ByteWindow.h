// Small reads at rising places of a file, few of which reach the system.
#ifndef QUORV_TOOLS_QUORV_BYTEWINDOW_H
#define QUORV_TOOLS_QUORV_BYTEWINDOW_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "FileSource.h"

namespace quorv::tool {

class ByteWindow {
public:
    // The file must outlive this object.
    explicit ByteWindow(FileSource &file);

    // That many bytes, at most 64 KB, valid until the next call; none where the file ends before.
    std::span<const uint8_t> view(uint64_t position, size_t count);
    // What is at hand from there on: at least one byte before the end of the file.
    std::span<const uint8_t> rest(uint64_t position);
    // A copy of any size; shorter where the file ends.
    std::string copy(uint64_t position, size_t count);

private:
    bool holds(uint64_t position, size_t count) const;
    void fill(uint64_t position, size_t count);

    FileSource &file_;
    std::vector<uint8_t> buffer_;
    uint64_t start_ = 0;
    size_t filled_ = 0;
};

}  // namespace quorv::tool

#endif
