// A file's description for programs; see the header.

#include "TrackJson.h"

#include "Text.h"

namespace quorv::tool {

namespace {

// Of the samples that a decoder gives, where the codec has none of its own.
constexpr uint32_t kDecodedBits = 16;

std::string_view type_code(const Track &track) {
    switch (track.facts->type) {
        case QUORV_TRACK_VIDEO:
            return "vide";
        case QUORV_TRACK_AUDIO:
            return "soun";
        case QUORV_TRACK_TEXT:
            return "text";
        default:
            return "";
    }
}

void add_video(Json &json, const QuorvTrack &video, uint32_t frame_rate) {
    json["width"] = video.width;
    json["height"] = video.height;
    json["frame_rate"] = frame_rate;
    if (video.bit_rate != 0) json["bit_rate"] = video.bit_rate;
}

void add_audio(Json &json, const QuorvTrack &audio) {
    json["channels"] = audio.channels;
    json["bits_per_sample"] = audio.bits_per_sample != 0 ? audio.bits_per_sample : kDecodedBits;
    json["block_align"] = audio.block_align;
    json["sample_rate"] = audio.sample_rate;
    json["bit_rate"] = audio.bit_rate;
}

Json track_json(MediaFile &media, const Track &track) {
    Json json = {{"track", track.facts->number}, {"type", type_code(track)}};
    if (!track.is_readable()) return json;
    json["codec"] = fourcc_text(track.facts->codec);
    json["duration_ms"] = track.duration_ms();
    if (track.is_video()) add_video(json, *track.facts, media.frame_rate(track));
    if (track.is_audio()) add_audio(json, *track.facts);
    json["max_frame_size"] = track.facts->max_packet_size;
    json["codec_data_size"] = track.facts->codec_data_size;
    json["seekable"] = track.facts->seekable != 0;
    return json;
}

}  // namespace

Json file_json(const std::string &name, MediaFile &media) {
    Json tracks = Json::array();
    for (const Track &track : media.tracks())
        tracks.push_back(track_json(media, track));
    return {{"file", name}, {"container", media.format()}, {"tracks", std::move(tracks)}};
}

}  // namespace quorv::tool
