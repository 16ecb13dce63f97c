// Compares the index of an AVI file with the chunks that reading comes by.
#ifndef QUORV_TOOLS_QUORV_AVIINDEXCHECK_H
#define QUORV_TOOLS_QUORV_AVIINDEXCHECK_H

#include <vector>

#include "AviIndexes.h"
#include "AviOutline.h"
#include "Finding.h"
#include "MediaFile.h"

namespace quorv::tool {

class AviIndexCheck {
public:
    AviIndexCheck(FileSource &file, const std::vector<Track> &tracks);

    // Every packet, in the order of its track; the index counts those.
    void take(const Track &track, uint64_t index, const QuorvPacket &packet);
    // Behind the last one. What was passed over is known then; a file that is not whole lacks its index for
    // that.
    void finish(const QuorvRanges &passed_over, bool is_whole, std::vector<Finding> &findings);
    uint64_t declared_end() const { return outline_.declared_end; }

private:
    struct TrackRuns {
        FindingRuns not_indexed, no_key, unmarked_key, wrong_size;
    };
    enum class Place { Sound, Passed, Elsewhere };

    void compare(const Track &track, uint64_t index, const QuorvPacket &packet, const AviIndexEntry &entry);
    Place look(const AviIndexEntry &entry, const QuorvRanges &passed_over);
    void look_for_unseen(const QuorvRanges &passed_over, std::vector<Finding> &findings);

    AviIndexEntry *find(uint64_t place);

    const AviOutline outline_;
    ByteWindow window_;
    std::vector<AviIndexEntry> entries_;  // of chunks that should be there
    size_t hint_ = 0;                     // the latest one that was found
    const std::vector<Track> &tracks_;
    std::vector<TrackRuns> runs_;
};

}  // namespace quorv::tool

#endif
