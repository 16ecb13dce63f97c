// An MPEG audio file (MP3, Layers I and II as well) in the shape of a container with one track.
#ifndef QUORV_TOOLS_QUORV_MP3CONTAINER_H
#define QUORV_TOOLS_QUORV_MP3CONTAINER_H

#include "Container.h"

namespace quorv::tool {

// Whether the first bytes of a file hold MPEG audio frames: three in a row, as the decoder demands them.
bool has_mpeg_audio(std::span<const uint8_t> head);

// Nothing says where a frame ends but the frames before it, so what is read as frames are pieces of the file
// of any length, fit for a decoder only.
class Mp3Container final : public Container {
public:
    explicit Mp3Container(FileSource &file);

    std::string_view format() const override { return "mp3"; }
    const std::vector<Track> &tracks() const override { return tracks_; }
    bool read_frame(const Track &track, Frame &frame) override;
    SeekResult seek(const Track &, uint32_t, SeekMode) override { return SeekResult::NoIndex; }
    std::string damage() override { return {}; }

private:
    void describe();

    FileSource &file_;
    uint64_t start_ = 0;  // of the audio, behind an ID3v2 tag
    uint64_t position_ = 0;
    std::vector<Track> tracks_;
    std::vector<uint8_t> piece_;
};

}  // namespace quorv::tool

#endif
