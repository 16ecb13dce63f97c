// Layout of the files and of the truth about them; see the header.

#include "support/AviBuilder.h"

#include <numeric>

namespace quorv::test {
namespace {

// A stream's number as chunk names have it.
uint32_t digits(uint32_t stream) {
    return (uint32_t{'0'} + stream / 10) | (uint32_t{'0'} + stream % 10) << 8;
}

// Writes the size of the chunk whose size field stands at start; the chunk ends here, padded.
void close(MemoryStore &out, uint64_t start) {
    out.patch(start, le32(static_cast<uint32_t>(out.size() - start - 4)));
    if (out.size() % 2 != 0) out.append(Bytes(1));
}

// Writes the head of a list and returns where its size stands.
uint64_t open_list(MemoryStore &out, uint32_t id, uint32_t type) {
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
    strcpy(stream.chunk_type, "wb");
    return stream;
}

AviStream mp3_stream(uint32_t sample_rate, uint32_t samples_per_frame, uint32_t block_align) {
    AviStream stream = pcm_stream(sample_rate, 0);
    stream.header.scale = samples_per_frame;
    stream.format = WaveFormat{.format_tag = 85,
                               .sample_rate = sample_rate,
                               .bytes_per_second = 4000,
                               .block_align = block_align,
                               .bits_per_sample = 0,
                               .stated_extra = 12,
                               .extra = join({le16(1), le32(2), le16(576), le16(1), le16(0)})}
                        .body(30);
    stream.block_align = block_align;
    return stream;
}

MemoryStore AviBuilder::build() {
    tracks_.assign(streams.size(), {});
    entries_.clear();
    all_entries_.clear();
    MemoryStore out;
    begin_segment(out, true);
    write_items(out);
    return out;
}

void AviBuilder::write_header(MemoryStore &out) {
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
        const Bytes head = join({chunk(tag("strh"), header.body()), chunk(tag("strf"), stream.format)});
        // Room for the index: eight index chunks, or all entries.
        const Bytes room(24 + (index == IndexKind::OpenDmlDirect ? 8 * frames : 16 * 8));
        tracks_[i].index_position = out.size() + 12 + head.size() + 8;
        out.append(list(tag("strl"), join({head, is_open_dml() ? chunk(tag("indx"), room) : Bytes{},
                                           stream.after_format})));
    }
    out.append(header_extra);
    close(out, list_size);
    out.append(between);
}

void AviBuilder::begin_segment(MemoryStore &out, bool first) {
    riff_start_ =
        open_list(out, first && form == tag("ON2f") ? tag("ON2 ") : tag("RIFF"), first ? form : tag("AVIX"));
    if (first) write_header(out);
    movi_start_ = open_list(out, tag("LIST"), tag("movi"));
    if (first) media_start_ = movi_start_ + 4;
}

void AviBuilder::end_segment(MemoryStore &out, bool first) {
    for (uint32_t i = 0; is_open_dml() && index != IndexKind::OpenDmlDirect && i < streams.size(); ++i) {
        const Bytes body = standard_index(i, entries_);
        append(tracks_[i].super_index, join({le64(out.size()), le32(static_cast<uint32_t>(body.size()) + 8),
                                             le32(static_cast<uint32_t>(tracks_[i].truth.size()))}));
        out.append(chunk(tag("ix\0\0") | digits(i) << 16, body));
    }
    close(out, movi_start_);
    if (first && zero_movi_size) out.patch(movi_start_, le32(0));
    if (first) out.append(after);
    if (first && (is_legacy() || index == IndexKind::OpenDml)) out.append(chunk(tag("idx1"), legacy_index()));
    close(out, riff_start_);
    all_entries_.insert(all_entries_.end(), entries_.begin(), entries_.end());
    entries_.clear();
}

Bytes AviBuilder::legacy_index() const {
    const uint64_t base = index == IndexKind::LegacyAbsolute ? 0 : media_start_;
    Bytes body;
    for (const Entry &e : entries_)
        append(body, join({le32(chunk_id(e.stream)), le32(e.key ? 0x10u : 0u),
                           le32(static_cast<uint32_t>(e.position - base)), le32(e.size)}));
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
        append(words, join({le32(static_cast<uint32_t>(e.position + 8 - base)),
                            le32(e.size | (e.key ? 0 : 0x80000000u)), fields ? le32(e.size / 2) : Bytes{}}));
        ++count;
    }
    return join({le16(fields ? 3 : 2), Bytes{static_cast<uint8_t>(fields ? 1 : 0), 1}, le32(count),
                 le32(chunk_id(stream)), le64(count != 0 ? base : 0), le32(0), words});
}

void AviBuilder::write_items(MemoryStore &out) {
    bool first = true;
    uint64_t rec_start = 0;
    for (const Item &item : items_) {
        switch (item.kind) {
            case Item::Frame:
                note_frame(item, out.size());
                out.append(chunk(chunk_id(item.stream), item.bytes));
                break;
            case Item::Palette:
                write_palette(out, item);
                break;
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
            out.patch(tracks_[i].index_position, standard_index(i, all_entries_));
            continue;
        }
        const uint8_t sub_type = index == IndexKind::OpenDmlFields ? 1 : 0;
        const Bytes &entries = tracks_[i].super_index;
        out.patch(tracks_[i].index_position,
                  join({le16(4), Bytes{sub_type, 0}, le32(static_cast<uint32_t>(entries.size() / 16)),
                        le32(chunk_id(i)), Bytes(12), entries}));
    }
}

void AviBuilder::write_palette(MemoryStore &out, const Item &item) {
    const uint8_t count = static_cast<uint8_t>(item.bytes.size() / 4);  // 256 is written as 0
    out.append(chunk(digits(item.stream) | tag("\0\0pc"),
                     join({Bytes{static_cast<uint8_t>(item.size), count, 0, 0}, item.bytes})));
    Track &track = tracks_[item.stream];
    std::copy(item.bytes.begin(), item.bytes.end(), &track.palette[4 * item.size]);
    track.palette_changed = true;
}

uint32_t AviBuilder::chunk_id(uint32_t stream) const {
    const char *const type = streams[stream].chunk_type;
    return digits(stream) | uint32_t{static_cast<uint8_t>(type[0])} << 16 |
           uint32_t{static_cast<uint8_t>(type[1])} << 24;
}

// In lowest terms. A stream without a rate of its own has that of the main header.
std::pair<uint64_t, uint64_t> AviBuilder::scale_and_rate(uint32_t stream) const {
    uint64_t scale = streams[stream].header.scale;
    uint64_t rate = streams[stream].header.rate;
    if (scale == 0 || rate == 0) {
        scale = main.microseconds_per_frame != 0 ? main.microseconds_per_frame : 1;
        rate = main.microseconds_per_frame != 0 ? 1000000 : 25;
    }
    const uint64_t divisor = std::gcd(scale, rate);
    return {scale / divisor, rate / divisor};
}

double AviBuilder::unit(uint32_t stream) const {
    const auto [scale, rate] = scale_and_rate(stream);
    return static_cast<double>(scale) * 1000.0 / static_cast<double>(rate);
}

// Exact: whole seconds apart from the rest, so that nothing overflows.
uint32_t AviBuilder::milliseconds(uint32_t stream, uint64_t units) const {
    const auto [scale, rate] = scale_and_rate(stream);
    const uint64_t ticks = units * scale;
    return static_cast<uint32_t>(ticks / rate * 1000 + ticks % rate * 1000 / rate);
}

// Appends the pieces that the chunk is delivered in.
void AviBuilder::note_frame(const Item &item, uint64_t position) {
    const uint32_t stream = item.stream;
    const AviStream &s = streams[stream];
    Track &track = tracks_[stream];
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
        if (track.palette_changed) append(frame.data, track.palette);
        track.palette_changed = false;
        frame.position = position;
        frame.dts = track.clock;
        // Readers take every entry of the second stream of a legacy index and the first of every video stream
        // as a key frame; of those that have data.
        frame.index_key = from == 0 && index != IndexKind::None &&
                          (item.key || (is_legacy() && stream == 1) || (track.truth.empty() && s.is_video));
        frame.time_stamp = milliseconds(stream, frame.dts);
        frame.duration = milliseconds(stream, units);
        frame.key = !s.is_video || frame.index_key || (index == IndexKind::None && frame.dts == 0);
        track.truth.push_back(std::move(frame));
        track.clock += units;
    }
    if (size == 0 && (unit != 0 || s.block_align == 0)) track.clock += 1;
}

}  // namespace quorv::test
