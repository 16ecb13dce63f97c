// Decoder-specific data from a video track's first frame; see the header.

#include "aviparser/AviSpecData.h"

#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "aviparser/AviCodecTags.h"
#include "aviparser/AviMemory.h"
#include "aviparser/AviPacket.h"
#include "videoheader/H264Header.h"
#include "videoheader/Mpeg4Header.h"
#include "videoheader/StartCode.h"

namespace quorv {

namespace {

// One track may not take all the reads that the others need, too.
constexpr uint32_t kReadsPerTrack = kAviSpecDataReads / 4;
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

uint32_t store_codec_data(AviTrack *track, const uint8_t *data, uint32_t length) {
    auto *copy = static_cast<uint8_t *>(MMemAlloc(nullptr, size_t{length} + kAviSpareBytes));
    if (copy == nullptr) return SPLITER_ERR_NO_MEMORY;
    memcpy(copy, data, length);
    memset(copy + length, 0, kAviSpareBytes);
    avi_freep(&track->codec_data);
    track->codec_data = copy;
    track->codec_data_length = length;
    return SPLITER_OK;
}

uint32_t take_headers(AviContext *context, AviTrack *track, int64_t empty_duration) {
    const AviStreamState &state = *track->state;
    const uint32_t size = std::min(state.bytes_left, kSearchBytes);
    AviPacket frame;
    uint32_t result = avi_new_packet(&frame, static_cast<int32_t>(size));
    if (result != SPLITER_OK) return result;
    uint32_t delivered = 0;
    result = context->source.move_to(state.data_position);
    if (result == SPLITER_OK) result = context->source.read_fully(frame.data, size, &delivered);
    if (result == SPLITER_OK) {
        const bool mpeg4 = avi_is_mpeg4(track->video.codec);
        const uint32_t length = leading_headers(frame.data, delivered, mpeg4 ? mpeg4_unit : h264_unit);
        if (length != 0) {
            result = store_codec_data(track, frame.data, length);
            track->strip = {length, state.frame_offset + empty_duration};
        }
    }
    avi_free_packet(&frame);
    return result;
}

}  // namespace

uint32_t avi_read_specdat(AviContext *context, AviTrack *track, uint32_t *reads_left) {
    const bool wanted = avi_is_mpeg4(track->video.codec) || track->video.codec == fourcc("264 ");
    if (!wanted || track->codec_data_length != 0) return SPLITER_OK;
    int64_t empty_duration = 0;
    const uint32_t reads = std::min(*reads_left, kReadsPerTrack);
    uint32_t unused = reads;
    uint32_t code = avi_find_chunk(context, track, AviIndexGrowth::Forbidden, &empty_duration, &unused);
    *reads_left -= reads - unused;
    if (code == SPLITER_OK) {
        code = take_headers(context, track, empty_duration);
    } else if (code == SPLITER_ERR_END_OF_STREAM) {
        code = SPLITER_OK;
    }
    // The first frame is still to be read.
    track->chunk_state = kAviNoChunk;
    track->state->bytes_left = 0;
    track->state->palette_changed = false;
    return code;
}

}  // namespace quorv
