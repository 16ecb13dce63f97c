// What the formats' walks over a file have in common; see the header.

#include "Completeness.h"

namespace quorv::tool {

std::string compare_length(uint64_t declared, const FileSource &file) {
    if (declared <= file.size()) return {};
    return "truncated: its header declares " + std::to_string(declared) + " bytes, the file has " +
           std::to_string(file.size());
}

}  // namespace quorv::tool
