// Writes an AVI file from beginning to end, without going back: all sizes are known before.
#ifndef QUORV_TOOLS_QUORV_AVIWRITER_H
#define QUORV_TOOLS_QUORV_AVIWRITER_H

#include <functional>
#include <vector>

#include "AviHeaders.h"
#include "OutputStream.h"
#include "RepairPlan.h"

namespace quorv::tool {

class AviWriter {
public:
    // A file of more than segment_bytes becomes an OpenDML file with segments of about that size.
    AviWriter(const AviHeaders &headers, const RepairPlan &plan, uint64_t segment_bytes);

    // Copies the chunks from the input. Calls back with how many bytes are written. Throws Failure.
    void write(FileSource &input, OutputStream &out, const std::function<void(uint64_t)> &progress);
    uint64_t size() const { return size_; }

private:
    // A chunk with index entries of one stream.
    struct StreamIndex {
        uint32_t entries = 0;
        uint64_t units = 0, position = 0;  // of the index chunk in the file
        AviChunkType type = AviChunkType::Compressed;
    };
    // A RIFF chunk with its media data.
    struct Segment {
        size_t begin = 0, end = 0;  // chunks
        uint64_t chunk_bytes = 0, position = 0;
        std::vector<StreamIndex> indexes;
    };

    void split(uint64_t segment_bytes);
    void close_segment(size_t end);
    void place();
    bool is_open_dml() const { return segments_.size() > 1; }
    uint64_t index_bytes(const Segment &segment) const;
    uint64_t old_index_bytes() const;
    uint64_t media_bytes(const Segment &segment) const;
    std::string header() const;
    std::string header_list() const;
    std::string stream_list(size_t stream) const;
    std::string main_header() const;
    std::string super_index(size_t stream) const;
    std::string segment_start(const Segment &segment) const;
    uint64_t pictures(size_t segments) const;
    void copy(const AviChunk &chunk, FileSource &input, OutputStream &out);
    void write_indexes(const Segment &segment, OutputStream &out) const;
    void write_old_index(OutputStream &out) const;

    const AviHeaders &headers_;
    const RepairPlan &plan_;
    std::vector<Segment> segments_;
    uint64_t size_ = 0;
    std::vector<uint8_t> block_;
};

}  // namespace quorv::tool

#endif
