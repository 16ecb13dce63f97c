// Small files of every kind that the tests share: some compare them with their truth, the robustness loops
// break them in every way.
#ifndef QUORV_TESTS_SUPPORT_SAMPLEFILES_H
#define QUORV_TESTS_SUPPORT_SAMPLEFILES_H

#include "support/AsfBuilder.h"
#include "support/AviBuilder.h"
#include "support/SplitterFile.h"

namespace quorv::test {

struct SampleFile {
    struct Track {
        SplitterTrackEntry entry;
        std::vector<TruthFrame> truth;
        double unit;                             // AVI: milliseconds of the time base; ASF: 0
        size_t cut_at_first = 0, cut_later = 0;  // leading bytes that the first frame comes without
    };
    const SplitterApi &api;
    std::string name;
    MemoryStore bytes;
    uint64_t header_bytes;  // where the first frame begins to arrive
    uint64_t media_bytes;   // from where on the rest of an AVI file, the index with it, arrives at once
    bool has_index;         // that can be read behind the media data
    bool has_open_dml;      // an index that is not read of a source that is still arriving
    std::vector<Track> tracks = {};
    bool is_asf() const { return &api == &kAsfSplitter; }
};

// Each below 4 KB.
const std::vector<SampleFile> &sample_files();
const SampleFile &sample_file(const std::string &name);

}  // namespace quorv::test

#endif
