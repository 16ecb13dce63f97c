// Writes AVI files of every shape and says what a reader must find in them.
#ifndef QUORV_TESTS_SUPPORT_AVIBUILDER_H
#define QUORV_TESTS_SUPPORT_AVIBUILDER_H

#include <vector>

#include "support/RiffPieces.h"

namespace quorv::test {

// One stream: its headers, and what its chunks in the media data are called.
struct AviStream {
    StreamHeader header;
    Bytes format;         // body of "strf"
    Bytes before_format;  // whole chunks between "strh" and "strf"
    Bytes after_format;   // whole chunks behind "strf"
    char chunk_type[3] = "dc";
    bool is_video = true;
    uint32_t block_align = 0;  // of audio, where the time stamps need it
};

AviStream video_stream(uint32_t compression, uint32_t scale = 1, uint32_t rate = 25);
// Audio whose time counts in bytes: every sample_size bytes are a sample.
AviStream pcm_stream(uint32_t sample_rate = 8000, uint32_t sample_size = 4);
// Audio whose chunks are whole frames of samples_per_frame samples; block_align as such files have it.
AviStream mp3_stream(uint32_t sample_rate = 8000, uint32_t samples_per_frame = 576,
                     uint32_t block_align = 576);

enum class IndexKind {
    None,
    Legacy,          // "idx1", offsets relative to the list type of the media data
    LegacyAbsolute,  // "idx1", offsets from the start of the file
    OpenDml,         // "indx" super index and an "ix" chunk a stream and segment
    OpenDmlFields,   // the same with 2-field index chunks
    OpenDmlDirect    // "indx" holds the standard index itself
};

// What ReadFrame must deliver, in order.
struct TruthFrame {
    Bytes data;
    uint64_t position = 0;  // of the chunk's header
    uint64_t dts = 0;       // in units of scale / rate
    uint32_t time_stamp = 0;
    uint32_t duration = 0;
    bool key = false;
    bool index_key = false;  // the index has a key entry for a chunk that begins here
};

// What the file holds is given piece by piece, then build() lays it out. Stream numbers count from 0.
class AviBuilder {
public:
    explicit AviBuilder(std::vector<AviStream> streams, IndexKind index = IndexKind::Legacy);

    AviBuilder &frame(uint32_t stream, const Bytes &data, bool key = true);
    // A chunk of made-up bytes of that size.
    AviBuilder &frame(uint32_t stream, size_t size, bool key = true);
    // A palette change: entries of 4 bytes that replace those from `first` on. The next frame carries it.
    AviBuilder &palette(uint32_t stream, uint8_t first, const Bytes &entries);
    AviBuilder &raw(const Bytes &bytes);  // bytes of any kind between two chunks
    AviBuilder &junk(uint32_t size);      // a "JUNK" chunk of zeros, which take no memory
    AviBuilder &begin_rec() { return add(Item{Item::BeginRec}); }
    AviBuilder &end_rec() { return add(Item{Item::EndRec}); }
    AviBuilder &segment() { return add(Item{Item::Segment}); }  // goes on in a further RIFF "AVIX"

    // Lays the file out; truth() is known from then on.
    SparseStore build();
    const std::vector<TruthFrame> &truth(uint32_t stream) const { return truth_[stream]; }
    uint64_t media_start() const { return media_start_; }  // position of "movi" in the first segment

    MainHeader main;
    std::vector<AviStream> streams;
    IndexKind index;
    uint32_t form = tag("AVI ");
    Bytes header_extra;  // whole chunks at the end of the header list
    Bytes between;       // whole chunks between the header list and the media data
    Bytes after;         // whole chunks between the media data and "idx1"
    bool zero_movi_size = false;
    bool also_legacy = false;  // "idx1" beside an OpenDML index

private:
    struct Item {
        enum Kind { Frame, Palette, Raw, Junk, BeginRec, EndRec, Segment } kind;
        uint32_t stream = 0;
        Bytes bytes = {};
        bool key = false;
        uint32_t size = 0;
    };
    struct Entry {
        uint32_t stream;
        uint64_t position;
        uint32_t size;
        bool key;
    };
    AviBuilder &add(Item item);
    void write_header(SparseStore &out);
    void write_items(SparseStore &out);
    void begin_segment(SparseStore &out, bool first);
    void end_segment(SparseStore &out, bool first);
    Bytes legacy_index() const;
    Bytes standard_index(uint32_t stream, const std::vector<Entry> &entries) const;
    void note_frame(uint32_t stream, const Item &item, uint64_t position);
    uint32_t milliseconds(uint32_t stream, uint64_t units) const;
    bool is_open_dml() const { return index >= IndexKind::OpenDml; }
    bool is_legacy() const { return index == IndexKind::Legacy || index == IndexKind::LegacyAbsolute; }

    std::vector<Item> items_;
    std::vector<std::vector<TruthFrame>> truth_;
    std::vector<uint64_t> clock_;               // per stream: frames, or bytes of sampled streams
    std::vector<uint64_t> index_position_;      // per stream: where the "indx" body stands
    std::vector<Bytes> super_index_;            // per stream: its entries, 16 bytes each
    std::vector<Bytes> palettes_;               // per stream: 1024 bytes
    std::vector<bool> palette_changed_;         // per stream: the next frame carries it
    std::vector<Entry> entries_, all_entries_;  // of this segment; of the file
    uint64_t media_start_ = 0, riff_start_ = 0, movi_start_ = 0;
};

// Made-up content: differs for every stream, number and byte and holds no chunk identifier.
Bytes payload(uint32_t stream, size_t number, size_t size);

}  // namespace quorv::test

#endif
