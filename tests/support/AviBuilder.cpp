// Layout of the files and of the truth about them; see the header.

#include "support/AviBuilder.h"

#include <algorithm>

namespace quorv::test {
namespace {

uint32_t chunk_id(uint32_t stream, const char *type) {
    return (uint32_t{'0'} + stream / 10) | (uint32_t{'0'} + stream % 10) << 8 |
           uint32_t{static_cast<uint8_t>(type[0])} << 16 | uint32_t{static_cast<uint8_t>(type[1])} << 24;
}

uint32_t index_chunk_id(uint32_t stream) {
    return tag("ix\0\0") | (uint32_t{'0'} + stream / 10) << 16 | (uint32_t{'0'} + stream % 10) << 24;
}

// Writes the size of the chunk whose size field stands at start; the chunk ends here, padded.
void close(SparseStore &out, uint64_t start) {
    out.patch(start, le32(static_cast<uint32_t>(out.size() - start - 4)));
    if (out.size() % 2 != 0) out.append(Bytes(1));
}

// Writes the head of a list and returns where its size stands.
uint64_t open_list(SparseStore &out, uint32_t id, uint32_t type) {
    out.append(join({le32(id), le32(0), le32(type)}));
    return out.size() - 8;
}

}  // namespace

Bytes payload(uint32_t stream, size_t number, size_t size) {
    Bytes bytes(size);
    uint32_t state = static_cast<uint32_t>(number) * 2654435761u + stream * 40503u + 12345u;
    for (uint8_t &byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(0x80 | state >> 25);
    }
    return bytes;
}

AviStream video_stream(uint32_t compression, uint32_t scale, uint32_t rate) {
    AviStream stream;
    stream.header = {.handler = compression, .scale = scale, .rate = rate};
    stream.format = BitmapHeader{.compression = compression}.body();
    return stream;
}

AviStream pcm_stream(uint32_t sample_rate, uint32_t sample_size) {
    AviStream stream;
    stream.header = {.type = tag("auds"), .rate = sample_rate, .sample_size = sample_size};
    stream.format = WaveFormat{.sample_rate = sample_rate,
                               .bytes_per_second = sample_rate * sample_size,
                               .block_align = sample_size}
                        .body(16);
    stream.block_align = sample_size;
    stream.is_video = false;
    stream.chunk_type[0] = 'w';
    stream.chunk_type[1] = 'b';
    return stream;
}

AviStream mp3_stream(uint32_t sample_rate, uint32_t samples_per_frame, uint32_t block_align) {
    AviStream stream = pcm_stream(sample_rate, 0);
    stream.header.scale = samples_per_frame;
    stream.format = WaveFormat{
        .format_tag = 85,
        .sample_rate = sample_rate,
        .bytes_per_second = 4000,
        .block_align = block_align,
        .bits_per_sample = 0,
        .stated_extra = 12,
        .extra = {1, 0, 2, 0, 0, 0, 1, 2, 1, 0, 0,
                  0}}.body(30);
    stream.block_align = block_align;
    return stream;
}

AviBuilder::AviBuilder(std::vector<AviStream> all, IndexKind kind) : streams(std::move(all)), index(kind) {
    main.streams = static_cast<uint32_t>(streams.size());
}

AviBuilder &AviBuilder::add(Item item) {
    items_.push_back(std::move(item));
    return *this;
}

AviBuilder &AviBuilder::frame(uint32_t stream, const Bytes &data, bool key) {
    return add(Item{Item::Frame, stream, data, key});
}

AviBuilder &AviBuilder::frame(uint32_t stream, size_t size, bool key) {
    return frame(stream, payload(stream, items_.size(), size), key);
}

AviBuilder &AviBuilder::palette(uint32_t stream, uint8_t first, const Bytes &entries) {
    return add(Item{Item::Palette, stream, entries, false, first});
}

AviBuilder &AviBuilder::raw(const Bytes &bytes) {
    return add(Item{Item::Raw, 0, bytes});
}

AviBuilder &AviBuilder::junk(uint32_t size) {
    return add(Item{Item::Junk, 0, {}, false, size});
}

SparseStore AviBuilder::build() {
    truth_.assign(streams.size(), {});
    clock_.assign(streams.size(), 0);
    palettes_.assign(streams.size(), Bytes(1024));
    palette_changed_.assign(streams.size(), false);
    index_position_.assign(streams.size(), 0);
    super_index_.assign(streams.size(), {});
    entries_.clear();
    all_entries_.clear();
    SparseStore out;
    begin_segment(out, true);
    write_items(out);
    return out;
}

void AviBuilder::write_header(SparseStore &out) {
    const uint64_t list_size = open_list(out, tag("LIST"), tag("hdrl"));
    out.append(chunk(form == tag("AMV ") ? tag("amvh") : tag("avih"), main.body()));
    for (uint32_t i = 0; i < streams.size(); ++i) {
        const AviStream &stream = streams[i];
        const uint32_t unit = stream.header.sample_size;
        uint32_t length = 0;
        size_t frames = 0;
        for (const Item &item : items_) {
            if (item.kind != Item::Frame || item.stream != i) continue;
            length += unit != 0 ? static_cast<uint32_t>(item.bytes.size()) / unit : 1;
            ++frames;
        }
        StreamHeader header = stream.header;
        if (header.length == 0) header.length = length;
        const Bytes head = join(
            {chunk(tag("strh"), header.body()), stream.before_format, chunk(tag("strf"), stream.format)});
        // Room for the index: eight index chunks, or all entries.
        const Bytes room(24 + (index == IndexKind::OpenDmlDirect ? 8 * frames : 16 * 8));
        index_position_[i] = out.size() + 12 + head.size() + 8;
        out.append(list(tag("strl"), join({head, is_open_dml() ? chunk(tag("indx"), room) : Bytes{},
                                           stream.after_format})));
    }
    out.append(header_extra);
    close(out, list_size);
    out.append(between);
}

void AviBuilder::begin_segment(SparseStore &out, bool first) {
    riff_start_ =
        open_list(out, first && form == tag("ON2f") ? tag("ON2 ") : tag("RIFF"), first ? form : tag("AVIX"));
    if (first) write_header(out);
    movi_start_ = open_list(out, tag("LIST"), tag("movi"));
    if (first) media_start_ = movi_start_ + 4;
}

void AviBuilder::end_segment(SparseStore &out, bool first) {
    for (uint32_t i = 0; is_open_dml() && index != IndexKind::OpenDmlDirect && i < streams.size(); ++i) {
        const Bytes body = standard_index(i, entries_);
        super_index_[i] =
            join({super_index_[i], le64(out.size()), le32(static_cast<uint32_t>(body.size()) + 8),
                  le32(static_cast<uint32_t>(truth_[i].size()))});
        out.append(chunk(index_chunk_id(i), body));
    }
    close(out, movi_start_);
    if (first && zero_movi_size) out.patch(movi_start_, le32(0));
    if (first) out.append(after);
    if (first && (is_legacy() || also_legacy)) out.append(chunk(tag("idx1"), legacy_index()));
    close(out, riff_start_);
    all_entries_.insert(all_entries_.end(), entries_.begin(), entries_.end());
    entries_.clear();
}

Bytes AviBuilder::legacy_index() const {
    const uint64_t base = index == IndexKind::LegacyAbsolute ? 0 : media_start_;
    Bytes body;
    for (const Entry &e : entries_) {
        const Bytes entry =
            join({le32(chunk_id(e.stream, streams[e.stream].chunk_type)), le32(e.key ? 0x10u : 0u),
                  le32(static_cast<uint32_t>(e.position - base)), le32(e.size)});
        body.insert(body.end(), entry.begin(), entry.end());
    }
    return body;
}

// The body of an index chunk of one stream: entries of an offset from the base and a size whose top bit
// says that the frame is no key frame; 2-field ones with the offset of the second field behind it.
Bytes AviBuilder::standard_index(uint32_t stream, const std::vector<Entry> &entries) const {
    const bool fields = index == IndexKind::OpenDmlFields;
    uint64_t base = UINT64_MAX;
    uint32_t count = 0;
    Bytes words;
    for (const Entry &e : entries) {
        if (e.stream != stream) continue;
        base = std::min(base, e.position);
        const Bytes entry =
            join({le32(static_cast<uint32_t>(e.position + 8 - base)),
                  le32(e.size | (e.key ? 0 : 0x80000000u)), fields ? le32(e.size / 2) : Bytes{}});
        words.insert(words.end(), entry.begin(), entry.end());
        ++count;
    }
    return join({le16(fields ? 3 : 2), Bytes{static_cast<uint8_t>(fields ? 1 : 0), 1}, le32(count),
                 le32(chunk_id(stream, streams[stream].chunk_type)), le64(count != 0 ? base : 0), le32(0),
                 words});
}

void AviBuilder::write_items(SparseStore &out) {
    bool first = true;
    uint64_t rec_start = 0;
    for (const Item &item : items_) {
        switch (item.kind) {
            case Item::Frame:
                note_frame(item.stream, item, out.size());
                out.append(chunk(chunk_id(item.stream, streams[item.stream].chunk_type), item.bytes));
                break;
            case Item::Palette: {
                const uint8_t first_entry = static_cast<uint8_t>(item.size);
                const uint8_t count = static_cast<uint8_t>(item.bytes.size() / 4);  // 256 is written as 0
                out.append(
                    chunk(chunk_id(item.stream, "pc"), join({Bytes{first_entry, count, 0, 0}, item.bytes})));
                palette_changed_[item.stream] = true;
                std::copy(item.bytes.begin(), item.bytes.end(),
                          palettes_[item.stream].begin() + 4 * first_entry);
                break;
            }
            case Item::Raw:
                out.append(item.bytes);
                break;
            case Item::Junk:
                out.append(join({le32(tag("JUNK")), le32(item.size)}));
                out.append_zeros(uint64_t{item.size} + item.size % 2);
                break;
            case Item::BeginRec:
                rec_start = open_list(out, tag("LIST"), tag("rec "));
                break;
            case Item::EndRec:
                close(out, rec_start);
                break;
            case Item::Segment:
                end_segment(out, first);
                first = false;
                begin_segment(out, false);
                break;
        }
    }
    end_segment(out, first);
    for (uint32_t i = 0; is_open_dml() && i < streams.size(); ++i) {
        if (index == IndexKind::OpenDmlDirect) {
            out.patch(index_position_[i], standard_index(i, all_entries_));
            continue;
        }
        const uint8_t sub_type = index == IndexKind::OpenDmlFields ? 1 : 0;
        out.patch(index_position_[i],
                  join({le16(4), Bytes{sub_type, 0}, le32(static_cast<uint32_t>(super_index_[i].size() / 16)),
                        le32(chunk_id(i, streams[i].chunk_type)), Bytes(12), super_index_[i]}));
    }
}

// Exact: whole seconds apart from the rest, so that nothing overflows. A stream without a rate of its own
// has that of the main header.
uint32_t AviBuilder::milliseconds(uint32_t stream, uint64_t units) const {
    uint64_t scale = streams[stream].header.scale;
    uint64_t rate = streams[stream].header.rate;
    if (scale == 0 || rate == 0) {
        scale = main.microseconds_per_frame != 0 ? main.microseconds_per_frame : 1;
        rate = main.microseconds_per_frame != 0 ? 1000000 : 25;
    }
    const uint64_t ticks = units * scale;
    return static_cast<uint32_t>(ticks / rate * 1000 + ticks % rate * 1000 / rate);
}

// Appends the pieces that the chunk is delivered in.
void AviBuilder::note_frame(uint32_t stream, const Item &item, uint64_t position) {
    const AviStream &s = streams[stream];
    const uint64_t size = item.bytes.size();
    const uint64_t unit = s.header.sample_size;
    entries_.push_back({stream, position, static_cast<uint32_t>(size), item.key});
    const uint64_t piece = unit < 2 ? size : unit > 31 ? unit : unit * 1024;
    for (uint64_t from = 0; from < size; from += piece) {
        const uint64_t count = std::min(piece, size - from);
        const uint64_t units = unit != 0            ? std::max(unit, count) / unit
                               : s.block_align != 0 ? (count + s.block_align - 1) / s.block_align
                                                    : 1;
        TruthFrame frame;
        frame.data.assign(item.bytes.begin() + static_cast<std::ptrdiff_t>(from),
                          item.bytes.begin() + static_cast<std::ptrdiff_t>(from + count));
        if (palette_changed_[stream])
            frame.data.insert(frame.data.end(), palettes_[stream].begin(), palettes_[stream].end());
        palette_changed_[stream] = false;
        frame.position = position;
        frame.dts = clock_[stream];
        // Readers take every entry of the second stream of a legacy index and the first of every video stream
        // as a key frame.
        frame.index_key = from == 0 && index != IndexKind::None &&
                          (item.key || (is_legacy() && stream == 1) || (frame.dts == 0 && s.is_video));
        frame.time_stamp = milliseconds(stream, frame.dts);
        frame.duration = milliseconds(stream, units);
        frame.key = !s.is_video || frame.index_key || (index == IndexKind::None && frame.dts == 0);
        truth_[stream].push_back(std::move(frame));
        clock_[stream] += units;
    }
    if (size == 0 && (unit != 0 || s.block_align == 0)) clock_[stream] += 1;
}

}  // namespace quorv::test
