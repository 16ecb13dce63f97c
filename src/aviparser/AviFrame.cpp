// Checks and strips packets before they are handed out; see the header.

#include "aviparser/AviFrame.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviCodecTags.h"
#include "aviparser/AviPacket.h"
#include "videoheader/Mpeg4Header.h"

namespace quorv {

namespace {

// The first frame of an MPEG-4 track shows its headers within this many bytes.
constexpr uint32_t kVolSearchBytes = 256;

bool has_vol(const AviPacket &packet) {
    const auto size = static_cast<uint32_t>(packet.size);
    ZevVideoParam param;
    return mpeg4_find_vol(packet.data, size, std::min(size, kVolSearchBytes), &param) == VIDHDR_OK;
}

Code read_checked_packet(AviContext *context, AviTrack *track, AviPacket *packet) {
    const int32_t capacity = packet->size;
    if (track->vol_search == AviVolSearch::Failed) return Code::EndOfStream;
    for (;;) {
        packet->size = capacity;
        const Code code = avi_read_packet(context, track->stream_number, packet);
        if (code != Code::Ok) return code;
        if (track->vol_search == AviVolSearch::Searching) {
            if ((packet->flags & kAviPacketKeyFrame) == 0) continue;
            const bool found = has_vol(*packet);
            track->vol_search = found ? AviVolSearch::NotNeeded : AviVolSearch::Failed;
            return found ? Code::Ok : Code::EndOfStream;
        }
        const bool must_have = avi_is_mpeg4(track->video.codec) && avi_time_stamp_ms(*track, *packet) == 0;
        if (!must_have || has_vol(*packet)) return Code::Ok;
        track->vol_search = AviVolSearch::Searching;
    }
}

// Removes what was handed out as codec data from the frame that it was taken from.
void strip_codec_data(AviTrack *track, AviPacket *packet) {
    AviPendingStrip &strip = track->strip;
    if (strip.bytes == 0 || packet->dts != strip.dts) return;
    const auto bytes = std::min(static_cast<int32_t>(strip.bytes), packet->size);
    packet->size -= bytes;
    if (packet->position >= 0) packet->position += bytes;
    memmove(packet->data, packet->data + bytes, static_cast<size_t>(packet->size));
    strip = {};
}

}  // namespace

uint32_t avi_time_stamp_ms(const AviTrack &track, const AviPacket &packet) {
    return clamp_to_u32(avi_units_to_ms(track.time_base, packet.dts));
}

Code avi_read_frame(AviContext *context, AviTrack *track, AviPacket *packet) {
    const Code code = read_checked_packet(context, track, packet);
    if (code == Code::Ok) strip_codec_data(track, packet);
    return code;
}

}  // namespace quorv
