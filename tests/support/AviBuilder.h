// Writes AVI files of every shape and says what a reader must find in them.
#ifndef QUORV_TESTS_SUPPORT_AVIBUILDER_H
#define QUORV_TESTS_SUPPORT_AVIBUILDER_H

#include <utility>

#include "support/RiffPieces.h"

namespace quorv::test {

// One stream: its headers, and what its chunks in the media data are called.
struct AviStream {
    StreamHeader header;
    Bytes format;        // body of "strf"
    Bytes after_format;  // whole chunks behind "strf"
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

// Made-up content: differs for every stream, number and byte and holds no chunk identifier.
Bytes payload(uint32_t stream, size_t number, size_t size);

enum class IndexKind {
    None,
    Legacy,          // "idx1", offsets relative to the list type of the media data
    LegacyAbsolute,  // "idx1", offsets from the start of the file
    OpenDml,         // "indx" super index and an "ix" chunk a stream and segment; "idx1" of the first segment
    OpenDmlFields,   // the same with 2-field index chunks and without "idx1"
    OpenDmlDirect    // "indx" holds the standard index itself
};

// What the file holds is given piece by piece, then build() lays it out. Stream numbers count from 0.
class AviBuilder {
public:
    explicit AviBuilder(const std::vector<AviStream> &all, IndexKind kind = IndexKind::Legacy)
        : streams(all), index(kind) {
        main.streams = static_cast<uint32_t>(all.size());
    }

    AviBuilder &frame(uint32_t stream, const Bytes &data, bool key = true) {
        return add({Item::Frame, stream, data, key});
    }
    // A chunk of made-up bytes of that size.
    AviBuilder &frame(uint32_t stream, size_t size, bool key = true) {
        return frame(stream, payload(stream, items_.size(), size), key);
    }
    // A palette change: entries of 4 bytes that replace those from `first` on. The next frame carries it.
    AviBuilder &palette(uint32_t stream, uint8_t first, const Bytes &entries) {
        return add({Item::Palette, stream, entries, false, first});
    }
    // Bytes of any kind between two chunks.
    AviBuilder &raw(const Bytes &bytes) { return add({Item::Raw, 0, bytes}); }
    // A "JUNK" chunk of zeros, which take no memory.
    AviBuilder &junk(uint32_t size) { return add({Item::Junk, 0, {}, false, size}); }
    AviBuilder &begin_rec() { return add({Item::BeginRec}); }
    AviBuilder &end_rec() { return add({Item::EndRec}); }
    AviBuilder &segment() { return add({Item::Segment}); }  // goes on in a further RIFF "AVIX"

    // Lays the file out; truth() is known from then on.
    MemoryStore build();
    const std::vector<TruthFrame> &truth(uint32_t stream) const { return tracks_[stream].truth; }
    uint32_t track(uint32_t stream) const { return stream + 1; }
    // Milliseconds a unit of the stream's time base.
    double unit(uint32_t stream) const;
    uint64_t media_start() const { return media_start_; }  // position of "movi" in the first segment

    MainHeader main;
    std::vector<AviStream> streams;
    IndexKind index;
    uint32_t form = tag("AVI ");
    Bytes header_extra;  // whole chunks at the end of the header list
    Bytes between;       // whole chunks between the header list and the media data
    Bytes after;         // whole chunks between the media data and "idx1"
    bool zero_movi_size = false;

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
    struct Track {
        std::vector<TruthFrame> truth;
        uint64_t clock = 0;           // frames, or bytes of sampled streams
        uint64_t index_position = 0;  // where the "indx" body stands
        Bytes super_index;            // its entries, 16 bytes each
        Bytes palette = Bytes(1024);
        bool palette_changed = false;  // the next frame carries it
    };
    AviBuilder &add(Item item) {
        items_.push_back(std::move(item));
        return *this;
    }
    void write_header(MemoryStore &out);
    void write_items(MemoryStore &out);
    void begin_segment(MemoryStore &out, bool first);
    void end_segment(MemoryStore &out, bool first);
    void write_palette(MemoryStore &out, const Item &item);
    Bytes legacy_index() const;
    Bytes standard_index(uint32_t stream, const std::vector<Entry> &entries) const;
    void note_frame(const Item &item, uint64_t position);
    std::pair<uint64_t, uint64_t> scale_and_rate(uint32_t stream) const;
    uint32_t milliseconds(uint32_t stream, uint64_t units) const;
    uint32_t chunk_id(uint32_t stream) const;
    bool is_open_dml() const { return index >= IndexKind::OpenDml; }
    bool is_legacy() const { return index == IndexKind::Legacy || index == IndexKind::LegacyAbsolute; }

    std::vector<Item> items_;
    std::vector<Track> tracks_;
    std::vector<Entry> entries_, all_entries_;  // of this segment; of the file
    uint64_t media_start_ = 0, riff_start_ = 0, movi_start_ = 0;
};

}  // namespace quorv::test

#endif
