// Decoder-specific data from a video track's first frame; see the header.

#include "aviparser/AviSpecData.h"

#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "aviparser/AviCodecTags.h"
#include "aviparser/AviPacket.h"
#include "videoheader/H264Header.h"
#include "videoheader/Mpeg4Header.h"
#include "videoheader/StartCode.h"

namespace quorv {

namespace {

// One track may not take all the chunks that the others need, too.
constexpr uint32_t kChunksPerTrack = kAviSpecDataChunks / 4;
// Headers stand at the very start; a frame is not read further than this to find them.
constexpr uint32_t kSearchBytes = 65536;

// What one start code means for the run of headers.
enum class Unit { Header, Other, Picture, Foreign };

Unit mpeg4_unit(uint8_t code) {
    if (code >= kMpeg4FirstVol && code <= kMpeg4LastVol) return Unit::Header;
    return code == kMpeg4Vop || code == kMpeg4GroupOfVop ? Unit::Picture : Unit::Other;
}

Unit h264_unit(uint8_t nal_header) {
    const uint32_t type = nal_unit_type(nal_header);
    if (type == kNalSps || type == kNalPps) return Unit::Header;
    if (type == kNalSei || type == kNalDelimiter) return Unit::Other;
    return type >= kNalSlice && type <= kNalIdrSlice ? Unit::Picture : Unit::Foreign;
}

// The bytes in front of the first picture, when a header is among them; else 0.
uint32_t leading_headers(const uint8_t *data, uint32_t length, Unit (*classify)(uint8_t)) {
    const uint8_t *end = data + length;
    bool has_header = false;
    for (const uint8_t *at = find_start_code(data, end); end - at > ptrdiff_t{kStartCodePrefixBytes};
         at = find_start_code(at + kStartCodePrefixBytes, end)) {
        const Unit unit = classify(at[kStartCodePrefixBytes]);
        if (unit == Unit::Foreign) return 0;
        if (unit == Unit::Header) has_header = true;
        if (unit != Unit::Picture) continue;
        // A zero byte in front of the prefix belongs to the picture's start code.
        if (at > data && at[-1] == 0) --at;
        return has_header ? static_cast<uint32_t>(at - data) : 0;
    }
    return 0;
}

Code store_codec_data(AviTrack *track, const uint8_t *data, uint32_t length) {
    Owned<uint8_t[]> copy = make_array<uint8_t>(uint64_t{length} + kAviSpareBytes);
    if (copy == nullptr) return Code::NoMemory;
    memcpy(copy.get(), data, length);
    memset(copy.get() + length, 0, kAviSpareBytes);
    track->codec_data = {std::move(copy), length};
    return Code::Ok;
}

// Takes what stands at the start of the chunk in progress.
Code take_headers(AviContext *context, AviTrack *track) {
    const AviReading &reading = track->reading;
    const uint32_t size = std::min(reading.bytes_left, kSearchBytes);
    const Owned<uint8_t[]> start = make_array<uint8_t>(size);
    if (start == nullptr) return Code::NoMemory;
    uint32_t delivered = 0;
    const Code code = context->source.read_at(reading.data_position, start.get(), size, &delivered);
    if (code != Code::Ok) return code;
    const bool mpeg4 = avi_is_mpeg4(track->video.codec);
    const uint32_t length = leading_headers(start.get(), delivered, mpeg4 ? mpeg4_unit : h264_unit);
    if (length == 0) return Code::Ok;
    track->strip = {length, reading.frame_offset};
    return store_codec_data(track, start.get(), length);
}

}  // namespace

Code avi_read_specdat(AviContext *context, AviTrack *track, uint32_t *chunks_left) {
    const bool wanted = avi_is_mpeg4(track->video.codec) || track->video.codec == fourcc("264 ");
    if (!wanted || track->codec_data.length != 0) return Code::Ok;
    // The first frame is still to be read, without what the search meets on its way.
    const AviReading before = track->reading;
    const uint32_t chunks = std::min(*chunks_left, kChunksPerTrack);
    uint32_t unused = chunks;
    Code code = avi_find_chunk(context, track, AviIndexGrowth::Forbidden, &unused);
    *chunks_left -= chunks - unused;
    const bool at_end = code == Code::EndOfStream;
    if (code == Code::Ok) code = take_headers(context, track);
    track->reading = before;
    track->palette.changed = false;
    return at_end ? Code::Ok : code;
}

}  // namespace quorv
