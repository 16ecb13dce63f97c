// Finds the chunks of one track in the media data.
#ifndef QUORV_SRC_AVIPARSER_AVICHUNKSEARCH_H
#define QUORV_SRC_AVIPARSER_AVICHUNKSEARCH_H

#include <stdint.h>

#include "aviparser/AviContext.h"

namespace quorv {

struct AviChunk {
    int64_t data_position;
    uint32_t size;
};

// One search, from a position on. In a well-formed file it looks at one header a chunk. Where no chunk begins
// it goes on byte by byte, as if it had done so all the time, until one does or too many bytes belonged to
// none.
class AviChunkSearch {
public:
    // The search takes the chunks that it meets off *chunks_left, and ends when nothing is left; null:
    // without a bound.
    AviChunkSearch(AviContext *context, AviTrack *track, int64_t start, uint32_t *chunks_left);

    // The next chunk of the track, empty ones included. Code::EndOfStream when there is none within
    // the media data and the limits of the search; a callback's code.
    Code next(AviChunk *chunk);

    // Whether the search has come to the end of the media data, with nothing left to be read.
    bool reached_end() const { return reached_end_; }
    // Whether it has passed over bytes that belong to no chunk.
    bool passed_bytes() const { return lost_bytes_ != 0; }
    // Where the chunks end that it has met.
    int64_t chunks_end() const { return position_ - bytes_in_a_row_; }

private:
    // What to do with the bytes at the position.
    enum class Step { Byte, ListHeader, Chunk, Palette, Accept };
    struct Header {
        Step step;
        uint32_t size;
        int64_t data_position;
    };

    Code find_next(AviChunk *chunk);
    void note_passed(int64_t end);
    Code enter_next_segment();
    Code look(Header *header);
    Code view_header(const uint8_t **header);
    Step classify(const uint8_t *header) const;
    Code check_riff(const uint8_t *header, Step *step);
    void skip_byte();
    void jump(int64_t position);
    Code read_palette(int64_t position, uint32_t size);

    AviContext &context_;
    AviTrack &track_;
    uint32_t *chunks_left_;
    int64_t position_;
    uint32_t bytes_in_a_row_ = 0;  // stepped over since the last chunk
    bool reached_end_ = false;
    uint32_t lost_bytes_ = 0;  // that belong to no chunk, in the whole search
};

}  // namespace quorv

#endif
