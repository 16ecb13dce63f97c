// What a repaired AVI file is made of: the chunks that were found, what stands for those that were lost, and
// a list of what was left out.
#ifndef QUORV_TOOLS_QUORV_REPAIRPLAN_H
#define QUORV_TOOLS_QUORV_REPAIRPLAN_H

#include <string>
#include <vector>

#include "AviChunkWalk.h"
#include "AviIndexes.h"

namespace quorv::tool {

struct RepairPlan {
    std::vector<AviChunk> chunks;  // in the order in which they are written
    std::vector<uint64_t> units;   // of each stream: what its length is in the new file
    std::vector<std::string> left_out;
};

// A file that is cut off has fewer chunks than its header counts.
RepairPlan plan_repair(const AviHeaders &headers, const AviChunkMap &map,
                       const std::vector<AviIndexEntry> &index, bool is_cut_off);

}  // namespace quorv::tool

#endif
