// How the sound of an AVI file lies among its pictures; see the header.

#include "Interleaving.h"

#include <algorithm>

namespace quorv::tool {

namespace {

// So many of the first chunks tell where they all begin.
constexpr int kChunksLookedAt = 16;
constexpr int kMostChunksInFront = 4096;

bool begins_with_mpeg_frame(std::span<const uint8_t> chunk) {
    return chunk.size() >= 2 && chunk[0] == 0xFF && (chunk[1] & 0xE0) == 0xE0;
}

// Whether the chunk begins with a frame, or holds whole samples.
std::optional<bool> is_aligned(const QuorvTrack &sound, std::span<const uint8_t> chunk) {
    if (sound.framing == QUORV_FRAMING_MPEG_AUDIO) return begins_with_mpeg_frame(chunk);
    const bool has_blocks = sound.framing == QUORV_FRAMING_PCM || sound.framing == QUORV_FRAMING_BLOCKS;
    if (!has_blocks || sound.block_align == 0) return std::nullopt;
    return chunk.size() % sound.block_align == 0;
}

// Goes over the sound in front of the place where the pictures begin.
void look_at_start(MediaFile &media, const Track &track, uint64_t pictures, Interleaving *found) {
    Frame frame;
    for (int i = 0; i < kMostChunksInFront && media.try_frame(track, frame); ++i) {
        const bool is_in_front = frame.offset && *frame.offset < pictures && found->lead_ms < kLongestLeadMs;
        if (i >= kChunksLookedAt && !is_in_front) return;
        if (is_in_front) found->lead_ms = frame.time_ms + frame.duration_ms;
        if (i >= kChunksLookedAt || frame.data.empty()) continue;
        const std::optional<bool> aligned = is_aligned(*track.facts, frame.data);
        found->is_aligned = aligned ? std::optional(*aligned && found->is_aligned.value_or(true)) : aligned;
    }
}

}  // namespace

std::optional<Interleaving> find_interleaving(MediaFile &media, const Track &sound) {
    if (!sound.is_audio() || media.facts().container != QUORV_CONTAINER_AVI) return std::nullopt;
    const std::vector<Track> &tracks = media.tracks();
    const auto pictures =
        std::find_if(tracks.begin(), tracks.end(), [](const Track &track) { return track.is_video(); });
    const std::optional<QuorvSurvey> survey = media.survey(sound);
    if (pictures == tracks.end() || !survey || survey->chunks == 0) return std::nullopt;
    Interleaving found;
    found.chunk_ms = (sound.duration_ms() + survey->chunks / 2) / survey->chunks;
    media.rewind();
    Frame picture;
    if (media.try_frame(*pictures, picture) && picture.offset)
        look_at_start(media, sound, *picture.offset, &found);
    media.rewind();
    return found;
}

}  // namespace quorv::tool
