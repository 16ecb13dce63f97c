// What the commands see of a media file, whatever its format: tracks, frames, positions.
#ifndef QUORV_TOOLS_QUORV_CONTAINER_H
#define QUORV_TOOLS_QUORV_CONTAINER_H

#include <quorv/splitter.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "FileSource.h"

namespace quorv::tool {

struct Track {
    uint32_t number = 0;  // from 1
    uint32_t type = 0;    // SPLITER_TRACK_*, or 0
    // Nothing for a track that can only be listed.
    std::variant<std::monostate, SplitterVideoInfo, SplitterAudioInfo> info;
    std::span<const uint8_t> codec_data;
    bool seekable = false;

    bool is_readable() const { return !std::holds_alternative<std::monostate>(info); }
    const SplitterVideoInfo *video() const { return std::get_if<SplitterVideoInfo>(&info); }
    const SplitterAudioInfo *audio() const { return std::get_if<SplitterAudioInfo>(&info); }
    uint32_t codec() const;
    uint32_t duration() const;  // milliseconds
    uint32_t max_frame_size() const;
};

struct Frame {
    std::span<const uint8_t> data;  // valid until the next read
    uint32_t time = 0;              // milliseconds
    uint32_t duration = 0;          // milliseconds
    bool key = false;
};

enum class SeekMode { Previous, Next };

enum class SeekResult {
    Found,
    NoKeyFrame,  // none in that direction; the track stays where it was
    NoIndex      // the file does not say where its key frames are
};

// All members throw Failure.
class Container {
public:
    virtual ~Container() = default;

    // "avi", "asf" or "mp3"
    virtual std::string_view format() const = 0;
    virtual const std::vector<Track> &tracks() const = 0;
    // The next frame of a readable track; false behind the last.
    virtual bool read_frame(const Track &track, Frame &frame) = 0;
    virtual SeekResult seek(const Track &track, uint32_t time, SeekMode mode) = 0;
    // What a user must know about a file that could be opened but is not whole; else empty.
    virtual std::string damage() = 0;
};

// Which of the readable tracks a command can work on, and how it says that one is not of the kind, or none
// is.
struct TrackKind {
    bool (*fits)(const Track &);
    std::string_view unlike, none;
};
inline constexpr TrackKind kReadableTracks = {
    [](const Track &track) { return track.is_readable(); },
    "neither video nor audio: its frames cannot be read",
    "no track is video or audio: there are no frames to read",
};
// The track of that number or, for 0, all of the kind: at least one. Throws Failure.
std::vector<const Track *> find_tracks(const Container &container, uint32_t number, const TrackKind &kind);

enum class ContainerUse {
    Frames,    // refuses what has no frames of its own to list
    Describe,  // tracks only
    Decode     // pieces of a track in order, whether they are frames or not
};

// Finds the format from the content. The file must outlive the container.
std::unique_ptr<Container> open_container(FileSource &file, ContainerUse use = ContainerUse::Frames);

}  // namespace quorv::tool

#endif
