// A file's description for programs; see the header.

#include "TrackJson.h"

#include <fmt/format.h>

#include "Text.h"
#include "TrackFacts.h"

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

std::string ratio_text(const QuorvRational &ratio) {
    return fmt::format("{}:{}", ratio.num, ratio.den);
}

void add_shape(Json &json, const QuorvTrack &video, const TrackFacts &facts) {
    json["display_aspect"] = aspect_text(video, facts.pixel_aspect);
    if (facts.pixel_aspect.den != 0) json["pixel_aspect"] = ratio_text(facts.pixel_aspect);
    if (facts.scan != QUORV_SCAN_UNKNOWN) json["interlaced"] = facts.scan == QUORV_SCAN_INTERLACED;
}

void add_texts(Json &json, const TrackFacts &facts) {
    const std::pair<const char *, const std::string &> texts[] = {{"profile", facts.profile},
                                                                  {"coding", facts.coding},
                                                                  {"encoder", facts.encoder},
                                                                  {"language", facts.language}};
    for (const auto &[key, text] : texts) {
        if (!text.empty()) json[key] = text;
    }
}

void add_interleaving(Json &json, const Interleaving &found) {
    json["interleave_ms"] = found.chunk_ms;
    json["interleave_lead_ms"] = found.lead_ms;
    if (found.is_aligned) json["interleave_aligned"] = *found.is_aligned;
}

// Beside the keys that there have always been.
void add_facts(Json &json, const Track &track, const TrackFacts &facts) {
    const QuorvTrack &record = *track.facts;
    json["codec_name"] = record.codec_name;
    if (const std::string tag = tag_text(record); !tag.empty()) json["tag"] = tag;
    if (facts.frame_rate.den != 0) {
        json["frame_rate_num"] = facts.frame_rate.num;
        json["frame_rate_den"] = facts.frame_rate.den;
    }
    if (!json.contains("bit_rate") && facts.bit_rate != 0) json["bit_rate"] = facts.bit_rate;
    if (facts.survey) json["bytes"] = facts.survey->bytes;
    if (track.is_video()) add_shape(json, record, facts);
    add_texts(json, facts);
    if (facts.interleaving) add_interleaving(json, *facts.interleaving);
    if (facts.rate_kind != QUORV_RATE_UNKNOWN)
        json["bit_rate_kind"] = facts.rate_kind == QUORV_RATE_CONSTANT ? "constant" : "variable";
    if (record.sample_count != 0) json["samples"] = record.sample_count;
    if (record.trim_front != 0 || record.trim_back != 0) {
        json["trim_front"] = record.trim_front;
        json["trim_back"] = record.trim_back;
    }
}

Json tags_json(const Tags &tags) {
    Json json = Json::object();
    for (const auto &[name, text] : tags.texts())
        json[name] = text;
    return json;
}

Json track_json(MediaFile &media, const Track &track, const Tags &tags) {
    Json json = {{"track", track.facts->number}, {"type", type_code(track)}};
    if (!track.is_readable()) return json;
    json["codec"] = fourcc_text(track.facts->codec);
    json["duration_ms"] = track.duration_ms();
    if (track.is_video()) add_video(json, *track.facts, media.frame_rate(track));
    if (track.is_audio()) add_audio(json, *track.facts);
    json["max_frame_size"] = track.facts->max_packet_size;
    json["codec_data_size"] = track.facts->codec_data_size;
    json["seekable"] = track.facts->seekable != 0;
    add_facts(json, track, find_facts(media, track, tags));
    return json;
}

}  // namespace

Json file_json(const std::string &name, const FileSource &file, MediaFile &media, const Tags &tags) {
    Json tracks = Json::array();
    for (const Track &track : media.tracks())
        tracks.push_back(track_json(media, track, tags));
    Json json = {{"file", name}, {"container", media.format()}, {"tracks", std::move(tracks)}};
    json["size"] = file.size();
    if (media.facts().duration_us >= 0) json["duration_ms"] = media.facts().duration_us / 1000;
    if (!tags.texts().empty()) json["tags"] = tags_json(tags);
    for (const Cover &cover : tags.covers())
        json["pictures"].push_back({{"type", cover.type}, {"bytes", cover.bytes}});
    return json;
}

}  // namespace quorv::tool
