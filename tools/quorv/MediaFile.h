// A media file as the commands see it: the library's reader, with exceptions for results.
#ifndef QUORV_TOOLS_QUORV_MEDIAFILE_H
#define QUORV_TOOLS_QUORV_MEDIAFILE_H

#include <quorv/quorv.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "FileSource.h"

namespace quorv::tool {

inline constexpr int64_t kMicroseconds = 1000;  // of a millisecond

struct Track {
    uint32_t index = 0;  // as the library counts, from 0
    const QuorvTrack *facts = nullptr;

    bool is_readable() const { return is_video() || is_audio(); }
    bool is_video() const { return facts->type == QUORV_TRACK_VIDEO; }
    bool is_audio() const { return facts->type == QUORV_TRACK_AUDIO; }
    std::span<const uint8_t> codec_data() const;
    uint64_t duration_ms() const;  // 0 when it is not known
};

struct Frame {
    std::span<const uint8_t> data;  // valid until the next read
    uint64_t time_ms = 0;
    uint64_t duration_ms = 0;
    bool key = false;
    std::optional<uint64_t> offset;  // of its first byte, where it lies in the file in one piece
};

enum class SeekResult {
    Found,
    NoFrame,  // none in that direction
    NoIndex   // nothing says where the time lies
};

// A file that is of no format which the library reads.
class ForeignFile : public Failure {
public:
    explicit ForeignFile(const std::string &reason) : Failure(ExitCode::BadFile, reason) {}
};

// All members throw Failure.
class MediaFile {
public:
    // Finds the format from the content. The file must outlive this object.
    explicit MediaFile(FileSource &file);

    const QuorvFile &facts() const { return *quorv_file(reader_.get()); }
    // "avi", "asf" or "mp3"
    std::string_view format() const;
    const std::vector<Track> &tracks() const { return tracks_; }
    // Where the sound of an MPEG audio file ends by its encoder's word; 0 where that is not told.
    uint64_t stated_end() const;
    // Whole frames a second: as in the file's own records, or of its first frames where those say nothing.
    uint32_t frame_rate(const Track &track);
    // The next frame of a readable track; false behind the last. Goes on behind damage.
    bool read_frame(const Track &track, Frame &frame);
    // The same for a look at the first ones; false as well where one cannot be read, of which those say more
    // who read them all.
    bool try_frame(const Track &track, Frame &frame);
    // The next packet of all readable tracks, valid until the next read. QUORV_OK, QUORV_END, or
    // QUORV_ERR_DAMAGED where the next call goes on behind damage.
    QuorvResult read_next(QuorvPacket &packet);
    // All tracks begin anew.
    void rewind();
    // What the file tells of all packets without their being read, if anything.
    std::optional<QuorvSurvey> survey(const Track &track);
    SeekResult seek(const Track &track, uint32_t time_ms, QuorvSeek mode);
    // What a user must know about a file that could be opened but is not whole; else empty.
    std::string damage() const;
    // What damage() puts in words.
    const QuorvDamage &damage_facts() const { return *quorv_damage(reader_.get(), QUORV_WHOLE_FILE); }
    QuorvReader *reader() const { return reader_.get(); }

private:
    struct Close {
        void operator()(QuorvReader *reader) const { quorv_close(reader); }
    };

    void open();
    [[noreturn]] void fail(QuorvResult result, const std::string &doing) const;
    void check_reads() const;

    FileSource &file_;
    std::unique_ptr<QuorvReader, Close> reader_;
    std::vector<Track> tracks_;
    bool has_bad_parts_ = false;
};

// Which of the readable tracks a command can work on, and how it says that one is not of the kind, or none
// is: "track 1 is H.264, not MPEG audio".
struct TrackKind {
    bool (*fits)(const Track &);
    std::string_view unlike, none;
};
inline constexpr TrackKind kReadableTracks = {
    [](const Track &track) { return track.is_readable(); },
    "neither video nor audio",
    "no track is video or audio",
};
// The track of that number or, for 0, all of the kind: at least one. Throws Failure.
std::vector<Track> find_tracks(const MediaFile &media, uint32_t number, const TrackKind &kind);

}  // namespace quorv::tool

#endif
