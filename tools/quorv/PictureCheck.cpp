// Compares picture sizes; see the header.

#include "PictureCheck.h"

#include <fmt/format.h>
#include <quorv/video_header.h>

#include <algorithm>

#include "JpegHeader.h"

namespace quorv::tool {

namespace {

// Blocks of pixels; what a picture has beyond its size is cut away when it is shown.
constexpr uint32_t kMacroblock = 16;
// Of a frame those are looked at that may hold its headers.
constexpr size_t kPictureHeadBytes = 4096;
constexpr uint8_t kParameterSet = 7;

ZevVideoParam h264_size(std::span<const uint8_t> data) {
    ZevVideoParam size = {};
    std::vector<uint32_t> starts(data.size() / 3 + 1);
    starts.resize(std::min<size_t>(ZEV_H264_GetNALHdr(data.data(), static_cast<uint32_t>(data.size()),
                                                      starts.data(), static_cast<uint32_t>(starts.size())),
                                   starts.size()));
    for (const uint32_t start : starts) {
        const std::span<const uint8_t> unit = data.subspan(start);
        if (unit.size() > 3 && (unit[3] & 0x1F) == kParameterSet &&
            ZEV_H264_GetVideoParam(&size, unit.data(), static_cast<uint32_t>(unit.size())) == VIDHDR_OK)
            break;
    }
    return size;
}

ZevVideoParam mpeg4_size(std::span<const uint8_t> data) {
    ZevVideoParam size = {};
    const bool found =
        ZEV_MPEG4_GetVideoParam(data.data(), static_cast<uint32_t>(data.size()), &size) == VIDHDR_OK;
    return found ? size : ZevVideoParam{};
}

ZevVideoParam jpeg_size(std::span<const uint8_t> data) {
    const JpegHeader header = find_jpeg_header(data);
    return {header.width, header.height, 0};
}

uint32_t in_blocks(uint32_t pixels) {
    return (pixels + kMacroblock - 1) / kMacroblock;
}

}  // namespace

PictureCheck::Size PictureCheck::find_size(std::span<const uint8_t> data) const {
    ZevVideoParam size = {};
    if (track_.facts->framing == QUORV_FRAMING_ANNEX_B) size = h264_size(data);
    if (track_.facts->framing == QUORV_FRAMING_MPEG4_VISUAL) size = mpeg4_size(data);
    if (track_.facts->framing == QUORV_FRAMING_JPEG) size = jpeg_size(data);
    return {size.width, size.height};
}

void PictureCheck::take(const QuorvPacket &packet) {
    if (tries_left_ == 0) return;
    const auto *data = static_cast<const uint8_t *>(packet.data);
    const std::span<const uint8_t> head(data, std::min(packet.size, kPictureHeadBytes));
    size_ = find_size(head);
    // The headers that the container has in front of the stream count where the stream has none.
    if (size_.width == 0) size_ = find_size(track_.codec_data());
    --tries_left_;
    if (size_.width == 0) return;
    tries_left_ = 0;
    offset_ = packet.offset;
    time_ms_ = packet.time_us / kMicroseconds;
}

void PictureCheck::finish(std::vector<Finding> &findings) const {
    const QuorvTrack &facts = *track_.facts;
    if (size_.width == 0 || size_.height == 0) return;
    const uint32_t width = in_blocks(size_.width), height = in_blocks(size_.height);
    // Of interlaced pictures, each JPEG may be one of two fields.
    const bool is_field = facts.framing == QUORV_FRAMING_JPEG && in_blocks((facts.height + 1) / 2) == height;
    // Rows that interlaced H.264 crops are not all counted.
    const bool fits = width == in_blocks(facts.width) && (height == in_blocks(facts.height) || is_field);
    if (fits) return;
    findings.push_back({.kind = "codec_header",
                        .track = facts.number,
                        .offset = offset_,
                        .time_ms = time_ms_,
                        .text = fmt::format("the pictures have {}x{} pixels, the file says {}x{}",
                                            size_.width, size_.height, facts.width, facts.height)});
}

}  // namespace quorv::tool
