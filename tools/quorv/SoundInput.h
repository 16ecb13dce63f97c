// The MPEG audio of an input, piece by piece: the packets of a track or, without waiting for its end, what a
// pipe brings.
#ifndef QUORV_TOOLS_QUORV_SOUNDINPUT_H
#define QUORV_TOOLS_QUORV_SOUNDINPUT_H

#include <memory>

#include "MediaFile.h"
#include "Progress.h"
#include "Wav.h"

namespace quorv::tool {

// What headers tell of the whole sound.
struct SoundFacts {
    PcmFormat format;     // the rate of most of it, and the most channels that a frame has; zeros: no frames
    uint64_t frames = 0;  // samples of each channel, at that rate
};

// All members throw Failure.
class SoundInput {
public:
    // Of a file the track of that number or, for 0, the first of MPEG audio. The file must outlive this
    // object.
    SoundInput(FileSource &file, uint32_t track_number);

    // Whether it came, or comes, through a pipe.
    bool is_piped() const { return piped_; }
    // A pipe of MPEG audio, which can be read once.
    bool is_stream() const { return media_ == nullptr; }
    // What the decoder is made for; null for a stream.
    const QuorvTrack *track() const { return is_stream() ? nullptr : track_.facts; }
    // The next bytes, valid until the next call; none at the end.
    std::span<const uint8_t> next();
    // Looks through all headers of a file, and goes back to its beginning.
    SoundFacts survey(uint32_t decoder_flags, Progress &progress);
    // What a stream's encoder says of it in front; zeros when it says nothing.
    SoundFacts stated() const;
    // What a user must know of the parts that have been read; else empty.
    std::string damage() const { return is_stream() ? std::string() : media_->damage(); }
    // Whether all bytes of a file's sound are those that its encoder wrote; what is wrong, else empty.
    std::string check_music();
    // How much has been read, for Progress; a size of 0 is not known.
    uint64_t position() const { return is_stream() ? 0 : file_.progress(); }
    uint64_t size() const { return is_stream() ? 0 : file_.size(); }

private:
    void open();

    FileSource &file_;
    const uint32_t track_number_;
    const bool piped_;
    std::unique_ptr<MediaFile> media_;
    Track track_;
    bool has_read_head_ = false;
    std::vector<uint8_t> block_;
};

}  // namespace quorv::tool

#endif
