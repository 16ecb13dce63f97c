// The walk through the header's objects; see the header.

#include "asfparser/AsfHeader.h"

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
    HeaderWalk(const CASFBase &base, StreamSource *source, AsfHeader *header)
        : reader_(base, source), header_(*header) {}

    uint32_t read_header_object();
    uint32_t read_data_object_header();

private:
    uint32_t read_child(const AsfObjectHeader &child);
    uint32_t read_file_properties();
    uint32_t read_stream_properties();
    uint32_t read_header_extension();
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

uint32_t HeaderWalk::read_header_object() {
    reader_.move_to(0);
    const AsfObjectHeader whole = reader_.object_header();
    if (reader_.code() != SPLITER_OK) return reader_.code();
    if (!CASFBase::CompareGUID(whole.guid, kAsfHeaderObject) || whole.size < kHeaderObjectBytes)
        return SPLITER_ERR_BAD_FORMAT;
    reader_.skip(kHeaderObjectBytes - kAsfObjectHeaderBytes);
    uint32_t left = whole.size - kHeaderObjectBytes;
    bool wrapped = false;
    while (left != 0) {
        const uint64_t start = reader_.position();
        AsfObjectHeader child = reader_.object_header();
        if (reader_.code() != SPLITER_OK) return reader_.code();
        if (child.size == 0) {
            reader_.skip(left > kAsfObjectHeaderBytes ? left - kAsfObjectHeaderBytes : 0);
            return reader_.code();
        }
        if (child.size < kAsfObjectHeaderBytes) return SPLITER_ERR_BAD_FORMAT;
        const uint32_t code = read_child(child);
        if (code != SPLITER_OK) return code;
        // A child may claim more than is left. Then objects are read up to the end of the file.
        wrapped |= child.size > left;
        left -= child.size;
        if (wrapped && left != 0 && has_ended(start)) return SPLITER_ERR_BAD_FORMAT;
    }
    return SPLITER_OK;
}

uint32_t HeaderWalk::read_child(const AsfObjectHeader &child) {
    if (child.guid.first == kAsfHeaderExtensionGroup) return read_header_extension();
    if (CASFBase::CompareGUID(child.guid, kAsfFilePropertiesObject)) return read_file_properties();
    if (CASFBase::CompareGUID(child.guid, kAsfStreamPropertiesObject)) return read_stream_properties();
    reader_.skip(child.size - kAsfObjectHeaderBytes);
    return reader_.code();
}

uint32_t HeaderWalk::read_file_properties() {
    uint32_t low = 0, high = 0, send_low = 0, send_high = 0, preroll_high = 0;
    reader_.skip(16 + 8 + 8 + 8);  // identifier, size, creation date, packet count
    reader_.qword(&low, &high);
    reader_.qword(&send_low, &send_high);
    reader_.qword(&header_.preroll, &preroll_high);
    const uint64_t duration = low / kAsfUnitsPerMillisecond + uint64_t{high} * kMillisecondsPerHighHalf;
    header_.duration = duration > header_.preroll ? saturate_to_u32(duration - header_.preroll) : 0;
    reader_.skip(4 + 4);  // flags, minimum packet size
    header_.packet_size = reader_.dword();
    header_.max_bitrate = reader_.dword();
    return reader_.code();
}

uint32_t HeaderWalk::read_stream_properties() {
    const AsfGuid type = reader_.guid();
    reader_.skip(16 + 8);  // error correction type, time offset
    const uint32_t type_data_length = reader_.dword();
    const uint32_t error_correction_length = reader_.dword();
    const uint32_t stream_number = reader_.word() & 0x7F;
    reader_.skip(4);
    if (reader_.code() != SPLITER_OK) return reader_.code();
    const uint32_t code =
        type.first == kAsfAudioMediaGroup
            ? asf_read_audio_properties(&reader_, stream_number, &header_.audio)
            : asf_read_video_properties(&reader_, stream_number, type_data_length, &header_.video);
    if (code != SPLITER_OK) return code;
    reader_.skip(error_correction_length);
    return reader_.code();
}

// A malformed child ends the extension; the file is good all the same.
uint32_t HeaderWalk::read_header_extension() {
    reader_.skip(18);
    uint32_t left = reader_.dword();
    while (left != 0) {
        const uint64_t start = reader_.position();
        const AsfObjectHeader child = reader_.object_header();
        if (reader_.code() != SPLITER_OK) break;
        if (child.size == 0) {
            reader_.skip(left > kAsfObjectHeaderBytes ? left - kAsfObjectHeaderBytes : 0);
            break;
        }
        const bool is_stream = child.guid.first == kAsfExtendedStreamPropertiesGroup;
        if (child.size < (is_stream ? kExtendedStreamPropertiesBytes : kAsfObjectHeaderBytes)) break;
        if (is_stream) {
            read_extended_stream_properties(child.size);
        } else {
            reader_.skip(child.size - kAsfObjectHeaderBytes);
        }
        const bool wrapped = child.size > left;
        left -= child.size;
        if (wrapped || has_ended(start)) break;
    }
    return reader_.code();
}

void HeaderWalk::read_extended_stream_properties(uint32_t size) {
    reader_.skip(44 + 4);  // times, rates, buffer sizes, largest object, flags
    const uint32_t stream_number = reader_.word();
    reader_.skip(2);  // language
    uint32_t low = 0, high = 0;
    reader_.qword(&low, &high);
    reader_.skip(size - kExtendedStreamPropertiesBytes);
    if (reader_.code() != SPLITER_OK) return;
    for (AsfStreamSlot &slot : header_.slots) {
        if (slot.stream_number != kAsfNoStream) continue;
        slot = {stream_number, low / kAsfUnitsPerMillisecond};
        return;
    }
}

uint32_t HeaderWalk::read_data_object_header() {
    const AsfObjectHeader object = reader_.object_header();
    if (reader_.code() != SPLITER_OK) return reader_.code();
    const uint64_t size = uint64_t{object.size_high} << 32 | object.size;
    if (!CASFBase::CompareGUID(object.guid, kAsfDataObject) || size < kDataObjectBytes)
        return SPLITER_ERR_BAD_FORMAT;
    const uint64_t position = reader_.position();
    const uint64_t limit = reader_.stream_size() != 0 ? reader_.stream_size() : uint64_t{INT64_MAX};
    const uint64_t body = size - kAsfObjectHeaderBytes;
    header_.is_cut = position > limit || body > limit - position;
    header_.data_end = header_.is_cut ? limit : position + body;
    reader_.skip(16);  // file identifier
    uint32_t high = 0;
    reader_.qword(&header_.total_packets, &high);
    reader_.skip(2);
    header_.first_packet = reader_.position();
    // Streams of unknown codecs are offered when there is no other.
    if (header_.video.unrecognised_code != 0) header_.video.present = true;
    return reader_.code();
}

}  // namespace

uint32_t asf_read_header(const CASFBase &base, StreamSource *reader, AsfHeader *header) {
    asf_clear_header(header);
    HeaderWalk walk(base, reader, header);
    uint32_t code = walk.read_header_object();
    if (code == SPLITER_OK) code = walk.read_data_object_header();
    if (code != SPLITER_OK) asf_clear_header(header);
    return code;
}

}  // namespace quorv
