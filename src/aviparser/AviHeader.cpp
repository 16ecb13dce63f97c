// The header walk: RIFF lists into track records; see the header.

#include "aviparser/AviHeader.h"

#include <string.h>

#include <algorithm>
#include <iterator>

#include "aviparser/AviAssert.h"
#include "aviparser/AviChunkReader.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviMath.h"
#include "aviparser/AviOpenDml.h"
#include "aviparser/AviRiff.h"
#include "aviparser/AviSegments.h"
#include "aviparser/AviSpecData.h"
#include "aviparser/AviStreamFormat.h"
#include "aviparser/AviUtils.h"
#include "aviparser/AviZeroRun.h"

namespace quorv {

namespace {

// A chunk of the header that is larger than this and has no known tag is media data without a "movi" list.
constexpr uint32_t kHeaderChunkLimit = 1000000;
// In the main header's flags: the frames can only be found through the index.
constexpr uint32_t kMustUseIndex = 0x20;

class HeaderWalk {
public:
    explicit HeaderWalk(AviContext *context) : context_(*context), source_(context->source) {}

    // Up to the media data. SPLITER_OK once it was found.
    uint32_t run();
    bool lost_streams() const { return stream_count_ > context_.track_count; }

private:
    uint32_t open_riff();
    uint32_t parse_list(int64_t data_start, uint32_t size, int64_t *next, bool *found_media);
    uint32_t parse_chunk(uint32_t tag, int64_t data_start, uint32_t size);
    uint32_t parse_main_header(uint32_t size);
    uint32_t parse_stream_header(uint32_t size);
    uint32_t parse_stream_fields(AviTrack *track, uint32_t type, AviChunkReader *reader);
    uint32_t cut_to_list(int64_t data_start, uint32_t size) const;
    void set_media(int64_t start, int64_t end);

    AviContext &context_;
    StreamSource &source_;
    AviTrack *current_ = nullptr;  // of the last stream header
    uint32_t stream_count_ = 0;
    int64_t list_end_ = 0;  // of the last list
    bool has_dv_ = false;
};

uint32_t HeaderWalk::open_riff() {
    static constexpr char kSignatures[][9] = {"RIFFAVI ", "RIFFAVIX", "RIFFAVI\x19", "ON2 ON2f", "RIFFAMV "};
    if (source_.move_to(0) != 0) return SPLITER_ERR_IO;
    uint8_t head[12];
    uint32_t delivered = 0;
    if (source_.read_fully(head, sizeof(head), &delivered) != 0) return SPLITER_ERR_IO;
    const bool known =
        std::any_of(std::begin(kSignatures), std::end(kSignatures), [&](const char *signature) {
            return memcmp(head, signature, 4) == 0 && memcmp(head + 8, signature + 4, 4) == 0;
        });
    if (!known) return SPLITER_ERR_IO;

    context_.riff_end = 8 + int64_t{load_le32(head + 4)};
    context_.source_size = avi_url_fsize(&source_);
    context_.file_end = context_.source_size;
    if (context_.file_end <= 0) context_.file_end = context_.riff_end == 8 ? INT64_MAX : context_.riff_end;
    return SPLITER_OK;
}

uint32_t HeaderWalk::run() {
    const uint32_t opened = open_riff();
    if (opened != SPLITER_OK) return opened;
    int64_t position = 12;
    while (position < context_.file_end) {
        uint32_t tag = 0, size = 0;
        if (source_.move_to(position) != 0 || avi_get_le32(&source_, &tag) != 0 ||
            avi_get_le32(&source_, &size) != 0) {
            return SPLITER_ERR_IO;
        }
        const int64_t data_start = avi_url_fstell(&source_);
        if (data_start < 0 || data_start > kAviMaxPosition) return SPLITER_ERR_IO;
        // A source that reports success and delivers nothing would be walked for ever, whatever it tells.
        if (data_start <= position || source_.position == position) return SPLITER_ERR_END_OF_STREAM;
        if (avi_is_zero_header(tag, size)) {
            position = avi_skip_zeros(&context_, position, context_.file_end);
            continue;
        }

        int64_t next = data_start + avi_padded(size);
        bool found_media = false;
        const uint32_t code = tag == avi_tag("LIST") ? parse_list(data_start, size, &next, &found_media)
                                                     : parse_chunk(tag, data_start, size);
        if (code != SPLITER_OK || found_media) return code;
        position = next;
    }
    return SPLITER_ERR_END_OF_STREAM;
}

uint32_t HeaderWalk::parse_list(int64_t data_start, uint32_t size, int64_t *next, bool *found_media) {
    uint32_t type = 0;
    if (avi_get_le32(&source_, &type) != 0) return SPLITER_ERR_IO;
    if (type == avi_tag("movi")) {
        set_media(data_start, size == 0 ? INT64_MAX : data_start + avi_padded(size));
        *found_media = true;
        return SPLITER_OK;
    }
    // Writers of AMV files leave the sizes of lists at 0.
    const bool has_end = size != 0 || !context_.amv;
    list_end_ = has_end ? std::min(data_start + int64_t{size}, context_.file_end) : context_.file_end;
    // Nothing of the information list reaches the interface; the other lists are walked chunk by chunk.
    if (type != avi_tag("INFO")) *next = data_start + 4;
    return SPLITER_OK;
}

void HeaderWalk::set_media(int64_t start, int64_t end) {
    context_.media_start = start;
    context_.media_end = context_.source_size > 0 ? std::min(end, context_.source_size) : end;
    context_.movi_end = context_.media_end;
}

uint32_t HeaderWalk::cut_to_list(int64_t data_start, uint32_t size) const {
    const int64_t left = std::max<int64_t>(list_end_ - data_start, 0);
    return static_cast<uint32_t>(std::min<int64_t>(left, size));
}

uint32_t HeaderWalk::parse_chunk(uint32_t tag, int64_t data_start, uint32_t size) {
    switch (tag) {
        case avi_tag("amvh"):
            context_.amv = true;
            [[fallthrough]];
        case avi_tag("avih"):
            return parse_main_header(size);
        case avi_tag("strh"):
            return parse_stream_header(size);
        case avi_tag("strf"):
            if (current_ == nullptr) return SPLITER_OK;
            return avi_read_stream_format(&context_, current_, cut_to_list(data_start, size));
        case avi_tag("strd"):
            if (current_ == nullptr) return SPLITER_OK;
            return avi_read_stream_data(&context_, current_, size);
        case avi_tag("indx"):
            // Read when the header is complete: entries are counted by what the stream's format says.
            if (current_ != nullptr) {
                current_->opendml_position = data_start;
                current_->opendml_size = size;
            }
            return SPLITER_OK;
        case avi_tag("strn"):
        case avi_tag("vprp"):
        case avi_tag("dmlh"):
            return SPLITER_OK;
        default:
            if (size > kHeaderChunkLimit) set_media(data_start - 4, INT64_MAX);
            return SPLITER_OK;
    }
}

uint32_t HeaderWalk::parse_main_header(uint32_t size) {
    AviChunkReader reader(&source_, size);
    context_.microseconds_per_frame = reader.le32();
    reader.skip(8);  // maximum bytes per second, padding granularity
    context_.non_interleaved = (reader.le32() & kMustUseIndex) != 0;
    reader.skip(16);  // total frames, initial frames, streams, suggested buffer size
    context_.main_width = reader.le32();
    context_.main_height = reader.le32();
    return reader.failed() ? SPLITER_ERR_IO : SPLITER_OK;
}

bool is_dv(uint32_t type) {
    return type == avi_tag("iavs") || type == avi_tag("ivas");
}

bool is_dv_handler(uint32_t handler) {
    return handler == avi_tag("dvsd") || handler == avi_tag("dvhd") || handler == avi_tag("dvsl");
}

uint32_t HeaderWalk::parse_stream_header(uint32_t size) {
    AviChunkReader reader(&source_, size);
    uint32_t type = reader.le32();
    const uint32_t handler = reader.le32();
    if (reader.failed()) return SPLITER_ERR_IO;
    // What follows up to the next stream header belongs to this stream, also when it is not kept.
    current_ = nullptr;
    if (type == avi_tag("pads")) return SPLITER_OK;
    ++stream_count_;
    if (context_.track_count == kAviMaxTracks) return SPLITER_ERR_BAD_FORMAT;
    AviTrack *track = avi_new_track(&context_);
    if (track == nullptr) return SPLITER_ERR_NO_MEMORY;
    avi_assert(track->stream_number <= context_.track_count, "stream_index <= pSpliter->dwTrackCount",
               "../../../src/aviparser/Avi");
    current_ = track;

    if (context_.amv) type = track->stream_number == 0 ? avi_tag("vids") : avi_tag("auds");
    if (is_dv(type)) {
        if (stream_count_ != 1 || !is_dv_handler(handler)) return SPLITER_ERR_BAD_FORMAT;
        has_dv_ = true;
        return SPLITER_OK;
    }
    if (has_dv_) return SPLITER_ERR_BAD_FORMAT;
    track->handler = handler;
    return parse_stream_fields(track, type, &reader);
}

uint32_t HeaderWalk::parse_stream_fields(AviTrack *track, uint32_t type, AviChunkReader *reader) {
    AviStreamState &state = *track->state;
    reader->skip(12);  // flags, priority, language, initial frames
    state.scale = reader->le32();
    state.rate = reader->le32();
    reader->skip(4);  // start
    track->length = reader->le32();
    state.suggested_buffer_size = reader->le32();
    reader->skip(4);  // quality
    state.sample_size = reader->le32();
    if (reader->failed()) return SPLITER_ERR_IO;

    if (state.scale == 0 || state.rate == 0) {
        const bool known = context_.microseconds_per_frame != 0;
        state.scale = known ? context_.microseconds_per_frame : 1;
        state.rate = known ? 1000000 : 25;
    }
    avi_set_pts_info(track, 64, state.scale, state.rate);
    track->duration = clamp_to_u64(avi_units_to_ms(*track, track->length));
    track->video.frame_rate = state.rate / state.scale;

    switch (type) {
        case avi_tag("auds"):
            track->type = SPLITER_TRACK_AUDIO;
            return SPLITER_OK;
        case avi_tag("vids"):
            track->type = SPLITER_TRACK_VIDEO;
            state.sample_size = 0;
            return SPLITER_OK;
        case avi_tag("dats"):
        case avi_tag("txts"):
            track->type = SPLITER_TRACK_TEXT;
            return SPLITER_OK;
        default:
            return SPLITER_ERR_BAD_FORMAT;
    }
}

uint32_t finish_track(AviContext *context, AviTrack *track, uint32_t *reads_left) {
    const uint32_t suggested = track->state->suggested_buffer_size;
    track->chunk_state = kAviNoChunk;
    track->read_position = context->media_start;
    if (track->type == SPLITER_TRACK_AUDIO) {
        SplitterAudioInfo &audio = track->audio;
        audio.duration = saturate_to_u32(track->duration);
        audio.max_frame_size =
            suggested != 0 ? suggested : saturate_to_u32(uint64_t{audio.channels} * audio.sample_rate * 2);
        return SPLITER_OK;
    }
    if (track->type != SPLITER_TRACK_VIDEO) return SPLITER_OK;
    SplitterVideoInfo &video = track->video;
    video.duration = saturate_to_u32(track->duration);
    video.max_frame_size = suggested != 0 ? suggested : picture_bytes(video.width, video.height);
    return avi_read_specdat(context, track, reads_left);
}

uint32_t finish_header(AviContext *context, uint32_t walk_code) {
    avi_find_segments(context);
    if (context->source.is_local()) {
        uint32_t code = avi_read_opendml_indexes(context);
        if (code == SPLITER_OK && !context->index_complete) code = avi_load_index(context);
        if (code != SPLITER_OK) return code;
    } else if (walk_code != SPLITER_OK) {
        return walk_code;
    }
    context->non_interleaved = false;
    uint32_t reads_left = kAviSpecDataReads;
    for (uint32_t i = 0; i < context->track_count; ++i) {
        const uint32_t code = finish_track(context, context->tracks[i], &reads_left);
        if (code != SPLITER_OK) return code;
    }
    return SPLITER_OK;
}

}  // namespace

uint32_t avi_read_header(AviContext *context) {
    avi_clear_header(context);
    HeaderWalk walk(context);
    uint32_t code = walk.run();
    if (code == SPLITER_ERR_NO_MEMORY || code == SPLITER_ERR_BUFFER_TOO_SMALL) return code;
    code = walk.lost_streams() ? uint32_t{SPLITER_ERR_BAD_FORMAT} : finish_header(context, code);
    context->header_parsed = code == SPLITER_OK;
    return code;
}

}  // namespace quorv
