// The header walk: RIFF lists into track records; see the header.

#include "aviparser/AviHeader.h"
#include "aviparser/AviIndex.h"
#include "aviparser/AviSegments.h"

#include <string.h>

#include <algorithm>
#include <iterator>

#include "aviparser/AviChunkReader.h"
#include "aviparser/AviExactTime.h"
#include "aviparser/AviOpenDml.h"
#include "aviparser/AviRiff.h"
#include "aviparser/AviSpecData.h"
#include "aviparser/AviStreamFormat.h"
#include "aviparser/AviUtils.h"
#include "aviparser/AviZeroRun.h"

namespace quorv {

namespace {

// A chunk of the header that is larger than this and has no known tag is media data without a "movi" list.
constexpr uint32_t kHeaderChunkLimit = 1000000;
// Half a second of sound at 192 kbit/s: as far as writers put it from its picture.
constexpr uint32_t kSeenBytes = 14336;

class HeaderWalk {
public:
    explicit HeaderWalk(AviContext *context) : context_(*context), source_(context->source) {}

    // Up to the media data. Code::Ok once it was found.
    Code run();
    bool lost_streams() const { return stream_count_ > context_.track_count; }

private:
    struct Chunk {
        uint32_t tag, size;
        int64_t data_start;
    };

    Code open_riff();
    Code read_chunk_header(int64_t position, Chunk *chunk);
    Code parse_list(const Chunk &list, int64_t *next);
    Code parse_chunk(const Chunk &chunk);
    Code parse_main_header(uint32_t size);
    Code parse_stream_header(uint32_t size);
    Code parse_stream_fields(AviTrack *track, uint32_t type, AviChunkReader *reader);
    uint32_t cut_to_list(const Chunk &chunk) const;
    void set_media(int64_t start, int64_t end);

    AviContext &context_;
    StreamSource &source_;
    AviTrack *current_ = nullptr;  // of the last stream header
    uint32_t stream_count_ = 0;
    int64_t list_end_ = 0;  // of the last list
    bool has_dv_ = false;
    bool at_media_ = false;
};

Code HeaderWalk::open_riff() {
    uint8_t head[kAviSignatureBytes];
    uint32_t delivered = 0;
    if (source_.read_at(0, head, sizeof(head), &delivered) != Code::Ok) return Code::Io;
    if (!avi_has_signature(head)) return Code::Io;

    AviMedia &media = context_.media;
    media.riff_end = 8 + int64_t{load_le32(head + 4)};
    media.source_size = avi_url_fsize(&source_);
    media.file_end = media.source_size;
    if (!media.size_known()) media.file_end = media.riff_end == 8 ? INT64_MAX : media.riff_end;
    return Code::Ok;
}

Code HeaderWalk::read_chunk_header(int64_t position, Chunk *chunk) {
    if (source_.move_to(position) != Code::Ok || avi_get_le32(&source_, &chunk->tag) != Code::Ok ||
        avi_get_le32(&source_, &chunk->size) != Code::Ok) {
        return Code::Io;
    }
    chunk->data_start = avi_url_fstell(&source_);
    if (chunk->data_start < 0 || chunk->data_start > kAviMaxPosition) return Code::Io;
    // A source that reports success and delivers nothing would be walked for ever, whatever it tells.
    const bool advances = chunk->data_start > position && source_.position != position;
    return advances ? Code::Ok : Code::EndOfStream;
}

Code HeaderWalk::run() {
    const Code opened = open_riff();
    if (opened != Code::Ok) return opened;
    int64_t position = 12;
    while (position < context_.media.file_end) {
        Chunk chunk = {};
        Code code = read_chunk_header(position, &chunk);
        if (code != Code::Ok) return code;
        if (avi_is_zero_header(chunk.tag, chunk.size)) {
            position = avi_skip_zeros(&context_, position, context_.media.file_end);
            continue;
        }
        position = chunk.data_start + avi_padded(chunk.size);
        code = chunk.tag == avi_tag("LIST") ? parse_list(chunk, &position) : parse_chunk(chunk);
        if (code != Code::Ok || at_media_) return code;
    }
    return Code::EndOfStream;
}

// *next is where the list ends; it moves to the list's first chunk where that is read next.
Code HeaderWalk::parse_list(const Chunk &list, int64_t *next) {
    const int64_t start = list.data_start;
    uint32_t type = 0;
    if (avi_get_le32(&source_, &type) != Code::Ok) return Code::Io;
    if (type == avi_tag("movi")) {
        set_media(start, list.size == 0 ? INT64_MAX : start + avi_padded(list.size));
        at_media_ = true;
        return Code::Ok;
    }
    // Writers of AMV files leave the sizes of lists at 0.
    const int64_t file_end = context_.media.file_end;
    const bool has_end = list.size != 0 || !context_.main.amv;
    list_end_ = has_end ? std::min(start + int64_t{list.size}, file_end) : file_end;
    // Nothing of the information list reaches the interface; the other lists are walked chunk by chunk.
    if (type != avi_tag("INFO")) *next = start + 4;
    return Code::Ok;
}

void HeaderWalk::set_media(int64_t start, int64_t end) {
    AviMedia &media = context_.media;
    media.start = start;
    media.end = media.size_known() ? std::min(end, media.source_size) : end;
    media.movi_end = media.end;
}

uint32_t HeaderWalk::cut_to_list(const Chunk &chunk) const {
    const int64_t left = std::max<int64_t>(list_end_ - chunk.data_start, 0);
    return static_cast<uint32_t>(std::min<int64_t>(left, chunk.size));
}

Code HeaderWalk::parse_chunk(const Chunk &chunk) {
    switch (chunk.tag) {
        case avi_tag("amvh"):
            context_.main.amv = true;
            [[fallthrough]];
        case avi_tag("avih"):
            return parse_main_header(chunk.size);
        case avi_tag("strh"):
            return parse_stream_header(chunk.size);
        case avi_tag("strf"):
            if (current_ == nullptr) return Code::Ok;
            return avi_read_stream_format(&context_, current_, cut_to_list(chunk));
        case avi_tag("strd"):
            if (current_ == nullptr) return Code::Ok;
            return avi_read_stream_data(&context_, current_, chunk.size);
        case avi_tag("indx"):
            // Read when the header is complete: entries are counted by what the stream's format says.
            if (current_ != nullptr) current_->opendml = {chunk.data_start, chunk.size};
            return Code::Ok;
        case avi_tag("strn"):
        case avi_tag("vprp"):
        case avi_tag("dmlh"):
            return Code::Ok;
        default:
            if (chunk.size > kHeaderChunkLimit) set_media(chunk.data_start - 4, INT64_MAX);
            return Code::Ok;
    }
}

Code HeaderWalk::parse_main_header(uint32_t size) {
    AviChunkReader reader(&source_, size);
    AviMainHeader &main = context_.main;
    main.microseconds_per_frame = reader.le32();
    // Maximum bytes per second, padding granularity, flags, total frames, initial frames, streams, suggested
    // buffer size. Of the flags, "must use index" is not believed: the index itself tells.
    reader.skip(28);
    main.width = reader.le32();
    main.height = reader.le32();
    return reader.failed() ? Code::Io : Code::Ok;
}

bool is_dv(uint32_t type) {
    return type == avi_tag("iavs") || type == avi_tag("ivas");
}

bool is_dv_handler(uint32_t handler) {
    return handler == avi_tag("dvsd") || handler == avi_tag("dvhd") || handler == avi_tag("dvsl");
}

Code HeaderWalk::parse_stream_header(uint32_t size) {
    AviChunkReader reader(&source_, size);
    uint32_t type = reader.le32();
    const uint32_t handler = reader.le32();
    if (reader.failed()) return Code::Io;
    // What follows up to the next stream header belongs to this stream, also when it is not kept.
    current_ = nullptr;
    if (type == avi_tag("pads")) return Code::Ok;
    ++stream_count_;
    if (context_.track_count == kAviMaxTracks) return Code::BadFormat;
    AviTrack *track = avi_new_track(&context_);
    if (track == nullptr) return Code::NoMemory;
    avi_assert(track->stream_number <= context_.track_count, "stream_index <= pSpliter->dwTrackCount",
               "../../../src/aviparser/Avi");
    current_ = track;

    if (context_.main.amv) type = track->stream_number == 0 ? avi_tag("vids") : avi_tag("auds");
    track->stated.format_tag = handler;
    if (is_dv(type)) {
        if (stream_count_ != 1 || !is_dv_handler(handler)) return Code::BadFormat;
        has_dv_ = true;
        return Code::Ok;
    }
    if (has_dv_) return Code::BadFormat;
    track->handler = handler;
    return parse_stream_fields(track, type, &reader);
}

Code HeaderWalk::parse_stream_fields(AviTrack *track, uint32_t type, AviChunkReader *reader) {
    reader->skip(12);  // flags, priority, language, initial frames
    uint32_t scale = reader->le32(), rate = reader->le32();
    reader->skip(4);                         // start
    const uint32_t length = reader->le32();  // in frames or samples
    track->suggested_buffer_size = reader->le32();
    reader->skip(4);  // quality
    track->sampling.sample_size = reader->le32();
    if (reader->failed()) return Code::Io;

    const uint32_t microseconds = context_.main.microseconds_per_frame;
    track->stated.has_rate = (scale != 0 && rate != 0) || microseconds != 0;
    if (scale == 0 || rate == 0) {
        scale = microseconds != 0 ? microseconds : 1;
        rate = microseconds != 0 ? 1000000 : 25;
    }
    avi_set_pts_info(track, 64, scale, rate);
    track->stated.scale = scale;
    track->stated.rate = rate;
    avi_set_exact_unit(&track->stated);
    track->stated.length = length;
    track->duration = clamp_to_u64(avi_units_to_ms(track->time_base, length));
    track->video.frame_rate = rate / scale;

    switch (type) {
        case avi_tag("auds"):
            track->type = SPLITER_TRACK_AUDIO;
            return Code::Ok;
        case avi_tag("vids"):
            track->type = SPLITER_TRACK_VIDEO;
            track->sampling.sample_size = 0;
            return Code::Ok;
        case avi_tag("dats"):
        case avi_tag("txts"):
            track->type = SPLITER_TRACK_TEXT;
            return Code::Ok;
        default:
            return Code::BadFormat;
    }
}

Code finish_track(AviContext *context, AviTrack *track, uint32_t *chunks_left) {
    const uint32_t suggested = track->suggested_buffer_size;
    avi_move_track(track, context->media.start, 0);
    if (track->type == SPLITER_TRACK_AUDIO) {
        SplitterAudioInfo &audio = track->audio;
        audio.duration = saturate_to_u32(track->duration);
        audio.max_frame_size =
            suggested != 0 ? suggested : saturate_to_u32(uint64_t{audio.channels} * audio.sample_rate * 2);
        return Code::Ok;
    }
    if (track->type != SPLITER_TRACK_VIDEO) return Code::Ok;
    SplitterVideoInfo &video = track->video;
    video.duration = saturate_to_u32(track->duration);
    video.max_frame_size = suggested != 0 ? suggested : picture_bytes(video.width, video.height);
    return avi_read_specdat(context, track, chunks_left);
}

Code read_indexes(AviContext *context) {
    const Code code = avi_read_opendml_indexes(context);
    if (code != Code::Ok || context->idx1.complete) return code;
    return avi_load_index(context);
}

Code finish_header(AviContext *context, Code walk_code) {
    avi_find_segments(context);
    const bool local = context->source.is_local();
    if (!local && walk_code != Code::Ok) return walk_code;
    const Code code = local ? read_indexes(context) : Code::Ok;
    if (code != Code::Ok) return code;
    // Only what the index repeats from here on makes the tracks follow it. The first block of a local file's
    // index has been read; whatever it repeats, its frames are counted in the order of the file.
    context->non_interleaved = false;
    uint32_t chunks_left = kAviSpecDataChunks;
    for (const Owned<AviTrack> &track : context->all_tracks()) {
        const Code finished = finish_track(context, track.get(), &chunks_left);
        if (finished != Code::Ok) return finished;
    }
    return Code::Ok;
}

}  // namespace

bool avi_has_signature(const uint8_t *head) {
    static constexpr char kSignatures[][9] = {"RIFFAVI ", "RIFFAVIX", "RIFFAVI\x19", "ON2 ON2f", "RIFFAMV "};
    return std::any_of(std::begin(kSignatures), std::end(kSignatures), [&](const char *signature) {
        return memcmp(head, signature, 4) == 0 && memcmp(head + 8, signature + 4, 4) == 0;
    });
}

Code avi_read_header(AviContext *context) {
    avi_clear_header(context);
    if (context->source.is_local()) context->window.enlarge(kSeenBytes);
    HeaderWalk walk(context);
    Code code = walk.run();
    if (code == Code::NoMemory || code == Code::BufferTooSmall) return code;
    code = walk.lost_streams() ? Code::BadFormat : finish_header(context, code);
    context->header_parsed = code == Code::Ok;
    return code;
}

}  // namespace quorv
