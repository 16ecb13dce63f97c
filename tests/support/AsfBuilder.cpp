// Laying out ASF files; see the header.

#include "support/AsfBuilder.h"

#include <algorithm>

namespace quorv::test {
namespace {

constexpr char kFileProperties[] = "8CABDCA1-A947-11CF-8EE4-00C00C205365";
constexpr char kStreamProperties[] = "B7DC0791-A9B7-11CF-8EE6-00C00C205365";
constexpr char kHeaderExtension[] = "5FBF03B5-A92E-11CF-8EE3-00C00C205365";
constexpr char kExtendedStreamProperties[] = "14E6A5CB-C672-4332-8399-A96952065B5A";
constexpr char kNoErrorCorrection[] = "20FB5700-5B55-11CF-A8FD-00805F5C442B";

Bytes field(uint32_t value, uint32_t type) {
    Bytes bytes = le32(value);
    bytes.resize((1u << type) / 2);
    return bytes;
}

Bytes slice(const Bytes &bytes, size_t offset, size_t length) {
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(from, from + static_cast<std::ptrdiff_t>(length));
}

void append(Bytes &to, const Bytes &bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

Bytes stream_properties(const AsfStream &stream) {
    return asf_object(kStreamProperties, join({stream.type, asf_guid(kNoErrorCorrection), le64(0),
                                               le32(static_cast<uint32_t>(stream.format.size())), le32(0),
                                               le16(stream.number), le32(0), stream.format}));
}

Bytes extended_properties(const AsfStream &stream) {
    return asf_object(kExtendedStreamProperties, join({Bytes(48), le16(stream.number), le16(0),
                                                       le64(stream.frame_interval * 10000), le32(0)}));
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

Bytes asf_object(const std::string &guid, const Bytes &body) {
    return join({asf_guid(guid), le64(24 + body.size()), body});
}

AsfStream asf_video(uint32_t number, const char (&compression)[5], const Bytes &codec_data) {
    BitmapHeader bitmap;
    bitmap.compression = tag(compression);
    bitmap.extra = codec_data;
    bitmap.header_size = static_cast<uint32_t>(40 + codec_data.size());
    const Bytes body = bitmap.body();
    AsfStream stream = {number, asf_guid("BC19EFC0-5B4D-11CF-A8FD-00805F5C442B"),
                        join({le32(bitmap.width), le32(bitmap.height), Bytes{2},
                              le16(static_cast<uint32_t>(body.size())), body})};
    if (compression[0] == 'M') stream.prefix = static_cast<uint32_t>(codec_data.size());
    return stream;
}

AsfStream asf_audio(uint32_t number, uint32_t format_tag, const Bytes &codec_data) {
    WaveFormat format;
    format.format_tag = format_tag;
    format.stated_extra = static_cast<uint32_t>(codec_data.size());
    format.extra = codec_data;
    AsfStream stream = {number, asf_guid("F8699E40-5B4D-11CF-A8FD-00805F5C442B"),
                        format.body(18 + codec_data.size())};
    if (format_tag == 0x55) stream.prefix = static_cast<uint32_t>(codec_data.size());
    return stream;
}

AsfStream asf_commands(uint32_t number) {
    return {number, asf_guid("59DACFC0-59E6-11D0-A3AC-00A0C90348F6"), {}};
}

AsfBuilder &AsfBuilder::frame(uint32_t stream, uint32_t time, size_t size, bool key) {
    std::vector<AsfFrame> &frames = truth_[stream];
    AsfFrame frame;
    for (size_t i = 0; i < size; ++i)
        frame.data.push_back(static_cast<uint8_t>(i * 7 + frames.size() * 13 + stream * 101));
    frame.time = time;
    frame.key = key;
    order_.push_back({stream, static_cast<uint32_t>(frames.size())});
    frames.push_back(std::move(frame));
    return *this;
}

Bytes AsfBuilder::packet_head(uint32_t padding) const {
    const AsfLayout &l = layout;
    const uint32_t length_flags =
        (l.multiple ? 1u : 0u) | l.sequence_type << 1 | l.padding_type << 3 | l.packet_length_type << 5;
    const uint32_t property_flags = l.replicated_type | l.offset_type << 2 | l.number_type << 4 | 1u << 6;
    const uint32_t payload_flags = payload_count_ | l.payload_length_type << 6;
    return join({l.error_correction ? Bytes{0x82, 0, 0} : Bytes{}, field(length_flags, 1),
                 field(property_flags, 1), field(l.packet_size, l.packet_length_type),
                 field(packet_count_, l.sequence_type), field(padding, l.padding_type),
                 le32(packet_count_ * 10), le16(10), field(payload_flags, l.multiple ? 1 : 0)});
}

Bytes AsfBuilder::payload_head(const Place &place, uint32_t offset, const Bytes &replicated,
                               uint32_t stated) const {
    const uint32_t key = truth_[place.stream][place.frame].key ? 0x80 : 0;
    return join({field(streams[place.stream].number | key, 1),
                 field(numbers_[place.stream], layout.number_type), field(offset, layout.offset_type),
                 field(stated, layout.replicated_type), replicated});
}

// How much of a payload behind that head still fits into the packet.
uint32_t AsfBuilder::room_behind(const Bytes &head) const {
    const size_t used = packet_head(0).size() + payloads_.size() + head.size() +
                        (layout.multiple ? field(0, layout.payload_length_type).size() : 0);
    return used < layout.packet_size && payload_count_ < 63 ? layout.packet_size - static_cast<uint32_t>(used)
                                                            : 0;
}

void AsfBuilder::add_payload(const Bytes &head, const Bytes &data) {
    const auto size = static_cast<uint32_t>(data.size());
    append(payloads_, join({head, field(size, layout.multiple ? layout.payload_length_type : 0), data}));
    ++payload_count_;
    if (!layout.multiple) flush();
}

void AsfBuilder::add_object(const Place &place) {
    AsfFrame &frame = truth_[place.stream][place.frame];
    const auto size = static_cast<uint32_t>(frame.data.size());
    for (uint32_t offset = 0; offset < size;) {
        Bytes replicated = join({le32(size), le32(frame.time + layout.preroll)});
        replicated.resize(offset == 0 || !layout.replicated_once ? layout.replicated_length : 0);
        const Bytes head = payload_head(place, offset, replicated, static_cast<uint32_t>(replicated.size()));
        const uint32_t length = std::min(room_behind(head), size - offset);
        if (length == 0) {
            flush();
            continue;
        }
        if (offset == 0) frame.packet = packet_count_;
        add_payload(head, slice(frame.data, offset, length));
        offset += length;
    }
    ++numbers_[place.stream];
}

// Frames of equal distance in one payload.
void AsfBuilder::add_run(uint32_t stream) {
    std::vector<AsfFrame> &frames = truth_[stream];
    Bytes data;
    for (const uint32_t number : run_)
        append(data,
               join({field(static_cast<uint32_t>(frames[number].data.size()), 1), frames[number].data}));
    const AsfFrame &first = frames[run_.front()];
    const uint32_t delta = run_.size() > 1 ? frames[run_[1]].time - first.time : 0;
    const Bytes head = payload_head({stream, run_.front()}, first.time + layout.preroll, field(delta, 1), 1);
    if (room_behind(head) < data.size()) flush();
    for (const uint32_t number : run_)
        frames[number].packet = packet_count_;
    add_payload(head, data);
    numbers_[stream] += static_cast<uint32_t>(run_.size());
    run_.clear();
}

void AsfBuilder::flush() {
    if (payload_count_ == 0) return;
    const size_t padding = layout.packet_size - packet_head(0).size() - payloads_.size();
    append(packets_, join({packet_head(static_cast<uint32_t>(padding)), payloads_, Bytes(padding)}));
    payloads_.clear();
    payload_count_ = 0;
    ++packet_count_;
}

Bytes AsfBuilder::header(uint32_t duration) const {
    Bytes extended, objects;
    for (const AsfStream &stream : streams) {
        if (stream.frame_interval != 0) append(extended, extended_properties(stream));
        append(objects, stream_properties(stream));
    }
    const Bytes file =
        asf_object(kFileProperties,
                   join({Bytes(16), le64(0), le64(0), le64(packet_count_), le64(uint64_t{duration} * 10000),
                         le64(uint64_t{duration} * 10000), le64(layout.preroll), le32(layout.live ? 1 : 2),
                         le32(layout.packet_size), le32(layout.packet_size), le32(64000)}));
    const Bytes extension =
        asf_object(kHeaderExtension, join({asf_guid("ABD3D211-A9BA-11CF-8EE6-00C00C205365"), le16(6),
                                           le32(static_cast<uint32_t>(extended.size())), extended}));
    const Bytes body = join({le32(static_cast<uint32_t>(streams.size()) + 2), Bytes{1, 2}, file, extension,
                             objects, header_extra});
    return asf_object("75B22630-668E-11CF-A6D9-00AA0062CE6C", body);
}

void AsfBuilder::finish_truth() {
    for (std::vector<AsfFrame> &frames : truth_) {
        for (size_t i = 0; i < frames.size(); ++i) {
            const bool rises = i + 1 < frames.size() && frames[i + 1].time >= frames[i].time;
            frames[i].duration = rises ? frames[i + 1].time - frames[i].time : 1;
        }
    }
}

const std::vector<AsfFrame> &AsfBuilder::indexed_frames() const {
    size_t stream = 0;
    while (streams[stream].type != asf_video(1).type)
        ++stream;
    return truth_[stream];
}

Bytes AsfBuilder::write_index() const {
    const std::vector<AsfFrame> &frames = indexed_frames();
    const uint32_t count = (frames.back().time + layout.preroll) / index_interval + 2;
    Bytes entries;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t packet = index == AsfIndex::Late ? packet_count_ - 1 : 0;
        for (const AsfFrame &frame : frames) {
            const bool reached = frame.key && frame.time + layout.preroll <= i * index_interval;
            if (reached && (index == AsfIndex::Right || index == AsfIndex::CutShort)) packet = frame.packet;
        }
        append(entries, join({le32(packet), le16(1)}));
    }
    return asf_object(
        "33000890-E5B1-11CF-89F4-00A0C90349CB",
        join({Bytes(16), le64(uint64_t{index_interval} * 10000), le32(1), le32(count), entries}));
}

Bytes AsfBuilder::build() {
    uint32_t end = 0;
    for (size_t i = 0; i < order_.size(); ++i) {
        const Place place = order_[i];
        end = std::max(end, truth_[place.stream][place.frame].time + 500);
        if (!streams[place.stream].compressed) {
            add_object(place);
            continue;
        }
        run_.push_back(place.frame);
        if (run_.size() == 3 || place.frame + 1 == truth_[place.stream].size()) add_run(place.stream);
    }
    flush();
    const Bytes head = header(end + layout.preroll);
    data_start_ = head.size() + 50;
    const Bytes data =
        asf_object("75B22636-668E-11CF-A6D9-00AA0062CE6C",
                   join({Bytes(16), le64(layout.live ? 0 : packet_count_), Bytes{1, 1}, packets_}));
    Bytes index_bytes = index == AsfIndex::None ? Bytes{} : write_index();
    if (index == AsfIndex::CutShort) index_bytes.resize(index_bytes.size() / 2);
    finish_truth();
    return join({head, data, index_bytes});
}

namespace {

// Video every 40 ms with a key frame now and then, audio every 30 ms.
AsfBuilder two_tracks(std::vector<AsfStream> streams, AsfLayout layout, AsfIndex index, uint32_t video = 0,
                      uint32_t audio = 1) {
    AsfBuilder builder(std::move(streams), layout, index);
    uint32_t sound = 0;
    for (uint32_t i = 0; i < 9; ++i) {
        builder.frame(video, i * 40, 20 + i * 37 % 200, i % 4 == 0);
        for (; sound < (i + 1) * 40; sound += 30)
            builder.frame(audio, sound, 21);
    }
    return builder;
}

AsfBuilder falling_times() {
    AsfBuilder builder({asf_video(1), asf_audio(2)});
    uint32_t sound = 0;
    for (const uint32_t time : {40u, 160u, 80u, 120u, 280u, 200u, 200u, 240u}) {
        builder.frame(0, time, 50 + time, time % 120 == 40).frame(1, sound, 12).frame(1, sound, 13);
        sound += 30;
    }
    return builder;
}

// What is not taken: commands, a second audio stream, video of a codec that is not known.
AsfBuilder many_streams(const AsfStream &video, const AsfStream &audio) {
    AsfBuilder builder = two_tracks({asf_commands(4), asf_video(6, "XVID"), video, audio, asf_audio(8)}, {},
                                    AsfIndex::None, 2, 3);
    for (uint32_t i = 0; i < 3; ++i)
        builder.frame(1, i * 40, 30).frame(4, i * 40, 20).frame(2, 400 + i * 40, 30);
    return builder;
}

}  // namespace

std::vector<AsfSample> asf_sample_files() {
    AsfStream video = asf_video(1), audio = asf_audio(2), mp3 = asf_audio(3, 0x55, Bytes(12, 0xC3));
    video.frame_interval = 40;
    audio.frame_interval = 30;
    AsfStream runs = audio;
    runs.compressed = true;
    AsfLayout wide, narrow, once, live, bare;
    wide = {.packet_size = 300,
            .error_correction = false,
            .packet_length_type = 3,
            .sequence_type = 3,
            .padding_type = 3,
            .replicated_type = 3,
            .number_type = 3,
            .payload_length_type = 3,
            .replicated_length = 17};
    narrow = {.packet_size = 90,
              .multiple = false,
              .packet_length_type = 2,
              .sequence_type = 1,
              .padding_type = 2,
              .replicated_type = 2,
              .offset_type = 2,
              .number_type = 0};
    once.replicated_once = true;
    live.live = true;
    bare = {.packet_size = 120,
            .error_correction = false,
            .padding_type = 0,
            .offset_type = 3,
            .payload_length_type = 1,
            .preroll = 0};
    std::vector<AsfSample> samples = {
        {"wmv_wma", two_tracks({video, audio}, {}, AsfIndex::Right), {}},
        {"no_intervals", two_tracks({asf_video(1), asf_audio(2)}, {}, AsfIndex::None), {}},
        {"wide_fields", two_tracks({asf_audio(7), asf_video(9)}, wide, AsfIndex::Right, 1, 0), {}},
        {"single_payloads", two_tracks({asf_video(127), asf_audio(5)}, narrow, AsfIndex::None), {}},
        {"runs", two_tracks({video, runs}, {}, AsfIndex::Right), {}},
        {"single_runs", two_tracks({video, runs}, {.multiple = false}, AsfIndex::Early), {}},
        {"replicated_once", two_tracks({video, audio}, once, AsfIndex::Late), {}},
        {"live", two_tracks({video, audio}, live, AsfIndex::CutShort), {}},
        {"bare", two_tracks({asf_video(1, "MP4S", Bytes(20, 9)), mp3}, bare, AsfIndex::None), {}},
        {"falling_times", falling_times(), {}},
        {"many_streams", many_streams(video, mp3), {}},
    };
    for (AsfSample &sample : samples)
        sample.bytes = sample.builder.build();
    return samples;
}

}  // namespace quorv::test
