// Laying out ASF files; see the header.

#include "support/AsfBuilder.h"

namespace quorv::test {
namespace {

constexpr char kFileProperties[] = "8CABDCA1-A947-11CF-8EE4-00C00C205365";
constexpr char kStreamProperties[] = "B7DC0791-A9B7-11CF-8EE6-00C00C205365";
constexpr char kHeaderExtension[] = "5FBF03B5-A92E-11CF-8EE3-00C00C205365";
constexpr char kExtendedStreamProperties[] = "14E6A5CB-C672-4332-8399-A96952065B5A";
constexpr char kNoErrorCorrection[] = "20FB5700-5B55-11CF-A8FD-00805F5C442B";
constexpr char kAudio[] = "F8699E40-5B4D-11CF-A8FD-00805F5C442B";
constexpr char kVideo[] = "BC19EFC0-5B4D-11CF-A8FD-00805F5C442B";
constexpr uint32_t kIndexInterval = 100;  // milliseconds

// An object: its GUID, its size and its body.
Bytes asf_object(const std::string &guid, const Bytes &body) {
    return join({asf_guid(guid), le64(24 + body.size()), body});
}

Bytes field(uint32_t value, uint32_t type) {
    Bytes bytes = le32(value);
    bytes.resize((1u << type) / 2);
    return bytes;
}

}  // namespace

Bytes asf_guid(const std::string &text) {
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += text[i] == '-' ? 1u : 2u) {
        if (text[i] != '-') bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    for (const auto &[from, to] : {std::pair{0, 4}, {4, 6}, {6, 8}})
        std::reverse(bytes.begin() + from, bytes.begin() + to);
    return bytes;
}

AsfStream asf_video(uint32_t number, const char (&compression)[5], const Bytes &codec_data) {
    const Bytes bitmap = BitmapHeader{.compression = tag(compression), .extra = codec_data}.body();
    AsfStream stream = {
        number, asf_guid(kVideo),
        join({le32(64), le32(48), Bytes{2}, le16(static_cast<uint32_t>(bitmap.size())), bitmap})};
    if (compression[0] == 'M') stream.prefix = static_cast<uint32_t>(codec_data.size());
    return stream;
}

AsfStream asf_audio(uint32_t number, uint32_t format_tag, const Bytes &codec_data) {
    const auto extra = static_cast<uint32_t>(codec_data.size());
    const WaveFormat wave = {.format_tag = format_tag, .stated_extra = extra, .extra = codec_data};
    AsfStream stream = {number, asf_guid(kAudio), wave.body(18 + extra)};
    if (format_tag == 0x55) stream.prefix = extra;
    return stream;
}

AsfBuilder &AsfBuilder::frame(uint32_t stream, uint32_t time, size_t size, bool key) {
    std::vector<TruthFrame> &frames = truth_[stream];
    TruthFrame frame;
    frame.time_stamp = time;
    frame.key = key;
    for (size_t i = 0; i < size; ++i)
        frame.data.push_back(static_cast<uint8_t>(i * 7 + frames.size() * 13 + stream * 101));
    frames.push_back(std::move(frame));
    end_ = std::max(end_, time + 500);
    if (!streams[stream].compressed) {
        add_object(stream);
    } else {
        run_stream_ = stream;
        if (++run_ == 3) add_run();
    }
    return *this;
}

Bytes AsfBuilder::packet_head(uint32_t padding) const {
    const AsfWidths &w = layout.widths;
    const uint32_t length_flags =
        (layout.multiple ? 1u : 0u) | w.sequence << 1 | w.padding << 3 | w.packet_length << 5;
    const uint32_t property_flags = w.replicated | w.offset << 2 | w.number << 4 | 1u << 6;
    const uint32_t payload_flags = payload_count_ | w.payload_length << 6;
    return join({layout.error_correction ? Bytes{0x82, 0, 0} : Bytes{}, field(length_flags, 1),
                 field(property_flags, 1), field(layout.packet_size, w.packet_length),
                 field(packet_count_, w.sequence), field(padding, w.padding), le32(packet_count_ * 10),
                 le16(10), field(payload_flags, layout.multiple ? 1 : 0)});
}

Bytes AsfBuilder::payload_head(uint32_t stream, bool key, uint32_t offset, const Bytes &replicated,
                               size_t stated) const {
    return join({field(streams[stream].number | (key ? 0x80u : 0u), 1),
                 field(numbers_[stream], layout.widths.number), field(offset, layout.widths.offset),
                 field(static_cast<uint32_t>(stated), layout.widths.replicated), replicated});
}

// How much of a payload behind that head still fits into the packet.
uint32_t AsfBuilder::room_behind(const Bytes &head) const {
    const size_t used = packet_head(0).size() + payloads_.size() + head.size() +
                        (layout.multiple ? field(0, layout.widths.payload_length).size() : 0);
    return used < layout.packet_size && payload_count_ < 63 ? layout.packet_size - static_cast<uint32_t>(used)
                                                            : 0;
}

void AsfBuilder::add_payload(const Bytes &head, const Bytes &data) {
    const auto size = static_cast<uint32_t>(data.size());
    append(payloads_, join({head, field(size, layout.multiple ? layout.widths.payload_length : 0), data}));
    ++payload_count_;
    if (!layout.multiple) flush();
}

void AsfBuilder::add_object(uint32_t stream) {
    TruthFrame &frame = truth_[stream].back();
    const auto size = static_cast<uint32_t>(frame.data.size());
    uint32_t offset = 0;
    do {
        Bytes replicated = join({le32(size), le32(frame.time_stamp + layout.preroll)});
        replicated.resize(offset == 0 || !layout.replicated_once ? layout.replicated_length : 0);
        const Bytes head = payload_head(stream, frame.key, offset, replicated, replicated.size());
        if (room_behind(head) == 0) flush();
        const uint32_t length = std::min(room_behind(head), size - offset);
        if (offset == 0) frame.position = packet_count_;
        const uint8_t *const data = frame.data.data() + offset;
        add_payload(head, Bytes(data, data + length));
        offset += length;
    } while (offset < size);
    ++numbers_[stream];
}

// Frames of equal distance in one payload.
void AsfBuilder::add_run() {
    if (run_ == 0) return;
    std::vector<TruthFrame> &frames = truth_[run_stream_];
    TruthFrame *const first = &frames.back() + 1 - run_;
    const uint32_t delta = run_ > 1 ? first[1].time_stamp - first->time_stamp : 0;
    const Bytes head =
        payload_head(run_stream_, first->key, first->time_stamp + layout.preroll, field(delta, 1), 1);
    Bytes data;
    for (uint32_t i = 0; i < run_; ++i)
        append(data, join({field(static_cast<uint32_t>(first[i].data.size()), 1), first[i].data}));
    if (room_behind(head) < data.size()) flush();
    for (uint32_t i = 0; i < run_; ++i)
        first[i].position = packet_count_;
    add_payload(head, data);
    numbers_[run_stream_] += run_;
    run_ = 0;
}

void AsfBuilder::flush() {
    if (payload_count_ == 0) return;
    const size_t padding = layout.packet_size - packet_head(0).size() - payloads_.size();
    append(packets_, join({packet_head(static_cast<uint32_t>(padding)), payloads_, Bytes(padding)}));
    payloads_.clear();
    payload_count_ = 0;
    ++packet_count_;
}

Bytes AsfBuilder::header() const {
    const uint64_t duration = (uint64_t{end_} + layout.preroll) * 10000;
    Bytes extended, objects;
    for (const AsfStream &stream : streams) {
        append(objects,
               asf_object(kStreamProperties, join({stream.type, asf_guid(kNoErrorCorrection), le64(0),
                                                   le32(static_cast<uint32_t>(stream.format.size())), le32(0),
                                                   le16(stream.number), le32(0), stream.format})));
        if (stream.frame_interval == 0) continue;
        append(extended,
               asf_object(kExtendedStreamProperties, join({Bytes(48), le16(stream.number), le16(0),
                                                           le64(stream.frame_interval * 10000), le32(0)})));
    }
    const Bytes file =
        asf_object(kFileProperties, join({Bytes(16), le64(0), le64(0), le64(packet_count_), le64(duration),
                                          le64(duration), le64(layout.preroll), le32(layout.live ? 1 : 2),
                                          le32(layout.packet_size), le32(layout.packet_size), le32(64000)}));
    const Bytes extension =
        asf_object(kHeaderExtension, join({asf_guid("ABD3D211-A9BA-11CF-8EE6-00C00C205365"), le16(6),
                                           le32(static_cast<uint32_t>(extended.size())), extended}));
    const Bytes body =
        join({le32(static_cast<uint32_t>(streams.size()) + 2), Bytes{1, 2}, file, extension, objects});
    return asf_object("75B22630-668E-11CF-A6D9-00AA0062CE6C", body);
}

void AsfBuilder::finish_truth() {
    for (size_t stream = 0; stream < streams.size(); ++stream) {
        std::vector<TruthFrame> &frames = truth_[stream];
        for (size_t i = 0; i < frames.size(); ++i) {
            const bool rises = i + 1 < frames.size() && frames[i + 1].time_stamp >= frames[i].time_stamp;
            frames[i].duration = rises ? frames[i + 1].time_stamp - frames[i].time_stamp : 1;
        }
        if (frames.empty()) continue;
        const Bytes &format = streams[stream].format;
        const auto prefix = static_cast<std::ptrdiff_t>(streams[stream].prefix);
        frames[0].data.insert(frames[0].data.begin(), format.end() - prefix, format.end());
    }
}

// Of the first video stream.
Bytes AsfBuilder::write_index() const {
    size_t stream = 0;
    while (streams[stream].type != asf_guid(kVideo))
        ++stream;
    const uint32_t count = (truth_[stream].back().time_stamp + layout.preroll) / kIndexInterval + 2;
    Bytes entries;
    for (uint32_t i = 0; i < count; ++i) {
        uint64_t packet = index == AsfIndex::Late ? packet_count_ - 1 : 0;
        for (const TruthFrame &frame : truth_[stream]) {
            const bool reached = frame.key && frame.time_stamp + layout.preroll <= i * kIndexInterval;
            if (reached && (index == AsfIndex::Right || index == AsfIndex::CutShort)) packet = frame.position;
        }
        append(entries, join({le32(static_cast<uint32_t>(packet)), le16(1)}));
    }
    return asf_object(
        "33000890-E5B1-11CF-89F4-00A0C90349CB",
        join({Bytes(16), le64(uint64_t{kIndexInterval} * 10000), le32(1), le32(count), entries}));
}

Bytes AsfBuilder::build() {
    add_run();
    flush();
    const Bytes head = header();
    data_start_ = head.size() + 50;
    const Bytes data =
        asf_object("75B22636-668E-11CF-A6D9-00AA0062CE6C",
                   join({Bytes(16), le64(layout.live ? 0 : packet_count_), Bytes{1, 1}, packets_}));
    Bytes index_bytes = index == AsfIndex::None ? Bytes{} : write_index();
    if (index == AsfIndex::CutShort) index_bytes.resize(index_bytes.size() / 2);
    finish_truth();
    return join({head, data, index_bytes});
}

}  // namespace quorv::test
