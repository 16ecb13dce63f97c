// Tells what a file is that the library does not read; see the header.

#include "Format.h"

#include <fmt/format.h>
#include <quorv/quorv.h>
#include <quorv/video_header.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace quorv::tool {

namespace {

// What a Header Object has at least, and any object of ASF.
constexpr uint64_t kAsfHeaderBytes = 30, kAsfObjectBytes = 24;

bool has_at(std::span<const uint8_t> head, size_t offset, std::string_view bytes) {
    return head.size() >= offset && head.size() - offset >= bytes.size() &&
           std::equal(bytes.begin(), bytes.end(), head.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

// Little-endian, 0 when the bytes are not there.
uint64_t number_at(std::span<const uint8_t> head, size_t offset, size_t bytes) {
    uint64_t number = 0;
    for (size_t i = bytes; i > 0 && offset + bytes <= head.size(); --i)
        number = number << 8 | head[offset + i - 1];
    return number;
}

// The bytes behind the start codes of a stream that begins with one.
std::vector<uint8_t> start_code_values(std::span<const uint8_t> head) {
    const auto first = std::find_if(head.begin(), head.end(), [](uint8_t byte) { return byte != 0; });
    if (first == head.end() || *first != 1 || first - head.begin() < 2) return {};
    std::vector<uint32_t> offsets(head.size() / 3 + 1);
    offsets.resize(ZEV_H264_GetNALHdr(head.data(), static_cast<uint32_t>(head.size()), offsets.data(),
                                      static_cast<uint32_t>(offsets.size())));
    std::vector<uint8_t> values;
    for (const uint32_t offset : offsets) {
        if (head.size() - offset > 3) values.push_back(head[offset + 3]);
    }
    return values;
}

// No NAL unit sets the highest bit, and the types 0 and 22 on are in no plain H.264 stream.
bool is_h264(const std::vector<uint8_t> &values) {
    const auto is_plain = [](uint8_t value) {
        return value < 0x80 && (value & 0x1F) != 0 && (value & 0x1F) < 22;
    };
    const auto is_slice_or_sps = [](uint8_t value) {
        const int type = value & 0x1F;
        return type == 1 || type == 5 || type == 7;
    };
    return std::all_of(values.begin(), values.end(), is_plain) &&
           std::any_of(values.begin(), values.end(), is_slice_or_sps);
}

// Whether all bytes are ones that text files hold.
bool is_text(std::span<const uint8_t> head) {
    return std::all_of(head.begin(), head.end(),
                       [](uint8_t byte) { return byte >= 0x20 || (byte >= '\t' && byte <= '\r'); });
}

// A file that has no more than these bytes may be damaged, and is known all the same.
bool library_knows(std::span<const uint8_t> head) {
    QuorvReader *reader = nullptr;
    const QuorvResult result = quorv_open_memory(head.data(), head.size(), &reader);
    quorv_close(reader);
    return result != QUORV_ERR_NOT_MEDIA;
}

// Objects, layers and what surrounds them, with a layer or a plane among them. The start codes of slices and
// of groups of pictures that older video formats have are none of these.
bool is_mpeg4(const std::vector<uint8_t> &values) {
    const auto is_known = [](uint8_t value) { return value <= 0x2F || (value >= 0xB0 && value <= 0xB6); };
    const auto is_layer_or_plane = [](uint8_t value) {
        return (value >= 0x20 && value <= 0x2F) || value == 0xB6;
    };
    return std::all_of(values.begin(), values.end(), is_known) &&
           std::any_of(values.begin(), values.end(), is_layer_or_plane);
}

}  // namespace

bool begins_as_mpeg_audio(std::span<const uint8_t> head) {
    QuorvReader *reader = nullptr;
    const QuorvResult result = quorv_open_memory(head.data(), head.size(), &reader);
    const bool is_audio = result == QUORV_OK && quorv_file(reader)->container == QUORV_CONTAINER_MPEG_AUDIO;
    quorv_close(reader);
    return is_audio || find_format(head) == Format::Tagged;
}

std::string why_no_tracks(std::span<const uint8_t> head, uint64_t file_size) {
    const uint64_t riff_bytes = number_at(head, 4, 4) + 8, asf_bytes = number_at(head, 16, 8);
    if (has_at(head, 0, "RIFF")) {
        if (riff_bytes > file_size)
            return fmt::format("no tracks; truncated: its header declares {} bytes, the file has {}",
                               riff_bytes, file_size);
    } else if (asf_bytes > file_size) {
        return fmt::format("no tracks; truncated: its header alone has {} bytes, the file has {}", asf_bytes,
                           file_size);
    } else if (asf_bytes >= kAsfHeaderBytes && file_size - asf_bytes < kAsfObjectBytes) {
        return fmt::format(
            "no tracks; truncated: it ends behind its header of {} bytes, all media data are missing",
            asf_bytes);
    }
    return "no tracks: the file's header is damaged or cut short";
}

Format find_format(std::span<const uint8_t> head) {
    const std::vector<uint8_t> values = start_code_values(head);
    if (is_h264(values)) return Format::H264;
    if (is_mpeg4(values)) return Format::Mpeg4;
    if (has_at(head, 0, "ID3")) return Format::Tagged;
    return is_text(head) ? Format::Text : Format::Unknown;
}

bool may_be_media(std::span<const uint8_t> head) {
    const Format format = find_format(head);
    return format == Format::Tagged || (format == Format::Unknown && library_knows(head));
}

}  // namespace quorv::tool
