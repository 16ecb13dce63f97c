// Opening and reading; see the header.

#include "aviparser/AviDetails.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "aviparser/AviExactTime.h"
#include "aviparser/AviFrame.h"
#include "aviparser/AviHeader.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviPacket.h"
#include "aviparser/AviPatience.h"
#include "aviparser/AviSeek.h"

namespace quorv {

namespace {

// The header is read without what is missing, bytes or memory; but that may be part of the index.
Code read_whole_header(AviContext *context) {
    const Code code = avi_read_header(context);
    if (context->source.met_pending) return Code::DataPending;
    const auto lacked_memory = [](const Owned<AviTrack> &track) { return track->index.lacked_memory; };
    const std::span<const Owned<AviTrack>> tracks = context->all_tracks();
    return std::any_of(tracks.begin(), tracks.end(), lacked_memory) ? Code::NoMemory : code;
}

}  // namespace

Code avi_open_details(const SplitterStreamSource &source, Owned<AviContext> *opened) {
    Owned<AviContext> context = avi_new_context(source);
    if (context == nullptr) return Code::NoMemory;
    context->detailed = true;
    Code code = context->source.open(StreamAccess::Read);
    if (code != Code::Ok) return code;
    code = read_whole_header(context.get());
    if (code != Code::Ok) {
        avi_close_details(std::move(context));
        return code;
    }
    for (const Owned<AviTrack> &track : context->all_tracks())
        avi_rewind_track(*context, track.get());
    *opened = std::move(context);
    return Code::Ok;
}

void avi_close_details(Owned<AviContext> context) {
    static_cast<void>(context->source.close());
}

Code avi_read_details(AviContext *context, AviTrack *track, uint8_t *buffer, uint32_t room,
                      AviFrameDetails *frame) {
    AviPatience patience(context, track);
    AviPacket packet;
    avi_init_packet(&packet);
    packet.data = buffer;
    packet.size = static_cast<int32_t>(std::min<uint32_t>(room, INT32_MAX));
    const Code code = patience.result_of(avi_read_frame(context, track, &packet));
    frame->size = static_cast<uint32_t>(packet.size);
    // A callback may fail with the same code; then no size is needed.
    if (code == Code::BufferTooSmall && frame->size <= room) return Code::Io;
    // That the end was reached is kept: it need not be searched for again.
    if (code == Code::Ok || code == Code::EndOfStream) patience.keep();
    if (code != Code::Ok) return code;
    const AviExactTime time(*track);
    frame->time_stamp = packet.dts;
    frame->time_us = time.of_units(packet.dts);
    frame->duration_us = time.of_stamp(track->reading.frame_offset) - frame->time_us;
    frame->offset = packet.position;
    return Code::Ok;
}

Code avi_peek_details(AviContext *context, AviTrack *track, uint8_t *buffer, uint32_t room, uint32_t *size) {
    const AviPatience patience(context, track);
    *size = 0;
    Code code = avi_find_chunk(context, track, AviIndexGrowth::Forbidden);
    if (code == Code::Ok) {
        const uint32_t wanted = std::min(room, track->reading.bytes_left);
        code = context->source.read_at(track->reading.data_position, buffer, wanted, size);
    }
    return patience.result_of(code);
}

bool avi_is_stated_key(const AviTrack &track, int64_t time_stamp) {
    const AviIndexArray &index = track.index;
    if (index.count == 0) return time_stamp == 0;
    const int32_t place =
        avi_index_search_timestamp(index, time_stamp, kAviSearchForward | kAviSearchAnyFrame);
    if (place < 0) return false;
    const AviIndexEntry &entry = index.entries[static_cast<uint32_t>(place)];
    return entry.timestamp == time_stamp && (entry.flags_and_size & kAviIndexStatedKey) != 0;
}

Code avi_find_indexed(AviContext *context, const AviTrack &track, Found *indexed) {
    context->source.met_pending = false;
    const Code code = avi_load_index_while(context, [&] { return track.index.count == 0; });
    *indexed = track.index.count != 0 ? Found::Yes : Found::No;
    return context->source.met_pending ? Code::DataPending : code;
}

Code avi_load_whole_index(AviContext *context) {
    context->source.met_pending = false;
    const Code code = avi_load_index_while(context, [] { return true; });
    return context->source.met_pending ? Code::DataPending : code;
}

void avi_frame_rate(const AviTrack &track, int64_t *num, int64_t *den) {
    const uint32_t scale = track.stated.scale, rate = track.stated.rate;
    const bool known = track.stated.has_rate;
    const uint32_t common = known ? std::gcd(scale, rate) : 1;
    *num = known ? rate / common : 0;
    *den = known ? scale / common : 0;
}

int64_t avi_stated_duration_us(const AviTrack &track) {
    return track.stated.length == 0 ? -1 : AviExactTime(track).of_units(track.stated.length);
}

}  // namespace quorv
