// Opening, reading and seeking; see the header.

#include "asfparser/AsfDetails.h"

#include <string.h>

#include <utility>

#include "asfparser/AsfOpen.h"
#include "asfparser/AsfPlayback.h"
#include "splitter/ByteOrder.h"

namespace quorv {

namespace {

bool has_met_pending(AsfContext *context) {
    AsfPacketParser &packets = context->data_parser->Packets();
    const AsfDataLayout &layout = packets.layout();
    return context->reader.met_pending || packets.state_of(layout.video_stream).reader.met_pending ||
           packets.state_of(layout.audio_stream).reader.met_pending;
}

Code find_key_frame(AsfContext *context, AsfSeekTarget target, AsfObjectStart *start) {
    CASFDataObjectParser &parser = *context->data_parser;
    const uint32_t stream = context->header.video.stream_number;
    const AsfPosition before = parser.Position(stream);
    const Code code = context->index_parser->FindKeyFrame(target, start);
    // The search has used the stream's entries.
    parser.SetPosition(stream, code == Code::Ok ? start->position : before);
    return code;
}

}  // namespace

bool asf_has_signature(const uint8_t *head) {
    AsfGuid guid = {load_le32(head),
                    static_cast<uint16_t>(load_le16(head + 4)),
                    static_cast<uint16_t>(load_le16(head + 6)),
                    {}};
    memcpy(guid.rest, head + 8, sizeof(guid.rest));
    return CASFBase::CompareGUID(guid, kAsfHeaderObject);
}

Code asf_open_details(const SplitterStreamSource &source, Owned<AsfContext> *opened) {
    Owned<AsfContext> context = asf_new_context(source);
    if (context == nullptr) return Code::NoMemory;
    const Code code = asf_open(context.get());
    if (code != Code::Ok) return code;
    // The file is played without what is missing; but that may be the index, or the first packets.
    if (has_met_pending(context.get())) return Code::DataPending;
    context->header.video.codec_data.first = false;
    context->header.audio.codec_data.first = false;
    *opened = std::move(context);
    return Code::Ok;
}

Code asf_read_details(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size,
                      AsfObject *object) {
    const Code code = asf_prime(context);
    return code == Code::Ok ? asf_read_object(context, track, buffer, size, object) : code;
}

Code asf_seek_details(AsfContext *context, uint32_t track, AsfSeekTarget target, uint32_t *reached) {
    Code code = asf_prime(context);
    if (code != Code::Ok) return code;
    CASFDataObjectParser &parser = *context->data_parser;
    const bool video = context->is_video(track);
    AsfTimeBaseScope time_base(&parser.Packets());
    *reached = target.time;
    if (video) {
        AsfObjectStart start = {};
        code = find_key_frame(context, target, &start);
        if (code == Code::Ok) *reached = asf_reported_time(start.pts);
    } else {
        code = parser.SeekAudio(reached);
    }
    if (code == Code::EndOfStream && target.time == 0) {
        parser.SetPosition(track - 1, {0, 0});
        code = Code::Ok;
    }
    if (code != Code::Ok) return code;
    time_base.keep();
    (video ? context->video : context->audio) = {*reached, false};
    return Code::Ok;
}

AsfTrackMark asf_mark_track(AsfContext *context, uint32_t track) {
    const AsfStreamState &state = context->data_parser->Packets().state_of(track - 1);
    return {state.position, state.expected_pts, context->is_video(track) ? context->video : context->audio};
}

void asf_take_track_back(AsfContext *context, uint32_t track, const AsfTrackMark &mark) {
    CASFDataObjectParser &parser = *context->data_parser;
    parser.SetPosition(track - 1, mark.position);
    parser.Packets().state_of(track - 1).expected_pts = mark.expected_pts;
    (context->is_video(track) ? context->video : context->audio) = mark.progress;
}

int64_t asf_stated_duration_us(const AsfHeader &header) {
    if (header.duration == 0) return -1;
    const uint64_t whole = header.play_duration / 10;
    return static_cast<int64_t>(whole) - int64_t{header.preroll} * 1000;
}

}  // namespace quorv
