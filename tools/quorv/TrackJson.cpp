// A file's description for programs; see the header.

#include "TrackJson.h"

#include "Text.h"

namespace quorv::tool {

namespace {

void add_video(Json &json, const SplitterVideoInfo &video) {
    json["width"] = video.width;
    json["height"] = video.height;
    json["frame_rate"] = video.frame_rate;
    if (video.max_bitrate != 0) json["bit_rate"] = video.max_bitrate;
}

void add_audio(Json &json, const SplitterAudioInfo &audio) {
    json["channels"] = audio.channels;
    json["bits_per_sample"] = audio.bits_per_sample;
    json["block_align"] = audio.block_align;
    json["sample_rate"] = audio.sample_rate;
    json["bit_rate"] = audio.bit_rate;
}

Json track_json(const Track &track) {
    Json json = {{"track", track.number}, {"type", fourcc_text(track.type)}};
    if (!track.is_readable()) return json;
    json["codec"] = fourcc_text(track.codec());
    json["duration_ms"] = track.duration();
    if (const SplitterVideoInfo *video = track.video()) add_video(json, *video);
    if (const SplitterAudioInfo *audio = track.audio()) add_audio(json, *audio);
    json["max_frame_size"] = track.max_frame_size();
    json["codec_data_size"] = track.codec_data.size();
    json["seekable"] = track.seekable;
    return json;
}

}  // namespace

Json file_json(const std::string &name, const Container &container) {
    Json tracks = Json::array();
    for (const Track &track : container.tracks())
        tracks.push_back(track_json(track));
    return {{"file", name}, {"container", container.format()}, {"tracks", std::move(tracks)}};
}

}  // namespace quorv::tool
