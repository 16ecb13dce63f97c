// What the formats' walks over a file have in common; see the header.

#include "Completeness.h"

#include <fmt/format.h>

namespace quorv::tool {

std::string compare_length(uint64_t declared, const FileSource &file) {
    if (declared <= file.size()) return {};
    return fmt::format("truncated: its header declares {} bytes, the file has {}", declared, file.size());
}

}  // namespace quorv::tool
