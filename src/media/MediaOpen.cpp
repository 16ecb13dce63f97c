// Opens a media file: source, format, tracks.

#include "media/MediaFormats.h"
#include "media/MediaReader.h"
#include "media/VideoFacts.h"

namespace quorv {

namespace {

Code describe_track(QuorvReader *reader, uint32_t index, MediaTrack *track) {
    QuorvTrack *record = &track->record;
    Code code = reader->format->describe(reader->state, index, record);
    if (record->profile == nullptr) {
        record->profile = track->texts.profile;
        record->coding = track->texts.coding;
        record->encoder = track->texts.encoder;
    }
    if (code == Code::Ok && record->type == QUORV_TRACK_VIDEO)
        code = describe_pictures(record, &track->texts);
    bool reorders = false;
    if (code == Code::Ok && record->type == QUORV_TRACK_VIDEO) code = track_reorders(*record, &reorders);
    record->reorders = reorders ? 1 : 0;
    return code;
}

Code describe_tracks(QuorvReader *reader) {
    QuorvFile &file = reader->file;
    const uint32_t count = std::min(reader->format->track_count(reader->state), kMostMediaTracks);
    file.duration_us = -1;
    for (uint32_t i = 0; i < count; ++i) {
        Owned<MediaTrack> track = make_owned<MediaTrack>();
        if (track == nullptr) return Code::NoMemory;
        const Code code = describe_track(reader, i, track.get());
        if (code != Code::Ok) return code;
        track->selected = track->has_packets();
        file.duration_us = std::max(file.duration_us, track->record.duration_us);
        reader->tracks[i] = std::move(track);
        file.track_count = i + 1;
    }
    return count != 0 ? Code::Ok : Code::BadFormat;
}

Code try_open(QuorvReader *reader) {
    Code code = find_media_format(&reader->source, &reader->format);
    if (code == Code::Ok) code = reader->source.size(&reader->file.size);
    if (code == Code::Ok) code = reader->format->open(reader->source.callbacks(), &reader->state);
    if (code == Code::Ok) code = describe_tracks(reader);
    reader->file.container = reader->format != nullptr ? reader->format->container : QuorvContainer{};
    return code;
}

}  // namespace

// A splitter that lacked bytes has opened with less than the file holds, an index or a track.
Code open_media(QuorvReader *reader) {
    Code code = try_open(reader);
    if (code == Code::Ok && reader->source.failure() != 0) code = kSourceFailed;
    if (code == Code::Ok && reader->source.lacks_bytes()) code = Code::DataPending;
    if (code != Code::Ok) reader->close_state();
    return code;
}

}  // namespace quorv

void QuorvReader::close_state() {
    if (state != nullptr) format->close(state);
    state = nullptr;
    format = nullptr;
    for (quorv::Owned<quorv::MediaTrack> &track : tracks)
        track.reset();
    file = {};
}

QuorvReader::~QuorvReader() {
    close_state();
}
