// The walk through the header's objects; see the header.

#include "asfparser/AsfHeader.h"

#include <iterator>

#include "asfparser/AsfStreamProperties.h"

namespace quorv {

namespace {

constexpr uint32_t kHeaderObjectBytes = 30;
constexpr uint32_t kDataObjectBytes = 50;
constexpr uint32_t kExtendedStreamPropertiesBytes = 84;
// 2^32 units in milliseconds, rounded.
constexpr uint32_t kMillisecondsPerHighHalf = 429497;

class HeaderWalk {
public:
    HeaderWalk(StreamSource *source, AsfHeader *header) : reader_(source), header_(*header) {}

    Code read_header_object();
    Code read_data_object_header();

private:
    Code read_child(const AsfObjectHeader &child);
    Code read_file_properties();
    Code read_stream_properties();
    Code read_header_extension();
    void read_extended_stream_properties(uint32_t size);
    bool has_ended(uint64_t position_before);

    AsfHeaderReader reader_;
    AsfHeader &header_;
};

// Whether going on is of no use: a source can report success without moving.
bool HeaderWalk::has_ended(uint64_t position_before) {
    const uint64_t position = reader_.position();
    return position <= position_before || (reader_.stream_size() != 0 && position >= reader_.stream_size());
}

Code HeaderWalk::read_header_object() {
    reader_.move_to(0);
    const AsfObjectHeader whole = reader_.object_header();
    if (reader_.code() != Code::Ok) return reader_.code();
    if (!CASFBase::CompareGUID(whole.guid, kAsfHeaderObject) || whole.size_low() < kHeaderObjectBytes)
        return Code::BadFormat;
    reader_.skip(kHeaderObjectBytes - kAsfObjectHeaderBytes);
    uint32_t left = whole.size_low() - kHeaderObjectBytes;
    bool wrapped = false;
    while (left != 0) {
        const uint64_t start = reader_.position();
        const AsfObjectHeader child = reader_.object_header();
        if (reader_.code() != Code::Ok) return reader_.code();
        const uint32_t size = child.size_low();
        if (size == 0) {
            reader_.skip(left > kAsfObjectHeaderBytes ? left - kAsfObjectHeaderBytes : 0);
            return reader_.code();
        }
        if (size < kAsfObjectHeaderBytes) return Code::BadFormat;
        const Code code = read_child(child);
        if (code != Code::Ok) return code;
        // A child may claim more than is left. Then objects are read up to the end of the file.
        wrapped |= size > left;
        left -= size;
        if (wrapped && left != 0 && has_ended(start)) return Code::BadFormat;
    }
    return Code::Ok;
}

Code HeaderWalk::read_child(const AsfObjectHeader &child) {
    if (child.guid.first == kAsfHeaderExtensionGroup) return read_header_extension();
    if (CASFBase::CompareGUID(child.guid, kAsfFilePropertiesObject)) return read_file_properties();
    if (CASFBase::CompareGUID(child.guid, kAsfStreamPropertiesObject)) return read_stream_properties();
    reader_.skip(child.size_low() - kAsfObjectHeaderBytes);
    return reader_.code();
}

Code HeaderWalk::read_file_properties() {
    reader_.skip(16 + 8 + 8 + 8);  // identifier, size, creation date, packet count
    const uint64_t play_duration = header_.play_duration = reader_.le64();
    reader_.le64();  // send duration
    header_.preroll = static_cast<uint32_t>(reader_.le64());
    const uint64_t duration = static_cast<uint32_t>(play_duration) / kAsfUnitsPerMillisecond +
                              (play_duration >> 32) * kMillisecondsPerHighHalf;
    header_.duration = duration > header_.preroll ? saturate_to_u32(duration - header_.preroll) : 0;
    reader_.skip(4 + 4);  // flags, minimum packet size
    header_.packet_size = reader_.le32();
    header_.max_bitrate = reader_.le32();
    return reader_.code();
}

Code HeaderWalk::read_stream_properties() {
    const AsfGuid type = reader_.guid();
    reader_.skip(16 + 8);  // error correction type, time offset
    const uint32_t type_data_length = reader_.le32();
    const uint32_t error_correction_length = reader_.le32();
    const uint32_t stream_number = reader_.le16() & 0x7F;
    reader_.skip(4);
    if (reader_.code() != Code::Ok) return reader_.code();
    header_.facts[stream_number].declared = true;
    const Code code =
        type.first == kAsfAudioMediaGroup
            ? asf_read_audio_properties(&reader_, stream_number, &header_.audio)
            : asf_read_video_properties(&reader_, stream_number, type_data_length, &header_.video);
    if (code != Code::Ok) return code;
    reader_.skip(error_correction_length);
    return reader_.code();
}

// A malformed child ends the extension; the file is good all the same.
Code HeaderWalk::read_header_extension() {
    reader_.skip(18);
    uint32_t left = reader_.le32();
    while (left != 0) {
        const uint64_t start = reader_.position();
        const AsfObjectHeader child = reader_.object_header();
        if (reader_.code() != Code::Ok) break;
        const uint32_t size = child.size_low();
        if (size == 0) {
            reader_.skip(left > kAsfObjectHeaderBytes ? left - kAsfObjectHeaderBytes : 0);
            break;
        }
        const bool is_stream = child.guid.first == kAsfExtendedStreamPropertiesGroup;
        if (size < (is_stream ? kExtendedStreamPropertiesBytes : kAsfObjectHeaderBytes)) break;
        if (is_stream) {
            read_extended_stream_properties(size);
        } else {
            reader_.skip(size - kAsfObjectHeaderBytes);
        }
        const bool wrapped = size > left;
        left -= size;
        if (wrapped || has_ended(start)) break;
    }
    return reader_.code();
}

void HeaderWalk::read_extended_stream_properties(uint32_t size) {
    reader_.skip(16);  // times
    const uint32_t bit_rate = reader_.le32();
    reader_.skip(24 + 4);  // other rates, buffer sizes, largest object, flags
    const uint32_t stream_number = reader_.le16();
    reader_.skip(2);  // language
    const auto units = static_cast<uint32_t>(reader_.le64());
    reader_.skip(size - kExtendedStreamPropertiesBytes);
    if (reader_.code() == Code::Ok && stream_number < kAsfStreamNumbers)
        header_.facts[stream_number] = {units, bit_rate, true};
    if (reader_.code() != Code::Ok || header_.interval_count == std::size(header_.intervals)) return;
    header_.intervals[header_.interval_count++] = {stream_number, units / kAsfUnitsPerMillisecond};
}

Code HeaderWalk::read_data_object_header() {
    const AsfObjectHeader object = reader_.object_header();
    if (reader_.code() != Code::Ok) return reader_.code();
    if (!CASFBase::CompareGUID(object.guid, kAsfDataObject) || object.size < kDataObjectBytes)
        return Code::BadFormat;
    const uint64_t position = reader_.position();
    const uint64_t limit = reader_.stream_size() != 0 ? reader_.stream_size() : uint64_t{INT64_MAX};
    const uint64_t body = object.size - kAsfObjectHeaderBytes;
    header_.is_cut = position > limit || body > limit - position;
    header_.data_end = header_.is_cut ? limit : position + body;
    reader_.skip(16);  // file identifier
    header_.total_packets = static_cast<uint32_t>(reader_.le64());
    reader_.skip(2);
    header_.first_packet = reader_.position();
    header_.stream_size = reader_.stream_size();
    // Streams of unknown codecs are offered when there is no other.
    if (header_.video.unrecognised_code != 0) header_.video.present = true;
    return reader_.code();
}

Code read_objects(StreamSource *reader, AsfHeader *header) {
    HeaderWalk walk(reader, header);
    const Code code = walk.read_header_object();
    return code == Code::Ok ? walk.read_data_object_header() : code;
}

}  // namespace

uint32_t AsfHeader::frame_interval(uint32_t stream_number) const {
    for (uint32_t i = 0; i < interval_count; ++i) {
        if (intervals[i].stream_number == stream_number) return intervals[i].milliseconds;
    }
    return 0;
}

Code asf_read_header(StreamSource *reader, AsfHeader *header) {
    *header = {};
    const Code code = read_objects(reader, header);
    if (code != Code::Ok) *header = {};
    return code;
}

}  // namespace quorv
